// SPDX-License-Identifier: MIT
#include "remote/RemoteBrowser.h"

#include <algorithm>
#include <fstream>
#include <utility>

#include "elements/LarkaPluginWidgetQt.h"
#include "host/Diagnostics.h"

namespace LARKA {

namespace {

const quint16 kResize = EngineOperations::numberOf<&ILarkaBrowser::Resize>();

}  // namespace

RemoteBrowser::RemoteBrowser(std::shared_ptr<RemoteManager> manager, int id,
                             RemoteBrowser* inspected)
    : m_manager(std::move(manager)), m_id(id), m_inspected(inspected) {
  if (m_inspected) m_inspected->m_inspectors.push_back(this);
}

RemoteBrowser::~RemoteBrowser() {
  for (RemoteBrowser* inspector : m_inspectors) delete inspector;
  m_manager->forget(this);
}

void RemoteBrowser::abandon() {
  m_abandoned = m_over = true;
  m_listeners.clear();
  m_extraListeners.clear();
}

// Listeners.

void RemoteBrowser::AddListener(ILarkaCallbacks* listener) { m_listeners.push_back(listener); }

void RemoteBrowser::RemoveListener(ILarkaCallbacks* listener) {
  m_listeners.erase(std::remove(m_listeners.begin(), m_listeners.end(), listener),
                    m_listeners.end());
}

void RemoteBrowser::addExtraListener(IExtraCallbacks* listener) {
  if (!listener || m_over || m_inspected) return;
  if (m_extraListeners.empty()) m_manager->ask<&EngineRequests::listenToExtras>(0, m_id);
  m_extraListeners.push_back(listener);
}

void RemoteBrowser::removeExtraListener(IExtraCallbacks* listener) {
  m_extraListeners.erase(std::remove(m_extraListeners.begin(), m_extraListeners.end(), listener),
                         m_extraListeners.end());
}

void RemoteBrowser::OpenThings::notePlayer(const LarkaPluginWidget& player, MediaAction action) {
  const auto is = [&player](const LarkaPluginWidget& other) {
    return LarkaPluginWidgetPrivate::of(other) == LarkaPluginWidgetPrivate::of(player);
  };
  if (action == MEDIA_OPEN && std::none_of(players.begin(), players.end(), is))
    players.push_back(player);
  if (action == MEDIA_CLOSE)
    players.erase(std::remove_if(players.begin(), players.end(), is), players.end());
}

void RemoteBrowser::notifyDirty(const std::vector<Rectangle>& parts,
                                const std::vector<LarkaPluginWidget>& plugins) {
  m_changed = parts;
  each(m_listeners, [&](ILarkaCallbacks* listener) {
    listener->OnDirty(this);
    for (LarkaPluginWidget plugin : plugins) {
      const bool listens =
          std::find(m_listeners.begin(), m_listeners.end(), listener) != m_listeners.end();
      if (m_abandoned || !listens) break;
      listener->OnPluginDirty(&plugin);
    }
    return false;
  });
  m_changed.clear();
}

bool RemoteBrowser::refreshImage() {
  const auto manager = m_manager;
  return !m_over && manager->ask<&EngineRequests::refreshImage>(0, m_id).value_or(false);
}

// Another process.

void RemoteBrowser::detach() {
  m_failed = std::exchange(m_loading, false) || m_failed;
  if (m_inspected) m_over = true;
  m_image.detach();
}

// The image has the size of the view at that moment, and keeps it. So another process gets this
// size first.
void RemoteBrowser::pageImageMade() {
  QByteArray now;
  for (const auto& [operation, content] : m_set)
    if (operation == kResize) now = content;
  m_hasImage = true;
  if (!std::exchange(m_holdsResize, false))
    m_sizeThen = now;
  else if (!now.isEmpty())
    m_manager->post(kResize, now);
}

void RemoteBrowser::restore(bool reload) {
  if (m_inspected || m_over) return;
  m_manager->tell<&EngineRequests::createBrowser>(0, m_id);
  if (!m_extraListeners.empty()) m_manager->tell<&EngineRequests::listenToExtras>(0, m_id);
  m_holdsResize = m_hasImage;
  for (const auto& [operation, content] : m_set) {
    const bool isHeld = m_holdsResize && operation == kResize;
    if (!isHeld || !m_sizeThen.isEmpty()) m_manager->post(operation, isHeld ? m_sizeThen : content);
  }
  if (!reload || m_address.empty()) return;
  m_manager->tell<&ILarkaBrowser::Navigate>(m_id, m_address.c_str());
}

// The page closes nothing any more.
void RemoteBrowser::closeAll() {
  const OpenThings open = std::exchange(m_open, {});
  const auto tell = [this](const auto& call) {
    each(m_extraListeners, [&](IExtraCallbacks* listener) { return call(listener), false; });
  };
  tell([&](auto* listener) {
    if (open.list != 0 && listener == open.listTaker) listener->OnListClosed(this, open.list);
    if (open.color != 0 && listener == open.colorTaker) listener->OnColorClosed(this, open.color);
  });
  if (open.hasField) tell([&](auto* listener) { listener->OnTextField(this, TextField()); });
  for (LarkaPluginWidget player : open.players)
    tell([&](auto* listener) { listener->OnMediaRequest(this, &player, MEDIA_CLOSE, 0); });
}

void RemoteBrowser::notifyState(EngineState state) {
  const bool hasEnded = state == ENGINE_ENDED || state == ENGINE_STOPPED;
  if (hasEnded && std::exchange(m_failed, false)) {
    each(m_listeners, [](ILarkaCallbacks* listener) {
      listener->OnLoadFinished(false);
      return false;
    });
  }
  if (hasEnded) closeAll();
  each(m_extraListeners, [&](IExtraCallbacks* listener) {
    listener->OnEngineState(this, state);
    return false;
  });
}

// Operations that more is to be known of.

void RemoteBrowser::Initialize(int width, int height, const char* cookiePath,
                               const char* localStoragePath, bool createScriptObject,
                               SystemInfoData* systemInfo) {
  set<&ILarkaBrowser::Initialize>(width, height, cookiePath, localStoragePath, createScriptObject,
                                  systemInfo);
}

void RemoteBrowser::Shutdown() {
  call<&ILarkaBrowser::Shutdown>();
  m_over = true;
  m_image.show(0, true, -1, 0, 0);
}

void RemoteBrowser::Navigate(const char* url) {
  if (m_over) return;
  m_address = url ? url : "";
  if (m_manager->isStopped()) {
    m_failed = true;
    return m_manager->repeatStopped(m_id);
  }
  m_loading = true;
  call<&ILarkaBrowser::Navigate>(url);
}

// The engine process may write hardly anywhere.
void RemoteBrowser::SaveBrowserImage(const char* path, int width, int height) {
  if (m_over || !path) return;
  const auto bytes = m_manager->ask<&EngineRequests::imageFile>(0, m_id, width, height);
  std::ofstream file(path, std::ios::binary);
  if (!bytes || bytes->empty() || !(file << *bytes).flush()) diagnose("Thumbnail save failure\n");
}

ILarkaBrowser* RemoteBrowser::LaunchInspector(bool show) {
  return m_over || m_inspected ? nullptr : m_manager->launchInspector(this, show);
}

// The others.

void RemoteBrowser::SetProxy(const char* host, int port, ProxyType type, const char* user,
                             const char* password) {
  set<&ILarkaBrowser::SetProxy>(host, port, type, user, password);
}
void RemoteBrowser::SetGlobalSurface(char* pixels) {
  call<&ILarkaBrowser::SetGlobalSurface>(pixels);
}
void RemoteBrowser::SetUserAgent(const char* userAgent) {
  set<&ILarkaBrowser::SetUserAgent>(userAgent);
}
void RemoteBrowser::Resize(int width, int height) {
  if (m_holdsResize)
    keep<&ILarkaBrowser::Resize>(width, height);
  else
    set<&ILarkaBrowser::Resize>(width, height);
}
void RemoteBrowser::SetCacheParameters(const char* directory, int sizeInMegabytes) {
  set<&ILarkaBrowser::SetCacheParameters>(directory, sizeInMegabytes);
}
void RemoteBrowser::ClearCache() { call<&ILarkaBrowser::ClearCache>(); }
int RemoteBrowser::InjectCookie(const char* domain, const char* name, const char* value,
                                int lifetimeSeconds) {
  return call<&ILarkaBrowser::InjectCookie>(domain, name, value, lifetimeSeconds);
}
bool RemoteBrowser::ClearCookie(const char* name) {
  return call<&ILarkaBrowser::ClearCookie>(name);
}
void RemoteBrowser::ClearAllCookies() { call<&ILarkaBrowser::ClearAllCookies>(); }
std::string RemoteBrowser::ReadCookie(const char* name) {
  return call<&ILarkaBrowser::ReadCookie>(name);
}
std::vector<std::pair<std::string, std::string>> RemoteBrowser::ReadCookies() {
  return call<&ILarkaBrowser::ReadCookies>();
}
void RemoteBrowser::MouseMove(int x, int y, int reserved) {
  call<&ILarkaBrowser::MouseMove>(x, y, reserved);
}
void RemoteBrowser::MouseDown(int x, int y, int reserved) {
  call<&ILarkaBrowser::MouseDown>(x, y, reserved);
}
void RemoteBrowser::MouseUp(int x, int y, int reserved) {
  call<&ILarkaBrowser::MouseUp>(x, y, reserved);
}
void RemoteBrowser::MouseClick(int x, int y, int reserved) {
  call<&ILarkaBrowser::MouseClick>(x, y, reserved);
}
void RemoteBrowser::MouseWheel(Directions direction, int amount, int reserved) {
  call<overload<ILarkaBrowser, void, Directions, int, int>(&ILarkaBrowser::MouseWheel)>(
      direction, amount, reserved);
}
void RemoteBrowser::MouseWheel(int dx, int dy, int reserved) {
  call<overload<ILarkaBrowser, void, int, int, int>(&ILarkaBrowser::MouseWheel)>(dx, dy, reserved);
}
void RemoteBrowser::KeyDown(int key, int modifiers) {
  call<&ILarkaBrowser::KeyDown>(key, modifiers);
}
void RemoteBrowser::KeyUp(int key, int modifiers) { call<&ILarkaBrowser::KeyUp>(key, modifiers); }
void RemoteBrowser::Scroll(Directions direction, int amount) {
  call<overload<ILarkaBrowser, void, Directions, int>(&ILarkaBrowser::Scroll)>(direction, amount);
}
void RemoteBrowser::Scroll(int dx, int dy) {
  call<overload<ILarkaBrowser, void, int, int>(&ILarkaBrowser::Scroll)>(dx, dy);
}
void RemoteBrowser::Reload() { call<&ILarkaBrowser::Reload>(); }
bool RemoteBrowser::FocusNext() { return call<&ILarkaBrowser::FocusNext>(); }
bool RemoteBrowser::FocusPrev() { return call<&ILarkaBrowser::FocusPrev>(); }
int RemoteBrowser::GetHistoryLength() { return call<&ILarkaBrowser::GetHistoryLength>(); }
std::string RemoteBrowser::GetPrevLocation() { return call<&ILarkaBrowser::GetPrevLocation>(); }
std::string RemoteBrowser::GetNextLocation() { return call<&ILarkaBrowser::GetNextLocation>(); }
void RemoteBrowser::Back() { call<&ILarkaBrowser::Back>(); }
void RemoteBrowser::Forward() { call<&ILarkaBrowser::Forward>(); }
void RemoteBrowser::Stop() { call<&ILarkaBrowser::Stop>(); }
std::string RemoteBrowser::ExecuteJavascript(const char* script) {
  return call<&ILarkaBrowser::ExecuteJavascript>(script);
}
std::string RemoteBrowser::GetCurrentLocation() {
  return call<&ILarkaBrowser::GetCurrentLocation>();
}
std::string RemoteBrowser::GetTitle() { return call<&ILarkaBrowser::GetTitle>(); }
void RemoteBrowser::SetZoomLevel(double percent) { set<&ILarkaBrowser::SetZoomLevel>(percent); }
double RemoteBrowser::GetZoomLevel() { return call<&ILarkaBrowser::GetZoomLevel>(); }
void RemoteBrowser::ScrollToPoint(int x, int y) { call<&ILarkaBrowser::ScrollToPoint>(x, y); }
void RemoteBrowser::GetViewPort(int* x, int* y, int* width, int* height) {
  call<&ILarkaBrowser::GetViewPort>(x, y, width, height);
}
std::string RemoteBrowser::GetMetaTagValue(const char* name) {
  return call<&ILarkaBrowser::GetMetaTagValue>(name);
}
void* RemoteBrowser::GetBrowserNativeHandle() {
  return call<&ILarkaBrowser::GetBrowserNativeHandle>();
}
std::vector<LarkaPluginWidget> RemoteBrowser::GetPluginWidgets() {
  return call<&ILarkaBrowser::GetPluginWidgets>();
}
LarkaHTMLControl RemoteBrowser::HitTest(int x, int y) {
  return call<&ILarkaBrowser::HitTest>(x, y);
}
std::vector<LarkaHTMLControl*> RemoteBrowser::GetControls(ControlType type) {
  return call<&ILarkaBrowser::GetControls>(type);
}
int RemoteBrowser::GetWidth() { return call<&ILarkaBrowser::GetWidth>(); }
int RemoteBrowser::GetHeight() { return call<&ILarkaBrowser::GetHeight>(); }
void RemoteBrowser::GetFrameContentSize(int& width, int& height) {
  call<&ILarkaBrowser::GetFrameContentSize>(width, height);
}

}  // namespace LARKA
