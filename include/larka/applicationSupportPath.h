// applicationSupportPath.h: where the library keeps its files.
// Hosts that include it build with Qt5::Core.
#pragma once

#include <QString>

#include "larka/Export.h"

namespace LARKA {

/// The path of the item `name` in the application's data directory. The directory is the toolkit's
/// per-user data location of the running application or, where there is none, a hidden directory
/// named after the application in the home directory. It is created, with its parents, if it is
/// missing; the item itself is not. Where the directory can't be created the path is returned all
/// the same.
LARKA_EXPORT QString applicationSupportPath(const QString& name);

}  // namespace LARKA
