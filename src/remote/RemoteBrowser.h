// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "channel/Caller.h"
#include "larka/ILarkaBrowser.h"
#include "larka/ILarkaCallbacks.h"
#include "larka/extras.h"
#include "remote/RemoteImage.h"
#include "remote/RemoteManager.h"

namespace LARKA {

/// Stands for a browser of the engine process. It keeps the host's listeners, and what the host has
/// set, for the next process.
class RemoteBrowser : public ILarkaBrowser {
 public:
  RemoteBrowser(std::shared_ptr<RemoteManager> manager, int id, RemoteBrowser* inspected = nullptr);
  ~RemoteBrowser() override;

  int id() const { return m_id; }
  const std::shared_ptr<RemoteManager>& manager() const { return m_manager; }

  /// Whether it belongs to another browser.
  bool isInspector() const { return m_inspected; }
  const std::vector<RemoteBrowser*>& inspectors() const { return m_inspectors; }

  /// Calls no listener any more.
  void abandon();

  /// Whether it was shut down or abandoned.
  bool isOver() const { return m_over; }

  /// Calls the operation there. Without an answer it returns an empty result.
  template <auto Operation, typename... A>
  auto call(A&&... arguments);

  /// The same for an operation that sets something, which the next process gets, too.
  template <auto Operation, typename... A>
  auto set(A&&... arguments);

  // The listeners.

  void addExtraListener(IExtraCallbacks* listener);
  void removeExtraListener(IExtraCallbacks* listener);

  /// Calls `call` with each listener of a kind until it returns true.
  template <typename Call>
  void notifyUntil(const std::vector<ILarkaCallbacks*>&, const Call& call) {
    each(m_listeners, call);
  }
  template <typename Call>
  void notifyUntil(const std::vector<IExtraCallbacks*>&, const Call& call) {
    each(m_extraListeners, call);
  }

  /// Notes what an event says about the page, before the listeners get it.
  void loadStarted() { m_loading = true; }
  void loadFinished() { m_loading = false; }
  void addressChanged(const char* url) { m_address = url; }

  /// What the listeners have heard of that begins, and not of its end. If the process ends, they
  /// do.
  struct OpenThings {
    int list = 0, color = 0;                                      // 0 for none
    IExtraCallbacks *listTaker = nullptr, *colorTaker = nullptr;  // who hears of their end
    bool hasField = false;
    std::vector<LarkaPluginWidget> players;

    void notePlayer(const LarkaPluginWidget& player, MediaAction action);
  };
  OpenThings& open() { return m_open; }

  /// Notes that the host has answered: `done` says whether that closed the question.
  bool answered(int OpenThings::*question, bool done) {
    if (done) m_open.*question = 0;
    return done;
  }

  // The image.

  RemoteImage& image() { return m_image; }

  /// The process has made an image for the page.
  void pageImageMade();

  void notifyDirty(const std::vector<Rectangle>& parts,
                   const std::vector<LarkaPluginWidget>& plugins);
  const std::vector<Rectangle>& changedParts() const { return m_changed; }
  bool refreshImage();

  // The process.

  /// The process has ended.
  void detach();

  /// Makes this browser in another process; with `reload`, with the page that it had.
  void restore(bool reload);

  /// Tells the listeners about the end of the process.
  void notifyState(EngineState state);

