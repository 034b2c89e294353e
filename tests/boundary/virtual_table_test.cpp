// The order of the operations in the virtual tables, which hosts built earlier call by number.
//
// A table names the operation that belongs to each slot, from 1 (the destructor takes the
// slots before). Each is called through its slot number, on an object that writes down which
// operation it was: moving, adding or removing an operation in a header makes a row fail. A
// deliberate change of the interface breaks every host that isn't built again.
#include <cstring>
#include <utility>

#include "Host.h"
#include "Operations.h"

namespace {

using namespace LARKA;

static_assert(DIRECTION_DOWN == 0 && DIRECTION_UP == 1 && DIRECTION_RIGHT == 2 &&
              DIRECTION_LEFT == 3 && PROXY_SOCKS5 == 0 && PROXY_HTTP == 1);
static_assert(CONTROL_TEXT == 0 && CONTROL_UNMAPPED == 3 && CONTROL_DIV == 12 &&
              CONTROL_OBJECT == 13 && CONTROL_UNKNOWN == 14);

const int kDestructorSlots = 2;  // the complete and the deleting destructor

template <typename Signature>
struct MemberOf;
template <typename Result, typename... Arguments>
struct MemberOf<Result(Arguments...)> {
  template <typename Class>
  using In = Result (Class::*)(Arguments...);
};

/// The operation in a slot, counted from 1, of an object's virtual table, ready to be called. A
/// pointer to a virtual member holds the operation's offset in the table, plus 1.
template <typename Signature, typename Class>
auto operation(Class* object, int slot) {
  typename MemberOf<Signature>::template In<Class> member;
  const ptrdiff_t parts[2] = {
      1 + static_cast<ptrdiff_t>((kDestructorSlots + slot - 1) * sizeof(void*)), 0};
  static_assert(sizeof(parts) == sizeof(member), "not the expected kind of pointer to member");
  memcpy(&member, parts, sizeof(member));
  return [object, member](auto&&... arguments) -> decltype(auto) {
    return (object->*member)(std::forward<decltype(arguments)>(arguments)...);
  };
}

template <typename Type>
Type nothing() {
  return Type();
}

// clang-format off
// Rows as those of BROWSER_OPERATIONS.

#define LISTENER_OPERATIONS(ROW) \
  ROW(void, OnLoadStarted, (), ()) \
  ROW(void, OnLoadFinished, (bool), (true)) \
  ROW(void, OnLoadProgress, (int), (1)) \
  ROW(void, OnPrintRequested, (), ()) \
  ROW(bool, OnDownloadRequested, (), ()) \
  ROW(void, OnTitleChanged, (const char*), ("t")) \
  ROW(void, OnStatusBarMessage, (const char*), ("t")) \
  ROW(void, OnAcceptNavigationRequest, (), ()) \
  ROW(void, OnGeometryChangeRequested, (int, int), (1, 2)) \
  ROW(void, OnCreatingRequest, (const char*), ("u")) \
  ROW(void, OnUrlChanged, (const char*), ("u")) \
  ROW(void, OnMouseClick, (LarkaHTMLControl&), (control)) \
  ROW(void, OnPluginCreated, (LarkaPluginWidget*), (nullptr)) \
  ROW(void, OnPluginDirty, (LarkaPluginWidget*), (nullptr)) \
  ROW(std::string, OnExecuteInLarka, (const char*), ("c")) \
  ROW(void, OnDirty, (ILarkaBrowser*), (nullptr)) \
  ROW(void, OnCreateWindow, (bool, const char*), (true, "u")) \
  ROW(std::string, OnChooseFile, (const char*), ("f")) \
  ROW(void, OnJavaScriptAlert, (const char*), ("m")) \
  ROW(bool, OnJavaScriptConfirm, (const char*), ("m")) \
  ROW(std::string, OnJavaScriptPrompt, (const char*, const char*, bool*), ("m", "d", nullptr)) \
  ROW(void, OnJavaScriptConsoleMessage, (const char*, int, const char*), ("m", 1, "s")) \
  ROW(void, OnLinkHovered, (bool), (true)) \
  ROW(void, OnRequestError, (), ())

#define TIMER_OPERATIONS(ROW) \
  ROW(void, SetInterval, (int), (1)) \
  ROW(void, Stop, (), ()) \
  ROW(void, Start, (), ()) \
  ROW(bool, IsSingleShot, (), ())

// A row as an override that writes down that it was called, and as a call through the row's slot.
#define OVERRIDE(RESULT, NAME, PARAMETERS, ARGUMENTS) \
  RESULT NAME PARAMETERS override { called = #NAME #PARAMETERS; return nothing<RESULT>(); }
#define CALL(RESULT, NAME, PARAMETERS, ARGUMENTS)                                               \
  object.called.clear();                                                                        \
  operation<RESULT PARAMETERS>(interface, ++slot) ARGUMENTS;                                    \
  EXPECT_EQ(object.called, #NAME #PARAMETERS) << "in slot " << slot;
// clang-format on

struct RecordingBrowser : ILarkaBrowser {
  std::string called;
  BROWSER_OPERATIONS(OVERRIDE)
};

struct RecordingListener : ILarkaCallbacks {
  std::string called;
  LISTENER_OPERATIONS(OVERRIDE)
};

struct RecordingTimer : ITimer {
  std::string called;
  TIMER_OPERATIONS(OVERRIDE)
};

TEST(VirtualTable, IsInOrder) {
  int width = 0, height = 0, slot = 0;
  LarkaHTMLControl control;
  {
    RecordingBrowser object;
    ILarkaBrowser* interface = &object;
    BROWSER_OPERATIONS(CALL)
    EXPECT_EQ(slot, 59);
  }
  slot = 0;
  {
    RecordingListener object;
    ILarkaCallbacks* interface = &object;
    LISTENER_OPERATIONS(CALL)
    EXPECT_EQ(slot, 24);
  }
  slot = 0;
  {
    RecordingTimer object;
    ITimer* interface = &object;
    TIMER_OPERATIONS(CALL)
    EXPECT_EQ(slot, 4);
  }
}

// The same numbers reach the library's own browser.
TEST(VirtualTable, IsThatOfTheLibrary) {
  test::Host host;
  test::Recorder recorder;
  host.initialize();
  ILarkaBrowser* browser = host.manager->CreateBrowser();
  operation<void(ILarkaCallbacks*)>(browser, 3)(&recorder);
  operation<void(int, int, const char*, const char*, bool, SystemInfoData*)>(browser, 1)(
      320, 180, nullptr, nullptr, false, nullptr);
  operation<void(const char*)>(browser, 16)("data:text/html,<title>slots</title>");
  ASSERT_TRUE(host.pumpUntil([&] { return recorder.finished && recorder.dirty > 0; }));
  EXPECT_EQ(operation<std::string(const char*)>(browser, 38)("6*7"), "42");
  EXPECT_EQ(operation<std::string()>(browser, 40)(), "slots");
  operation<void(double)>(browser, 41)(50.0);
  EXPECT_EQ(operation<double()>(browser, 42)(), 50.0);
  EXPECT_EQ(operation<int()>(browser, 46)(), 320 * 4);
  EXPECT_EQ(operation<int()>(browser, 57)(), 320);
  int width = 0, height = 0;
  operation<void(int&, int&)>(browser, 59)(width, height);
  EXPECT_EQ(width, 320);
  host.manager->DestroyBrowser(browser, true);
}

}  // namespace
