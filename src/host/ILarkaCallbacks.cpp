// SPDX-License-Identifier: MIT
#include "larka/ILarkaCallbacks.h"

namespace LARKA {

// Not in the header: so the library describes the interface, and it is recorded with the rest of
// the binary interface.
ILarkaCallbacks::~ILarkaCallbacks() = default;

}  // namespace LARKA
