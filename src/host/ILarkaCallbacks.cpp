#include "larka/ILarkaCallbacks.h"

namespace LARKA {

// Here and not in the header, so that the interface is described in the library and recorded with
// the rest of the binary interface.
ILarkaCallbacks::~ILarkaCallbacks() = default;

}  // namespace LARKA
