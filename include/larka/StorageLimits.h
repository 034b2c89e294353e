// SPDX-License-Identifier: MIT
/// @file
/// How much pages may keep on disk.
#pragma once

#include "larka/Export.h"

namespace LARKA {

///@{
/// A limit until SetStorageLimits() is called, in bytes.
constexpr long long kDefaultStoragePerOrigin = 5LL << 20;
constexpr long long kDefaultStorageInAll = 100LL << 20;
///@}

/// Limits what pages keep in the storage directories of all browsers of this process: local
/// storage, databases and application caches. An origin is a scheme, a host and a port.
///
/// - `bytesPerOrigin`: the most that one origin may keep in databases, and again in application
///   caches. For local storage QtWebKit has its own limit: 5 MiB per origin, two bytes a character.
/// - `bytesInAll`: the most that all origins together may keep. A quarter is for application
///   caches, the rest for local storage and databases.
///
/// If either is 0 or less, nothing more is stored.
///
/// What exceeds a limit fails for the page: local storage throws QuotaExceededError, a transaction
/// ends with a quota error, openDatabase throws SecurityError, an application cache is not stored.
/// What is stored already stays, unless room gets scarce: then the least recently used origins lose
/// their local storage and databases, but never an origin that a page shows.
///
/// Call it on the thread of BrowserManager::Initialize, best before the first
/// ILarkaBrowser::Initialize. Later calls work too, but empty the application caches if their share
/// changes.
LARKA_EXPORT void SetStorageLimits(long long bytesPerOrigin, long long bytesInAll);

}  // namespace LARKA
