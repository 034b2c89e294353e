// SPDX-License-Identifier: MIT
/// @file
/// The version of the headers.
#pragma once

///@{
/// A part of the version of these headers. A new major version breaks hosts that were built before;
/// a new minor version only adds.
#define LARKA_VERSION_MAJOR 1
#define LARKA_VERSION_MINOR 1
#define LARKA_VERSION_PATCH 0
///@}

/// The version as one number, for comparison:
/// `#if LARKA_VERSION >= LARKA_VERSION_CHECK(1, 2, 0)`.
#define LARKA_VERSION \
  LARKA_VERSION_CHECK(LARKA_VERSION_MAJOR, LARKA_VERSION_MINOR, LARKA_VERSION_PATCH)

/// The number of a version, for comparison with #LARKA_VERSION.
#define LARKA_VERSION_CHECK(major, minor, patch) ((major) << 16 | (minor) << 8 | (patch))

/// The version as text.
#define LARKA_VERSION_STRING "1.1.0"
