// SPDX-License-Identifier: MIT
/// @file
/// The whole public interface, but for the headers that need Qt's.
#pragma once

#include "larka/BrowserManager.h"
#include "larka/CallbacksAdapter.h"
#include "larka/ControlType.h"
#include "larka/Directions.h"
#include "larka/ILarkaBrowser.h"
#include "larka/ILarkaCallbacks.h"
#include "larka/ITimer.h"
#include "larka/KeyCodes.h"
#include "larka/LarkaHTMLControl.h"
#include "larka/LarkaPluginWidget.h"
#include "larka/ProxyType.h"
#include "larka/StorageLimits.h"
#include "larka/SystemInfoData.h"
#include "larka/Version.h"
#include "larka/extras.h"

/// The names of the public interface, except four classes (PannableView, RepaintCollector,
/// LarkaSystemInfoJavaScriptObject, SystemInfoData) and the macros, which begin with "LARKA_".
namespace LARKA {}

/// @example minimal-host.cpp
/// @example careful-host.cpp
