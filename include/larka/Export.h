// SPDX-License-Identifier: MIT
/// @file
/// The mark of what the library exports.
#pragma once

/// Marks a class or function that hosts can link against. The shared library hides everything else,
/// so that its internal names never clash with the host's.
#define LARKA_EXPORT __attribute__((visibility("default")))
