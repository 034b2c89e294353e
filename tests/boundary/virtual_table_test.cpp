// The order of the operations in the virtual tables, which hosts built earlier call by number.
//
// A table below names the operation that belongs to each slot, from 1 (the destructor takes the
// slots before). Each is called through its slot number, on an object that writes down which
// operation it was: moving, adding or removing an operation in a header makes a row fail. A
// deliberate change of the interface breaks every host that isn't built again.
#include <cstring>
#include <functional>

#include "Host.h"

namespace {

using namespace LARKA;
using Cookies = std::vector<std::pair<std::string, std::string>>;

const int kDestructorSlots = 2;  // the complete and the deleting destructor

template <typename Signature>
struct MemberOf;
template <typename Result, typename... Arguments>
struct MemberOf<Result(Arguments...)> {
  template <typename Class>
  using In = Result (Class::*)(Arguments...);
};

/// Calls the operation in a slot, counted from 1, of an object's virtual table. A pointer to a
/// virtual member holds the operation's offset in the table, plus 1.
template <typename Signature, typename Class, typename... Arguments>
decltype(auto) callSlot(Class* object, int slot, Arguments&&... arguments) {
  typename MemberOf<Signature>::template In<Class> member;
  const ptrdiff_t parts[2] = {
      1 + static_cast<ptrdiff_t>((kDestructorSlots + slot - 1) * sizeof(void*)), 0};
  static_assert(sizeof(parts) == sizeof(member), "not the expected kind of pointer to member");
  memcpy(&member, parts, sizeof(member));
  return (object->*member)(std::forward<Arguments>(arguments)...);
}

struct Row {
  const char* operation;
  std::function<void(int slot)> call;
};

template <typename Object>
void expectOrder(Object& object, const std::vector<Row>& rows) {
  int slot = 0;
  for (const Row& row : rows) {
    object.called.clear();
    row.call(++slot);
    EXPECT_EQ(object.called, row.operation) << "in slot " << slot;
  }
}

// clang-format off
class RecordingBrowser : public ILarkaBrowser {
 public:
  std::string called;
  void Initialize(int, int, const char*, const char*, bool, SystemInfoData*) override { called = "Initialize"; }
  void Shutdown() override { called = "Shutdown"; }
  void AddListener(ILarkaCallbacks*) override { called = "AddListener"; }
  void RemoveListener(ILarkaCallbacks*) override { called = "RemoveListener"; }
  void SetProxy(const char*, int, ProxyType, const char*, const char*) override { called = "SetProxy"; }
  void SetGlobalSurface(char*) override { called = "SetGlobalSurface"; }
  void SetUserAgent(const char*) override { called = "SetUserAgent"; }
  void Resize(int, int) override { called = "Resize"; }
  void SetCacheParameters(const char*, int) override { called = "SetCacheParameters"; }
  void ClearCache() override { called = "ClearCache"; }
  int InjectCookie(const char*, const char*, const char*, int) override { called = "InjectCookie"; return {}; }
  bool ClearCookie(const char*) override { called = "ClearCookie"; return {}; }
  void ClearAllCookies() override { called = "ClearAllCookies"; }
  std::string ReadCookie(const char*) override { called = "ReadCookie"; return {}; }
  Cookies ReadCookies() override { called = "ReadCookies"; return {}; }
  void Navigate(const char*) override { called = "Navigate"; }
  void MouseMove(int, int, int) override { called = "MouseMove"; }
  void MouseDown(int, int, int) override { called = "MouseDown"; }
  void MouseUp(int, int, int) override { called = "MouseUp"; }
  void MouseClick(int, int, int) override { called = "MouseClick"; }
  void MouseWheel(Directions, int, int) override { called = "MouseWheel(Directions)"; }
  void MouseWheel(int, int, int) override { called = "MouseWheel(int)"; }
  void KeyDown(int, int) override { called = "KeyDown"; }
  void KeyUp(int, int) override { called = "KeyUp"; }
  void Scroll(Directions, int) override { called = "Scroll(Directions)"; }
  void Scroll(int, int) override { called = "Scroll(int)"; }
  void Reload() override { called = "Reload"; }
  bool FocusNext() override { called = "FocusNext"; return {}; }
  bool FocusPrev() override { called = "FocusPrev"; return {}; }
  int GetHistoryLength() override { called = "GetHistoryLength"; return {}; }
  std::string GetPrevLocation() override { called = "GetPrevLocation"; return {}; }
  std::string GetNextLocation() override { called = "GetNextLocation"; return {}; }
  void Back() override { called = "Back"; }
  void Forward() override { called = "Forward"; }
  void Stop() override { called = "Stop"; }
  void Focus() override { called = "Focus"; }
  void Invalidate() override { called = "Invalidate"; }
  std::string ExecuteJavascript(const char*) override { called = "ExecuteJavascript"; return {}; }
  std::string GetCurrentLocation() override { called = "GetCurrentLocation"; return {}; }
  std::string GetTitle() override { called = "GetTitle"; return {}; }
  void SetZoomLevel(double) override { called = "SetZoomLevel"; }
  double GetZoomLevel() override { called = "GetZoomLevel"; return {}; }
  void ScrollToPoint(int, int) override { called = "ScrollToPoint"; }
  void GetViewPort(int*, int*, int*, int*) override { called = "GetViewPort"; }
  std::string GetMetaTagValue(const char*) override { called = "GetMetaTagValue"; return {}; }
  int GetBrowserStride() override { called = "GetBrowserStride"; return {}; }
  unsigned char* GetBrowserImage() override { called = "GetBrowserImage"; return {}; }
  void SaveBrowserImage(const char*, int, int) override { called = "SaveBrowserImage"; }
  void* GetBrowserNativeHandle() override { called = "GetBrowserNativeHandle"; return {}; }
  std::vector<LarkaPluginWidget> GetPluginWidgets() override { called = "GetPluginWidgets"; return {}; }
  LarkaHTMLControl HitTest(int, int) override { called = "HitTest"; return {}; }
  std::vector<LarkaHTMLControl*> GetControls(ControlType) override { called = "GetControls"; return {}; }
  ILarkaBrowser* LaunchInspector(bool) override { called = "LaunchInspector"; return {}; }
  void SetConfig(const char*, const char*) override { called = "SetConfig(text)"; }
  void SetConfig(const char*, int) override { called = "SetConfig(int)"; }
  void SetConfig(const char*, bool) override { called = "SetConfig(bool)"; }
  int GetWidth() override { called = "GetWidth"; return {}; }
  int GetHeight() override { called = "GetHeight"; return {}; }
  void GetFrameContentSize(int&, int&) override { called = "GetFrameContentSize"; }
};

class RecordingListener : public ILarkaCallbacks {
 public:
  std::string called;
  void OnLoadStarted() override { called = "OnLoadStarted"; }
  void OnLoadFinished(bool) override { called = "OnLoadFinished"; }
  void OnLoadProgress(int) override { called = "OnLoadProgress"; }
  void OnPrintRequested() override { called = "OnPrintRequested"; }
  bool OnDownloadRequested() override { called = "OnDownloadRequested"; return {}; }
  void OnTitleChanged(const char*) override { called = "OnTitleChanged"; }
  void OnStatusBarMessage(const char*) override { called = "OnStatusBarMessage"; }
  void OnAcceptNavigationRequest() override { called = "OnAcceptNavigationRequest"; }
  void OnGeometryChangeRequested(int, int) override { called = "OnGeometryChangeRequested"; }
  void OnCreatingRequest(const char*) override { called = "OnCreatingRequest"; }
  void OnUrlChanged(const char*) override { called = "OnUrlChanged"; }
  void OnMouseClick(LarkaHTMLControl&) override { called = "OnMouseClick"; }
  void OnPluginCreated(LarkaPluginWidget*) override { called = "OnPluginCreated"; }
  void OnPluginDirty(LarkaPluginWidget*) override { called = "OnPluginDirty"; }
  std::string OnExecuteInLarka(const char*) override { called = "OnExecuteInLarka"; return {}; }
  void OnDirty(ILarkaBrowser*) override { called = "OnDirty"; }
  void OnCreateWindow(bool, const char*) override { called = "OnCreateWindow"; }
  std::string OnChooseFile(const char*) override { called = "OnChooseFile"; return {}; }
  void OnJavaScriptAlert(const char*) override { called = "OnJavaScriptAlert"; }
  bool OnJavaScriptConfirm(const char*) override { called = "OnJavaScriptConfirm"; return {}; }
  std::string OnJavaScriptPrompt(const char*, const char*, bool*) override { called = "OnJavaScriptPrompt"; return {}; }
  void OnJavaScriptConsoleMessage(const char*, int, const char*) override { called = "OnJavaScriptConsoleMessage"; }
  void OnLinkHovered(bool) override { called = "OnLinkHovered"; }
  void OnRequestError() override { called = "OnRequestError"; }
};

class RecordingTimer : public ITimer {
 public:
  std::string called;
  void SetInterval(int) override { called = "SetInterval"; }
  void Stop() override { called = "Stop"; }
  void Start() override { called = "Start"; }
  bool IsSingleShot() override { called = "IsSingleShot"; return {}; }
};

TEST(VirtualTable, OfABrowserIsInOrder) {
  RecordingBrowser recorder;
  ILarkaBrowser& browser = recorder;
  int width = 0, height = 0;
  expectOrder(recorder, {
    {"Initialize", [&](int slot) { callSlot<void(int, int, const char*, const char*, bool, SystemInfoData*)>(&browser, slot, 1, 2, "c", "s", true, nullptr); }},
    {"Shutdown", [&](int slot) { callSlot<void()>(&browser, slot); }},
    {"AddListener", [&](int slot) { callSlot<void(ILarkaCallbacks*)>(&browser, slot, nullptr); }},
    {"RemoveListener", [&](int slot) { callSlot<void(ILarkaCallbacks*)>(&browser, slot, nullptr); }},
    {"SetProxy", [&](int slot) { callSlot<void(const char*, int, ProxyType, const char*, const char*)>(&browser, slot, "h", 1, PROXY_HTTP, "u", "p"); }},
    {"SetGlobalSurface", [&](int slot) { callSlot<void(char*)>(&browser, slot, nullptr); }},
    {"SetUserAgent", [&](int slot) { callSlot<void(const char*)>(&browser, slot, "a"); }},
    {"Resize", [&](int slot) { callSlot<void(int, int)>(&browser, slot, 1, 2); }},
    {"SetCacheParameters", [&](int slot) { callSlot<void(const char*, int)>(&browser, slot, "d", 1); }},
    {"ClearCache", [&](int slot) { callSlot<void()>(&browser, slot); }},
    {"InjectCookie", [&](int slot) { callSlot<int(const char*, const char*, const char*, int)>(&browser, slot, "d", "n", "v", 1); }},
    {"ClearCookie", [&](int slot) { callSlot<bool(const char*)>(&browser, slot, "n"); }},
    {"ClearAllCookies", [&](int slot) { callSlot<void()>(&browser, slot); }},
    {"ReadCookie", [&](int slot) { callSlot<std::string(const char*)>(&browser, slot, "n"); }},
    {"ReadCookies", [&](int slot) { callSlot<Cookies()>(&browser, slot); }},
    {"Navigate", [&](int slot) { callSlot<void(const char*)>(&browser, slot, "u"); }},
    {"MouseMove", [&](int slot) { callSlot<void(int, int, int)>(&browser, slot, 1, 2, 3); }},
    {"MouseDown", [&](int slot) { callSlot<void(int, int, int)>(&browser, slot, 1, 2, 3); }},
    {"MouseUp", [&](int slot) { callSlot<void(int, int, int)>(&browser, slot, 1, 2, 3); }},
    {"MouseClick", [&](int slot) { callSlot<void(int, int, int)>(&browser, slot, 1, 2, 3); }},
    {"MouseWheel(Directions)", [&](int slot) { callSlot<void(Directions, int, int)>(&browser, slot, DIRECTION_UP, 1, 2); }},
    {"MouseWheel(int)", [&](int slot) { callSlot<void(int, int, int)>(&browser, slot, 1, 2, 3); }},
    {"KeyDown", [&](int slot) { callSlot<void(int, int)>(&browser, slot, 1, 2); }},
    {"KeyUp", [&](int slot) { callSlot<void(int, int)>(&browser, slot, 1, 2); }},
    {"Scroll(Directions)", [&](int slot) { callSlot<void(Directions, int)>(&browser, slot, DIRECTION_UP, 1); }},
    {"Scroll(int)", [&](int slot) { callSlot<void(int, int)>(&browser, slot, 1, 2); }},
    {"Reload", [&](int slot) { callSlot<void()>(&browser, slot); }},
    {"FocusNext", [&](int slot) { callSlot<bool()>(&browser, slot); }},
    {"FocusPrev", [&](int slot) { callSlot<bool()>(&browser, slot); }},
    {"GetHistoryLength", [&](int slot) { callSlot<int()>(&browser, slot); }},
    {"GetPrevLocation", [&](int slot) { callSlot<std::string()>(&browser, slot); }},
    {"GetNextLocation", [&](int slot) { callSlot<std::string()>(&browser, slot); }},
    {"Back", [&](int slot) { callSlot<void()>(&browser, slot); }},
    {"Forward", [&](int slot) { callSlot<void()>(&browser, slot); }},
    {"Stop", [&](int slot) { callSlot<void()>(&browser, slot); }},
    {"Focus", [&](int slot) { callSlot<void()>(&browser, slot); }},
    {"Invalidate", [&](int slot) { callSlot<void()>(&browser, slot); }},
    {"ExecuteJavascript", [&](int slot) { callSlot<std::string(const char*)>(&browser, slot, "s"); }},
    {"GetCurrentLocation", [&](int slot) { callSlot<std::string()>(&browser, slot); }},
    {"GetTitle", [&](int slot) { callSlot<std::string()>(&browser, slot); }},
    {"SetZoomLevel", [&](int slot) { callSlot<void(double)>(&browser, slot, 1.5); }},
    {"GetZoomLevel", [&](int slot) { callSlot<double()>(&browser, slot); }},
    {"ScrollToPoint", [&](int slot) { callSlot<void(int, int)>(&browser, slot, 1, 2); }},
    {"GetViewPort", [&](int slot) { callSlot<void(int*, int*, int*, int*)>(&browser, slot, nullptr, nullptr, nullptr, nullptr); }},
    {"GetMetaTagValue", [&](int slot) { callSlot<std::string(const char*)>(&browser, slot, "n"); }},
    {"GetBrowserStride", [&](int slot) { callSlot<int()>(&browser, slot); }},
    {"GetBrowserImage", [&](int slot) { callSlot<unsigned char*()>(&browser, slot); }},
    {"SaveBrowserImage", [&](int slot) { callSlot<void(const char*, int, int)>(&browser, slot, "p", 1, 2); }},
    {"GetBrowserNativeHandle", [&](int slot) { callSlot<void*()>(&browser, slot); }},
    {"GetPluginWidgets", [&](int slot) { callSlot<std::vector<LarkaPluginWidget>()>(&browser, slot); }},
    {"HitTest", [&](int slot) { callSlot<LarkaHTMLControl(int, int)>(&browser, slot, 1, 2); }},
    {"GetControls", [&](int slot) { callSlot<std::vector<LarkaHTMLControl*>(ControlType)>(&browser, slot, CONTROL_TEXT); }},
    {"LaunchInspector", [&](int slot) { callSlot<ILarkaBrowser*(bool)>(&browser, slot, true); }},
    {"SetConfig(text)", [&](int slot) { callSlot<void(const char*, const char*)>(&browser, slot, "k", "v"); }},
    {"SetConfig(int)", [&](int slot) { callSlot<void(const char*, int)>(&browser, slot, "k", 1); }},
    {"SetConfig(bool)", [&](int slot) { callSlot<void(const char*, bool)>(&browser, slot, "k", true); }},
    {"GetWidth", [&](int slot) { callSlot<int()>(&browser, slot); }},
    {"GetHeight", [&](int slot) { callSlot<int()>(&browser, slot); }},
    {"GetFrameContentSize", [&](int slot) { callSlot<void(int&, int&)>(&browser, slot, width, height); }},
  });
}

TEST(VirtualTable, OfAListenerIsInOrder) {
  RecordingListener recorder;
  ILarkaCallbacks& listener = recorder;
  LarkaHTMLControl control;
  expectOrder(recorder, {
    {"OnLoadStarted", [&](int slot) { callSlot<void()>(&listener, slot); }},
    {"OnLoadFinished", [&](int slot) { callSlot<void(bool)>(&listener, slot, true); }},
    {"OnLoadProgress", [&](int slot) { callSlot<void(int)>(&listener, slot, 1); }},
    {"OnPrintRequested", [&](int slot) { callSlot<void()>(&listener, slot); }},
    {"OnDownloadRequested", [&](int slot) { callSlot<bool()>(&listener, slot); }},
    {"OnTitleChanged", [&](int slot) { callSlot<void(const char*)>(&listener, slot, "t"); }},
    {"OnStatusBarMessage", [&](int slot) { callSlot<void(const char*)>(&listener, slot, "t"); }},
    {"OnAcceptNavigationRequest", [&](int slot) { callSlot<void()>(&listener, slot); }},
    {"OnGeometryChangeRequested", [&](int slot) { callSlot<void(int, int)>(&listener, slot, 1, 2); }},
    {"OnCreatingRequest", [&](int slot) { callSlot<void(const char*)>(&listener, slot, "u"); }},
    {"OnUrlChanged", [&](int slot) { callSlot<void(const char*)>(&listener, slot, "u"); }},
    {"OnMouseClick", [&](int slot) { callSlot<void(LarkaHTMLControl&)>(&listener, slot, control); }},
    {"OnPluginCreated", [&](int slot) { callSlot<void(LarkaPluginWidget*)>(&listener, slot, nullptr); }},
    {"OnPluginDirty", [&](int slot) { callSlot<void(LarkaPluginWidget*)>(&listener, slot, nullptr); }},
    {"OnExecuteInLarka", [&](int slot) { callSlot<std::string(const char*)>(&listener, slot, "c"); }},
    {"OnDirty", [&](int slot) { callSlot<void(ILarkaBrowser*)>(&listener, slot, nullptr); }},
    {"OnCreateWindow", [&](int slot) { callSlot<void(bool, const char*)>(&listener, slot, true, "u"); }},
    {"OnChooseFile", [&](int slot) { callSlot<std::string(const char*)>(&listener, slot, "f"); }},
    {"OnJavaScriptAlert", [&](int slot) { callSlot<void(const char*)>(&listener, slot, "m"); }},
    {"OnJavaScriptConfirm", [&](int slot) { callSlot<bool(const char*)>(&listener, slot, "m"); }},
    {"OnJavaScriptPrompt", [&](int slot) { callSlot<std::string(const char*, const char*, bool*)>(&listener, slot, "m", "d", nullptr); }},
    {"OnJavaScriptConsoleMessage", [&](int slot) { callSlot<void(const char*, int, const char*)>(&listener, slot, "m", 1, "s"); }},
    {"OnLinkHovered", [&](int slot) { callSlot<void(bool)>(&listener, slot, true); }},
    {"OnRequestError", [&](int slot) { callSlot<void()>(&listener, slot); }},
  });
}

TEST(VirtualTable, OfATimerIsInOrder) {
  RecordingTimer recorder;
  ITimer& timer = recorder;
  expectOrder(recorder, {
    {"SetInterval", [&](int slot) { callSlot<void(int)>(&timer, slot, 1); }},
    {"Stop", [&](int slot) { callSlot<void()>(&timer, slot); }},
    {"Start", [&](int slot) { callSlot<void()>(&timer, slot); }},
    {"IsSingleShot", [&](int slot) { callSlot<bool()>(&timer, slot); }},
  });
}
// clang-format on

// The same numbers reach the library's own browser.
TEST(VirtualTable, IsThatOfTheLibrary) {
  test::Host host;
  test::Recorder recorder;
  host.initialize();
  ILarkaBrowser* browser = host.manager->CreateBrowser();
  callSlot<void(ILarkaCallbacks*)>(browser, 3, &recorder);
  callSlot<void(int, int, const char*, const char*, bool, SystemInfoData*)>(
      browser, 1, 320, 180, nullptr, nullptr, false, nullptr);
  callSlot<void(const char*)>(browser, 16, "data:text/html,<title>slots</title>");
  ASSERT_TRUE(host.pumpUntil([&] { return recorder.finished && recorder.dirty > 0; }));
  EXPECT_EQ(callSlot<std::string(const char*)>(browser, 38, "6*7"), "42");
  EXPECT_EQ(callSlot<std::string()>(browser, 40), "slots");
  callSlot<void(double)>(browser, 41, 50.0);
  EXPECT_EQ(callSlot<double()>(browser, 42), 50.0);
  EXPECT_EQ(callSlot<int()>(browser, 46), 320 * 4);
  EXPECT_EQ(callSlot<int()>(browser, 57), 320);
  int width = 0, height = 0;
  callSlot<void(int&, int&)>(browser, 59, width, height);
  EXPECT_EQ(width, 320);
  host.manager->DestroyBrowser(browser, true);
}

}  // namespace
