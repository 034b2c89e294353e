// StorageLimits.h: how much pages may keep on disk.
#pragma once

#include "larka/Export.h"

namespace LARKA {

/// The limits that hold until SetStorageLimits is called, in bytes.
constexpr long long kDefaultStoragePerOrigin = 5LL << 20;
constexpr long long kDefaultStorageInAll = 100LL << 20;

/// Limits what pages keep in the storage directories of all browsers of this process: local
/// storage, databases and application caches. An origin is a scheme, a host and a port.
///
/// `bytesPerOrigin` is the most that an origin may keep in databases, and again in application
/// caches. Local storage has a limit of the engine's own: 5 MiB an origin, at two bytes a
/// character. `bytesInAll` is for all origins together: a quarter of it for application caches, the
/// rest for local storage and databases. With 0 or less for either nothing more is stored.
///
/// What goes beyond a limit fails for the page: local storage throws QuotaExceededError, a
/// transaction ends with a quota error, openDatabase throws SecurityError, an application cache is
/// not stored. What is stored already stays, except that the origins least recently used lose their
/// local storage and databases when room gets scarce. An origin that a page shows never does.
///
/// Best called before the first ILarkaBrowser::Initialize. Later calls work too, but empty the
/// application caches where their share changes. On the thread of BrowserManager::Initialize.
LARKA_EXPORT void SetStorageLimits(long long bytesPerOrigin, long long bytesInAll);

}  // namespace LARKA
