// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>

#include "channel/Coder.h"
#include "larka/ILarkaBrowser.h"
#include "larka/ILarkaCallbacks.h"
#include "larka/extras.h"

namespace LARKA {

// The lists of all operations, at the end of this file, are the only place that names them for the
// channel. An operation is a pointer to a function of the interface. From its type follow how its
// arguments and its result are sent, on both sides; from its place in the list, its number.

// How an argument of type A is sent. Most go by value.

template <typename A>
struct Argument {
  using Stored = std::decay_t<A>;
  static void put(Coder& out, const Stored& value) { out.put(value); }
  static void get(Coder& in, Stored& value) { in.get(value); }
  static Stored& pass(Stored& value) { return value; }
  static void putBack(Coder&, const Stored&) {}
  static void takeBack(Coder&, const Stored&) {}
  static void clear(const Stored&) {}
};

/// A text, or null.
template <>
struct Argument<const char*> : Argument<QByteArray> {
  static void put(Coder& out, const char* text) { out.put(text); }
  static const char* pass(const QByteArray& text) {
    return text.isNull() ? nullptr : text.constData();
  }
  static void takeBack(Coder&, const char*) {}
  static void clear(const char*) {}
};

/// A place for a result, or null.
template <typename T>
struct OutArgument {
  struct Stored {
    bool wanted = false;
    T value{};
  };
  static void put(Coder& out, const T* place) { out.put(place != nullptr); }
  static void get(Coder& in, Stored& stored) { in.get(stored.wanted); }
  static T* pass(Stored& stored) { return stored.wanted ? &stored.value : nullptr; }
  static void putBack(Coder& out, const Stored& stored) {
    if (stored.wanted) out.put(stored.value);
  }
  static void takeBack(Coder& in, T* place) {
    if (place) in.get(*place);
  }
  static void clear(T* place) {
    if (place) *place = T();
  }
};
template <>
struct Argument<int*> : OutArgument<int> {};
template <>
struct Argument<bool*> : OutArgument<bool> {};

/// A result by reference.
template <>
struct Argument<int&> {
  using Stored = int;
  static void put(Coder&, int) {}
  static void get(Coder&, int&) {}
  static int& pass(int& value) { return value; }
  static void putBack(Coder& out, int value) { out.put(value); }
  static void takeBack(Coder& in, int& place) { in.get(place); }
  static void clear(int& place) { place = 0; }
};

/// A handle that is lent for the call.
template <>
struct Argument<LarkaPluginWidget*> : Argument<LarkaPluginWidget> {
  static void put(Coder& out, const LarkaPluginWidget* plugin) {
    out.put(plugin ? *plugin : LarkaPluginWidget());
  }
  static LarkaPluginWidget* pass(LarkaPluginWidget& plugin) { return &plugin; }
  static void takeBack(Coder&, const LarkaPluginWidget*) {}
  static void clear(const LarkaPluginWidget*) {}
};

/// What the library doesn't use: null arrives.
template <typename T>
struct UnusedArgument {
  struct Stored {};
  static void put(Coder&, const T*) {}
  static void get(Coder&, Stored) {}
  static T* pass(Stored) { return nullptr; }
  static void putBack(Coder&, Stored) {}
  static void takeBack(Coder&, const T*) {}
  static void clear(const T*) {}
};
template <>
struct Argument<char*> : UnusedArgument<char> {};
template <>
struct Argument<SystemInfoData*> : UnusedArgument<SystemInfoData> {};

// What an operation is called on, and with.

template <typename R, typename T, typename... A>
struct Call {
  using Result = R;
  using Target = T;

  /// Writes the arguments.
  static void put(Coder& out, A... arguments) { (Argument<A>::put(out, arguments), ...); }

  /// Reads what serve() wrote. For void, it returns true.
  static auto takeBack(Coder& in, A... arguments) {
    if constexpr (std::is_void_v<R>) {
      (Argument<A>::takeBack(in, arguments), ...);
      return in.isUsedUp();
    } else {
      std::decay_t<R> result{};
      in.get(result);
      (Argument<A>::takeBack(in, arguments), ...);
      using Answer = std::optional<std::decay_t<R>>;
      return in.isUsedUp() ? Answer(std::move(result)) : Answer();
    }
  }

