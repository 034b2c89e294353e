// Operations.h: the operations of a browser, and on one, in one table, for what is to be done with
// each of them.
#pragma once

#include <string>
#include <type_traits>
#include <vector>

#include "larka/larka.h"

namespace test {

template <typename Call>
bool givesNothing(Call call) {
  using Answer = decltype(call());
  if constexpr (std::is_void_v<Answer>) {
    call();
  } else if constexpr (std::is_same_v<Answer, LARKA::LarkaHTMLControl>) {
    return call().GetControlType() == LARKA::CONTROL_UNKNOWN;
  } else if constexpr (std::is_same_v<Answer, std::vector<LARKA::LarkaPluginWidget>> ||
                       std::is_same_v<Answer, std::vector<LARKA::Rectangle>>) {
    return call().empty();
  } else if constexpr (std::is_same_v<Answer, LARKA::LoadError>) {
    return call().kind == LARKA::LOAD_OK;
  } else if constexpr (std::is_same_v<Answer, LARKA::FrameStatistics>) {
    return call().paints == 0;
  } else if constexpr (std::is_same_v<Answer, LARKA::ScriptResult>) {
    return !call().ok;
  } else if constexpr (std::is_same_v<Answer, LARKA::TextField>) {
    return call().kind == LARKA::TEXT_NONE;
  } else if constexpr (std::is_same_v<Answer, LARKA::ImageSize>) {
    return call().width == 0;
  } else if constexpr (std::is_same_v<Answer, LARKA::PluginPlace>) {
    return call().area.width == 0;
  } else {
    const Answer answer = call();
    if constexpr (std::is_same_v<Answer, std::vector<LARKA::LarkaHTMLControl*>>)
      for (LARKA::LarkaHTMLControl* control : answer) delete control;
    return answer == Answer();
  }
  return true;
}

/// A call of an operation. Answers whether it gave nothing: zero, false, null or empty.
struct Operation {
  const char* call;
  bool (*givesNothing)(LARKA::ILarkaBrowser*);
  std::string name() const { return std::string(call, std::string(call).find('(')); }
};

inline std::vector<Operation> operations() {
  using namespace LARKA;
  static int width, height;
  // clang-format off
#define CALL(...) \
  {#__VA_ARGS__, [](ILarkaBrowser* b) { return givesNothing([b] { return b->__VA_ARGS__; }); }}
#define ON(...) {#__VA_ARGS__, [](ILarkaBrowser* b) { return givesNothing([b] { return __VA_ARGS__; }); }}
  return {
      CALL(Initialize(1, 2, "c", "s", true, nullptr)), CALL(Shutdown()), CALL(AddListener(nullptr)),
      CALL(RemoveListener(nullptr)), CALL(SetProxy("h", 1, PROXY_HTTP, "u", "p")),
      CALL(SetGlobalSurface(nullptr)), CALL(SetUserAgent("a")), CALL(Resize(1, 2)),
      CALL(SetCacheParameters("d", 1)), CALL(ClearCache()), CALL(InjectCookie("d", "n", "v", 1)),
      CALL(ClearCookie("n")), CALL(ClearAllCookies()), CALL(ReadCookie("n")), CALL(ReadCookies()),
      CALL(Navigate("u")), CALL(MouseMove(1, 2, 3)), CALL(MouseDown(1, 2, 3)),
      CALL(MouseUp(1, 2, 3)), CALL(MouseClick(1, 2, 3)), CALL(MouseWheel(DIRECTION_UP, 1, 2)),
      CALL(MouseWheel(1, 2, 3)), CALL(KeyDown(1, 2)), CALL(KeyUp(1, 2)),
      CALL(Scroll(DIRECTION_UP, 1)), CALL(Scroll(1, 2)), CALL(Reload()), CALL(FocusNext()),
      CALL(FocusPrev()), CALL(GetHistoryLength()), CALL(GetPrevLocation()), CALL(GetNextLocation()),
      CALL(Back()), CALL(Forward()), CALL(Stop()), CALL(Focus()), CALL(Invalidate()),
      CALL(ExecuteJavascript("s")), CALL(GetCurrentLocation()), CALL(GetTitle()),
      CALL(SetZoomLevel(1.5)), CALL(GetZoomLevel()), CALL(ScrollToPoint(1, 2)),
      CALL(GetViewPort(nullptr, nullptr, nullptr, nullptr)), CALL(GetMetaTagValue("n")),
      CALL(GetBrowserStride()), CALL(GetBrowserImage()), CALL(SaveBrowserImage("p", 1, 2)),
      CALL(GetBrowserNativeHandle()), CALL(GetPluginWidgets()), CALL(HitTest(1, 2)),
      CALL(GetControls(CONTROL_TEXT)), CALL(LaunchInspector(true)), CALL(SetConfig("k", "v")),
      CALL(SetConfig("k", 1)), CALL(SetConfig("k", true)), CALL(GetWidth()), CALL(GetHeight()),
      CALL(GetFrameContentSize(width, height)),
      ON(GetChangedRectangles(b)), ON(GetLoadError(b)), ON(SetLoadTimeLimit(b, 60000)),
      ON(TakeFrameStatistics(b)), ON(EvaluateScript(b, "document")), ON(SetDocumentScript(b, "x")),
      ON(SetStyleSheet(b, "p{}")), ON(EnableMessages(b, false)), ON(PostMessageToPage(b, "1")),
      ON(AnswerList(b, 1, 0)), ON(CloseList(b)), ON(IsListOpen(b)), ON(AnswerColor(b, 1, nullptr)),
      ON(GetTextField(b)), ON(InsertText(b, "x")), ON(ReplaceText(b, "x")), ON(DeleteText(b, 1)),
      ON(SetTransparent(b, true)), ON(SetMaximumImageSize(b, 9, 9)), ON(GetImageSize(b)),
      ON(SetImageFollowsResize(b, true)), ON(SetDevicePixelRatio(b, 2)),
      ON(MoveFocus(b, DIRECTION_DOWN)), ON(PressFocused(b)), ON(LeaveFullScreen(b)),
      ON(GetPluginPlace(b, nullptr)), ON(SetCertificateChecks(b, true)), ON(AcceptCertificate(b)),
      ON(SetMediaHandedOver(b, false)), ON(AddExtraListener(b, nullptr)),
      ON(RemoveExtraListener(b, nullptr))};
  // clang-format on
#undef CALL
#undef ON
}

/// Calls every operation but those named in `except`. The names of those whose answer was anything
/// but nothing.
inline std::string answersOf(LARKA::ILarkaBrowser* browser, const std::string& except = "") {
  std::string answered;
  for (const Operation& operation : operations())
    if (except.find(operation.name()) == std::string::npos && !operation.givesNothing(browser))
      answered += operation.name() + " ";
  return answered;
}

}  // namespace test
