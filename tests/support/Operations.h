// Operations.h: the operations of a browser in one table, for what is to be done with each of them.
#pragma once

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "larka/larka.h"

namespace test {

using Cookies = std::vector<std::pair<std::string, std::string>>;

// clang-format off
// One operation a row, in the order of the slots: result, name, parameters, arguments of the call.

#define BROWSER_OPERATIONS(ROW) \
  ROW(void, Initialize, (int, int, const char*, const char*, bool, SystemInfoData*), (1, 2, "c", "s", true, nullptr)) \
  ROW(void, Shutdown, (), ()) \
  ROW(void, AddListener, (ILarkaCallbacks*), (nullptr)) \
  ROW(void, RemoveListener, (ILarkaCallbacks*), (nullptr)) \
  ROW(void, SetProxy, (const char*, int, ProxyType, const char*, const char*), ("h", 1, PROXY_HTTP, "u", "p")) \
  ROW(void, SetGlobalSurface, (char*), (nullptr)) \
  ROW(void, SetUserAgent, (const char*), ("a")) \
  ROW(void, Resize, (int, int), (1, 2)) \
  ROW(void, SetCacheParameters, (const char*, int), ("d", 1)) \
  ROW(void, ClearCache, (), ()) \
  ROW(int, InjectCookie, (const char*, const char*, const char*, int), ("d", "n", "v", 1)) \
  ROW(bool, ClearCookie, (const char*), ("n")) \
  ROW(void, ClearAllCookies, (), ()) \
  ROW(std::string, ReadCookie, (const char*), ("n")) \
  ROW(test::Cookies, ReadCookies, (), ()) \
  ROW(void, Navigate, (const char*), ("u")) \
  ROW(void, MouseMove, (int, int, int), (1, 2, 3)) \
  ROW(void, MouseDown, (int, int, int), (1, 2, 3)) \
  ROW(void, MouseUp, (int, int, int), (1, 2, 3)) \
  ROW(void, MouseClick, (int, int, int), (1, 2, 3)) \
  ROW(void, MouseWheel, (Directions, int, int), (DIRECTION_UP, 1, 2)) \
  ROW(void, MouseWheel, (int, int, int), (1, 2, 3)) \
  ROW(void, KeyDown, (int, int), (1, 2)) \
  ROW(void, KeyUp, (int, int), (1, 2)) \
  ROW(void, Scroll, (Directions, int), (DIRECTION_UP, 1)) \
  ROW(void, Scroll, (int, int), (1, 2)) \
  ROW(void, Reload, (), ()) \
  ROW(bool, FocusNext, (), ()) \
  ROW(bool, FocusPrev, (), ()) \
  ROW(int, GetHistoryLength, (), ()) \
  ROW(std::string, GetPrevLocation, (), ()) \
  ROW(std::string, GetNextLocation, (), ()) \
  ROW(void, Back, (), ()) \
  ROW(void, Forward, (), ()) \
  ROW(void, Stop, (), ()) \
  ROW(void, Focus, (), ()) \
  ROW(void, Invalidate, (), ()) \
  ROW(std::string, ExecuteJavascript, (const char*), ("s")) \
  ROW(std::string, GetCurrentLocation, (), ()) \
  ROW(std::string, GetTitle, (), ()) \
  ROW(void, SetZoomLevel, (double), (1.5)) \
  ROW(double, GetZoomLevel, (), ()) \
  ROW(void, ScrollToPoint, (int, int), (1, 2)) \
  ROW(void, GetViewPort, (int*, int*, int*, int*), (nullptr, nullptr, nullptr, nullptr)) \
  ROW(std::string, GetMetaTagValue, (const char*), ("n")) \
  ROW(int, GetBrowserStride, (), ()) \
  ROW(unsigned char*, GetBrowserImage, (), ()) \
  ROW(void, SaveBrowserImage, (const char*, int, int), ("p", 1, 2)) \
  ROW(void*, GetBrowserNativeHandle, (), ()) \
  ROW(std::vector<LarkaPluginWidget>, GetPluginWidgets, (), ()) \
  ROW(LarkaHTMLControl, HitTest, (int, int), (1, 2)) \
  ROW(std::vector<LarkaHTMLControl*>, GetControls, (ControlType), (CONTROL_TEXT)) \
  ROW(ILarkaBrowser*, LaunchInspector, (bool), (true)) \
  ROW(void, SetConfig, (const char*, const char*), ("k", "v")) \
  ROW(void, SetConfig, (const char*, int), ("k", 1)) \
  ROW(void, SetConfig, (const char*, bool), ("k", true)) \
  ROW(int, GetWidth, (), ()) \
  ROW(int, GetHeight, (), ()) \
  ROW(void, GetFrameContentSize, (int&, int&), (width, height))
// clang-format on

template <typename Type>
bool isNothing(const Type& answer) {
  return answer == Type();
}
template <typename Type>
bool isNothing(const std::vector<Type>& answer) {
  return answer.empty();
}
inline bool isNothing(LARKA::LarkaHTMLControl answer) {
  return answer.GetControlType() == LARKA::CONTROL_UNKNOWN;
}

template <typename Call>
bool answersNothing(Call call) {
  if constexpr (std::is_void_v<decltype(call())>) {
    call();
    return true;
  } else {
    return isNothing(call());
  }
}

/// Calls every operation but those named in `except`. The names of those whose answer was anything
/// but nothing: zero, false, null or empty.
inline std::string answersOf(LARKA::ILarkaBrowser* browser, const std::string& except = "") {
  using namespace LARKA;
  std::string answered;
  int width = 0, height = 0;
#define TAKE_ANSWER(RESULT, NAME, PARAMETERS, ARGUMENTS)                    \
  if (except.find(#NAME) == std::string::npos &&                            \
      !answersNothing([&]() -> RESULT { return browser->NAME ARGUMENTS; })) \
    answered += #NAME " ";
  BROWSER_OPERATIONS(TAKE_ANSWER)
#undef TAKE_ANSWER
  return width == 0 && height == 0 ? answered : answered + "a size";
}

}  // namespace test
