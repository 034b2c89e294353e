// SPDX-License-Identifier: MIT
#pragma once

#include <set>
#include <string>

namespace LARKA {

// What a page that takes the process over can't do. What the kernel doesn't support is left out,
// with a line on the standard error stream.

/// Refuses, for good, what no page needs: to run programs, to look into other processes or signal
/// them, to mount, to load modules, to gain privileges; and limits the number of open files.
void refuseSystemCalls();

/// Limits, for good, writing to these directories and what is in them. Each is made if it is
/// missing.
void limitWriting(const std::set<std::string>& directories);

/// Lets the process allocate so many bytes more than it has now; any number if it is 0 or less.
void limitMemory(long long bytes);

}  // namespace LARKA