  void Initialize(int width, int height, const char* cookiePath, const char* localStoragePath,
                  bool createScriptObject, SystemInfoData* systemInfo) override;
  void Shutdown() override;
  void AddListener(ILarkaCallbacks* listener) override;
  void RemoveListener(ILarkaCallbacks* listener) override;
  void SetProxy(const char* host, int port, ProxyType type, const char* user,
                const char* password) override;
  void SetGlobalSurface(char* pixels) override;
  void SetUserAgent(const char* userAgent) override;
  void Resize(int width, int height) override;
  void SetCacheParameters(const char* directory, int sizeInMegabytes) override;
  void ClearCache() override;
  int InjectCookie(const char* domain, const char* name, const char* value,
                   int lifetimeSeconds) override;
  bool ClearCookie(const char* name) override;
  void ClearAllCookies() override;
  std::string ReadCookie(const char* name) override;
  std::vector<std::pair<std::string, std::string>> ReadCookies() override;
  void Navigate(const char* url) override;
  void MouseMove(int x, int y, int reserved) override;
  void MouseDown(int x, int y, int reserved) override;
  void MouseUp(int x, int y, int reserved) override;
  void MouseClick(int x, int y, int reserved) override;
  void MouseWheel(Directions direction, int amount, int reserved) override;
  void MouseWheel(int dx, int dy, int reserved) override;
  void KeyDown(int key, int modifiers) override;
  void KeyUp(int key, int modifiers) override;
  void Scroll(Directions direction, int amount) override;
  void Scroll(int dx, int dy) override;
  void Reload() override;
  bool FocusNext() override;
  bool FocusPrev() override;
  int GetHistoryLength() override;
  std::string GetPrevLocation() override;
  std::string GetNextLocation() override;
  void Back() override;
  void Forward() override;
  void Stop() override;
  void Focus() override {}
  void Invalidate() override {}
  std::string ExecuteJavascript(const char* script) override;
  std::string GetCurrentLocation() override;
  std::string GetTitle() override;
  void SetZoomLevel(double percent) override;
  double GetZoomLevel() override;
  void ScrollToPoint(int x, int y) override;
  void GetViewPort(int* x, int* y, int* width, int* height) override;
  std::string GetMetaTagValue(const char* name) override;
  int GetBrowserStride() override { return m_image.stride(); }
  unsigned char* GetBrowserImage() override { return m_image.pixels(); }
  void SaveBrowserImage(const char* path, int width, int height) override;
  void* GetBrowserNativeHandle() override;
  std::vector<LarkaPluginWidget> GetPluginWidgets() override;
  LarkaHTMLControl HitTest(int x, int y) override;
  std::vector<LarkaHTMLControl*> GetControls(ControlType type) override;
  ILarkaBrowser* LaunchInspector(bool show) override;
  void SetConfig(const char*, const char*) override {}
  void SetConfig(const char*, int) override {}
  void SetConfig(const char*, bool) override {}
  int GetWidth() override;
  int GetHeight() override;
  void GetFrameContentSize(int& width, int& height) override;

 private:
  /// Keeps what the host sets for the next process. Returns false if that is too long.
  template <auto Operation, typename... A>
  bool keep(A&&... arguments);

  template <typename Listener, typename Call>
  void each(const std::vector<Listener*>& listeners, const Call& call) {
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): a call may change the list.
    const std::vector<Listener*> present = listeners;
    for (Listener* listener : present)
      if (m_abandoned || (listener && call(listener))) return;
  }

  void closeAll();

  std::shared_ptr<RemoteManager> m_manager;
  int m_id;
  RemoteBrowser* m_inspected;  // by this inspector
  std::vector<RemoteBrowser*> m_inspectors;
  std::vector<ILarkaCallbacks*> m_listeners;
  std::vector<IExtraCallbacks*> m_extraListeners;
  bool m_abandoned = false, m_over = false;
  bool m_loading = false, m_failed = false;
  std::string m_address;
  OpenThings m_open;
  std::vector<std::pair<quint16, QByteArray>> m_set;  // in the order in which it was first set
  RemoteImage m_image;
  bool m_hasImage = false;     // of the page
  QByteArray m_sizeThen;       // what Resize() had said when that was made; empty if nothing
  bool m_holdsResize = false;  // until another process has made one
  std::vector<Rectangle> m_changed;
};

/// Returns the browser if it is one of an engine process.
inline RemoteBrowser* remoteBrowser(ILarkaBrowser* browser) {
  return dynamic_cast<RemoteBrowser*>(browser);
}

template <auto Operation, typename... A>
auto RemoteBrowser::call(A&&... arguments) {
  using Result = typename CallTo<Operation>::Result;
  using Answer = decltype(m_manager->ask<Operation>(m_id, arguments...));
  const auto manager = m_manager;
  Answer answer = m_over ? Answer() : manager->ask<Operation>(m_id, arguments...);
  if (m_over && !answer) CallTo<Operation>::clear(arguments...);
  if constexpr (!std::is_void_v<Result>) return answer ? std::move(*answer) : Result();
}

template <auto Operation, typename... A>
bool RemoteBrowser::keep(A&&... arguments) {
  const quint16 number = EngineOperations::numberOf<Operation>();
  QByteArray content = m_manager->contentFor<Operation>(m_id, arguments...);
  if (RemoteManager::isTooLong(content)) return false;
  auto known = m_set.begin();
  while (known != m_set.end() && known->first != number) ++known;
  if (known == m_set.end())
    m_set.emplace_back(number, std::move(content));
  else
    known->second = std::move(content);
  return true;
}

template <auto Operation, typename... A>
auto RemoteBrowser::set(A&&... arguments) {
  using Result = typename CallTo<Operation>::Result;
  if (!m_over && !keep<Operation>(arguments...)) return Result();
  if constexpr (std::is_same_v<Result, bool>) {
    // It is set, now or later.
    const auto manager = m_manager;
    return !m_over && manager->ask<Operation>(m_id, arguments...).value_or(true);
  } else {
    return call<Operation>(arguments...);
  }
}

}  // namespace LARKA
