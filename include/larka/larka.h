// larka.h: the whole public interface that needs no toolkit headers.
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