  /// Empties the results that the caller has places for.
  static void clear(A... arguments) { (Argument<A>::clear(arguments), ...); }

  /// Reads the arguments, calls `function` with them and writes what results. Returns false if they
  /// can't be read.
  template <typename Function>
  static bool serve(Coder& in, Coder& out, const Function& function) {
    std::tuple<typename Argument<A>::Stored...> stored;
    std::apply([&](auto&... each) { (Argument<A>::get(in, each), ...); }, stored);
    if (!in.isUsedUp()) return false;
    std::apply(
        [&](auto&... each) {
          if constexpr (std::is_void_v<R>)
            function(Argument<A>::pass(each)...);
          else
            out.put(static_cast<const std::decay_t<R>&>(function(Argument<A>::pass(each)...)));
          (Argument<A>::putBack(out, each), ...);
        },
        stored);
    return true;
  }
};

template <typename F>
struct CallOf;
template <typename R, typename T, typename... A>
struct CallOf<R (T::*)(A...)> : Call<R, T, A...> {};
// The listeners of the extras, and their functions, get their browser or plug-in as the first
// argument.
template <typename R, typename... A>
struct CallOf<R (IExtraCallbacks::*)(ILarkaBrowser*, A...)> : Call<R, IExtraCallbacks, A...> {};
template <typename R, typename... A>
struct CallOf<R (*)(ILarkaBrowser*, A...)> : Call<R, ILarkaBrowser, A...> {};
template <typename R, typename... A>
struct CallOf<R (*)(LarkaPluginWidget*, A...)> : Call<R, LarkaPluginWidget, A...> {};

/// The type of an operation; see Call.
template <auto Operation>
using CallTo = CallOf<std::remove_const_t<decltype(Operation)>>;

template <auto Operation>
using Constant = std::integral_constant<std::remove_const_t<decltype(Operation)>, Operation>;

/// A list of operations.
template <auto... Each>
struct Operations {
  static constexpr int kCount = sizeof...(Each);

  /// The place of an operation, which must be in the list.
  template <auto Operation>
  static constexpr std::uint16_t numberOf() {
    constexpr bool isIt[] = {std::is_same_v<Constant<Operation>, Constant<Each>>...};
    int number = 0;
    while (!isIt[number]) ++number;
    return static_cast<std::uint16_t>(number);
  }

  template <auto Operation>
  static constexpr bool has() {
    return (std::is_same_v<Constant<Operation>, Constant<Each>> || ...);
  }

  /// Calls `function` with the Constant of the operation at `number`. Returns false if there is
  /// none.
  template <typename Function>
  static bool with(int number, const Function& function) {
    int place = 0;
    return ((place++ == number && (function(Constant<Each>()), true)) || ...);
  }
};

/// What the host asks of the engine process besides the operations of the interface.
class EngineRequests {
 public:
  virtual ~EngineRequests() = default;
  virtual void createBrowser(int id) = 0;
  virtual void destroyBrowser(int id) = 0;
  virtual bool launchInspector(int browser, int id, bool show) = 0;
  virtual void listenToExtras(int browser) = 0;
  virtual void setStorageLimits(long long bytesPerOrigin, long long bytesInAll) = 0;
  virtual void limitMemory(long long bytes) = 0;
  /// Returns the bytes of the file that SaveBrowserImage() writes.
  virtual std::string imageFile(int browser, int width, int height) = 0;
  virtual void shutDown() = 0;
  /// Ends the process, after shutDown().
  virtual void finish() = 0;
  /// Does nothing: the answer is a sign of life.
  virtual void ping() = 0;
  /// Has the engine process handle its events, while it waits for an answer.
  virtual void pump() = 0;
  /// The host sees the half that the last notice of an image was about.
  virtual void imageTaken(int browser) = 0;
  /// The host has forgotten a handle that it got `times` times.
  virtual void releaseControl(long long id, int times) = 0;
  virtual void releasePlugin(long long id, int times) = 0;
  /// Does what RefreshImage() does. The host has the image before the answer.
  virtual bool refreshImage(int browser) = 0;
};

/// What the engine process tells the host besides the events of the interface.
class HostRequests {
 public:
  virtual ~HostRequests() = default;
  virtual void started() = 0;
  virtual void diagnostics(const char* line) = 0;
  /// A browser has another image: the one called `image`, of its page or of a plug-in in full
  /// screen, in the file that comes along. The one called 0 is none.
  virtual void imageMade(int browser, long long image, bool isPage, int stride, int rows) = 0;
  /// The other half of the image's file is to be seen: these parts have changed, and the page where
  /// these plug-ins are.
  virtual void imageChanged(int browser, long long image, int half,
                            const std::vector<Rectangle>& parts,
                            const std::vector<long long>& plugins) = 0;
  /// The page's list has lost these plug-ins.
  virtual void pluginsGone(const std::vector<long long>& plugins) = 0;
  /// Does nothing: by the answer the host has taken what was sent before.
  virtual void ping() = 0;
};

template <typename T, typename R, typename... A>
constexpr auto overload(R (T::*operation)(A...)) {
  return operation;
}

// New operations go to the end: the numbers are sent. Not listed are those that the host answers
// itself, such as AddListener, GetBrowserImage and
// SaveBrowserImage.

using EngineOperations = Operations<
    // clang-format off
    &EngineRequests::createBrowser, &EngineRequests::destroyBrowser,
    &EngineRequests::launchInspector, &EngineRequests::listenToExtras,
    &EngineRequests::setStorageLimits, &EngineRequests::limitMemory,
    &EngineRequests::imageFile, &EngineRequests::shutDown,
    &EngineRequests::finish, &EngineRequests::ping, &EngineRequests::pump, &EngineRequests::imageTaken,
    &EngineRequests::releaseControl, &EngineRequests::releasePlugin,

