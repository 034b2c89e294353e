// SPDX-License-Identifier: MIT
/// @file
/// Where the library keeps its files.
#pragma once

#include <QString>

#include "larka/Export.h"

namespace LARKA {

/// Returns the path of the item `name` in the application's data directory, where the library keeps
/// its files.
///
/// The directory is Qt's per-user data location of the running application
/// (QStandardPaths::AppLocalDataLocation) or, if there is none, a hidden directory in the home
/// directory with the application's name. It is created, with its parents, if it is missing; the
/// item itself is not. The path is returned even if the directory can't be created.
///
/// Hosts that include this header build with Qt5::Core.
LARKA_EXPORT QString applicationSupportPath(const QString& name);

}  // namespace LARKA