    &ILarkaBrowser::Initialize, &ILarkaBrowser::Shutdown, &ILarkaBrowser::SetProxy,
    &ILarkaBrowser::SetGlobalSurface, &ILarkaBrowser::SetUserAgent, &ILarkaBrowser::Resize,
    &ILarkaBrowser::SetCacheParameters, &ILarkaBrowser::ClearCache, &ILarkaBrowser::InjectCookie,
    &ILarkaBrowser::ClearCookie, &ILarkaBrowser::ClearAllCookies, &ILarkaBrowser::ReadCookie,
    &ILarkaBrowser::ReadCookies, &ILarkaBrowser::Navigate, &ILarkaBrowser::MouseMove,
    &ILarkaBrowser::MouseDown, &ILarkaBrowser::MouseUp, &ILarkaBrowser::MouseClick,
    overload<ILarkaBrowser, void, Directions, int, int>(&ILarkaBrowser::MouseWheel),
    overload<ILarkaBrowser, void, int, int, int>(&ILarkaBrowser::MouseWheel),
    &ILarkaBrowser::KeyDown, &ILarkaBrowser::KeyUp,
    overload<ILarkaBrowser, void, Directions, int>(&ILarkaBrowser::Scroll),
    overload<ILarkaBrowser, void, int, int>(&ILarkaBrowser::Scroll), &ILarkaBrowser::Reload,
    &ILarkaBrowser::FocusNext, &ILarkaBrowser::FocusPrev, &ILarkaBrowser::GetHistoryLength,
    &ILarkaBrowser::GetPrevLocation, &ILarkaBrowser::GetNextLocation, &ILarkaBrowser::Back,
    &ILarkaBrowser::Forward, &ILarkaBrowser::Stop, &ILarkaBrowser::ExecuteJavascript,
    &ILarkaBrowser::GetCurrentLocation, &ILarkaBrowser::GetTitle, &ILarkaBrowser::SetZoomLevel,
    &ILarkaBrowser::GetZoomLevel, &ILarkaBrowser::ScrollToPoint, &ILarkaBrowser::GetViewPort,
    &ILarkaBrowser::GetMetaTagValue,
    &ILarkaBrowser::GetBrowserNativeHandle, &ILarkaBrowser::GetPluginWidgets,
    &ILarkaBrowser::HitTest, &ILarkaBrowser::GetControls, &ILarkaBrowser::GetWidth,
    &ILarkaBrowser::GetHeight, &ILarkaBrowser::GetFrameContentSize,

    &LarkaHTMLControl::GetControlType, &LarkaHTMLControl::GetStyleProperty,
    &LarkaHTMLControl::SetStyleProperty, &LarkaHTMLControl::IsClickable,
    &LarkaHTMLControl::GetControlRect, &LarkaHTMLControl::GetControlId,
    &LarkaHTMLControl::GetControlText, &LarkaHTMLControl::SetCaretAtEndOfControl,
    &LarkaHTMLControl::IsControlSelected, &LarkaHTMLControl::Focus, &LarkaHTMLControl::HasFocus,
    &LarkaHTMLControl::GetZoomRect,

    &LarkaPluginWidget::GetHandle, &LarkaPluginWidget::GetX, &LarkaPluginWidget::GetY,
    &LarkaPluginWidget::GetWidth, &LarkaPluginWidget::GetHeight, &LarkaPluginWidget::GetZIndex,
    &LarkaPluginWidget::GetTagName, &LarkaPluginWidget::HasAttribute,
    &LarkaPluginWidget::GetAttribute, &LarkaPluginWidget::SetAttribute,
    &LarkaPluginWidget::ExecuteJS, &LarkaPluginWidget::SetFocus, &LarkaPluginWidget::IsVisible,
    &LarkaPluginWidget::SetFullScreen,

    &GetLoadError, &SetLoadTimeLimit, &TakeFrameStatistics, &EvaluateScript, &SetDocumentScript,
    &SetStyleSheet, &EnableMessages, &PostMessageToPage, &AnswerList, &AnswerColor, &GetTextField,
    &InsertText, &ReplaceText, &DeleteText, &SetTransparent, &SetMaximumImageSize,
    &SetImageFollowsResize, &SetDevicePixelRatio, &MoveFocus, &SetCertificateChecks,
    &AcceptCertificate, &SetMediaHandedOver, &GetMediaAddress, &ReportMedia, &CloseList, &IsListOpen,
    &PressFocused, &LeaveFullScreen, &GetPluginPlace,
    &HasRunningRequests, &EngineRequests::refreshImage,
    &LarkaPluginWidget::GetMimeType>;
// clang-format on

// Their results are known: they are called even if nobody can wait for that.
using OperationsForLater = Operations<
    // clang-format off
    &ILarkaBrowser::InjectCookie, &SetDocumentScript, &SetStyleSheet, &EnableMessages,
    &SetTransparent, &SetMaximumImageSize, &SetImageFollowsResize, &SetDevicePixelRatio,
    &SetCertificateChecks, &SetMediaHandedOver>;
// clang-format on

using HostOperations = Operations<
    // clang-format off
    &HostRequests::started, &HostRequests::diagnostics, &HostRequests::imageMade,
    &HostRequests::imageChanged, &HostRequests::pluginsGone,

    &ILarkaCallbacks::OnLoadStarted, &ILarkaCallbacks::OnLoadFinished,
    &ILarkaCallbacks::OnLoadProgress, &ILarkaCallbacks::OnPrintRequested,
    &ILarkaCallbacks::OnDownloadRequested, &ILarkaCallbacks::OnTitleChanged,
    &ILarkaCallbacks::OnStatusBarMessage, &ILarkaCallbacks::OnAcceptNavigationRequest,
    &ILarkaCallbacks::OnGeometryChangeRequested, &ILarkaCallbacks::OnCreatingRequest,
    &ILarkaCallbacks::OnUrlChanged, &ILarkaCallbacks::OnMouseClick,
    &ILarkaCallbacks::OnPluginCreated, &ILarkaCallbacks::OnExecuteInLarka,
    &ILarkaCallbacks::OnCreateWindow, &ILarkaCallbacks::OnChooseFile,
    &ILarkaCallbacks::OnJavaScriptAlert, &ILarkaCallbacks::OnJavaScriptConfirm,
    &ILarkaCallbacks::OnJavaScriptPrompt, &ILarkaCallbacks::OnJavaScriptConsoleMessage,
    &ILarkaCallbacks::OnLinkHovered, &ILarkaCallbacks::OnRequestError,

    &IExtraCallbacks::OnMessage, &IExtraCallbacks::OnListOpened, &IExtraCallbacks::OnListClosed,
    &IExtraCallbacks::OnColorOpened, &IExtraCallbacks::OnColorClosed,
    &IExtraCallbacks::OnTextField, &IExtraCallbacks::OnMediaRequest,
    &HostRequests::ping>;
// clang-format on

}  // namespace LARKA
