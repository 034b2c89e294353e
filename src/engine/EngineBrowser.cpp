// SPDX-License-Identifier: MIT
#include "engine/EngineBrowser.h"

#include <QRect>
#include <algorithm>
#include <utility>

namespace LARKA {

namespace {

const size_t kMostParts = 20;
const size_t kForgetAfter = 100;

QRect toQt(const Rectangle& part) { return QRect(part.x, part.y, part.width, part.height); }

/// Many parts become the one around them.
void joinMany(std::vector<Rectangle>* parts) {
  if (parts->size() <= kMostParts) return;
  QRect all;
  for (const Rectangle& part : *parts) all |= toQt(part);
  *parts = {{all.x(), all.y(), all.width(), all.height()}};
}

}  // namespace

EngineBrowser::EngineBrowser(EngineServer* server, int id, ILarkaBrowser* browser)
    : m_server(server), m_id(id), m_browser(browser) {
  m_browser->AddListener(this);
}

void EngineBrowser::listenToExtras() {
  RemoveExtraListener(m_browser, this);
  AddExtraListener(m_browser, this);
}

// The image.

// What was painted into another image before is of no interest in this one.
void EngineBrowser::checkImage(bool isPage) {
  if (!announceImage(isPage) || m_painted == m_browser->GetBrowserImage()) return;
  m_dirty = false;
  m_parts.clear();
  m_dirtyPlugins.clear();
}

bool EngineBrowser::announceImage(bool isPage) {
  const unsigned char* pixels = m_browser->GetBrowserImage();
  const int stride = m_browser->GetBrowserStride();
  const int rows = pixels ? GetImageSize(m_browser).height : 0;
  if (m_image.isOf(pixels, stride, rows)) return false;
  const int file = m_image.make(pixels, stride, rows);
  m_imageName = file < 0 ? 0 : static_cast<long long>(reinterpret_cast<quintptr>(pixels));
  m_isNew = true;
  m_server->attach(file);
  m_server->send<&HostRequests::imageMade>(m_id, m_imageName, isPage, stride, rows);
  return true;
}

void EngineBrowser::OnDirty(ILarkaBrowser*) {
  m_painted = m_browser->GetBrowserImage();
  for (const Rectangle& part : GetChangedRectangles(m_browser)) m_parts.push_back(part);
  joinMany(&m_parts);
  if (!std::exchange(m_dirty, true))
    m_server->later([self = shared_from_this()] { self->sendChanges(); });
}

void EngineBrowser::OnPluginDirty(LarkaPluginWidget* plugin) {
  m_dirtyPlugins.emplace(EngineServer::nameOf(*plugin), *plugin);
}

// The host sees one half of the shared image until it answers a notice; nothing is written into
// either of them until then.
void EngineBrowser::sendChanges() {
  if (!m_dirty || m_noticed) return;
  const bool isMade = announceImage();
  // The first notice of an image covers all of it. One that was just made has it all.
  if (std::exchange(m_isNew, false)) m_parts = m_image.whole();
  const int half = isMade ? m_image.seen() : m_image.update(&m_parts);
  std::vector<long long> plugins;
  for (const auto& [id, plugin] : m_dirtyPlugins) plugins.push_back(m_server->idOf(plugin));
  m_dirty = false;
  m_noticed = true;
  m_server->send<&HostRequests::imageChanged>(m_id, m_imageName, half, std::exchange(m_parts, {}),
                                              plugins);
  m_dirtyPlugins.clear();
}

void EngineBrowser::imageTaken() {
  m_noticed = false;
  sendChanges();
}

// When the host takes a notice it may get another one, of what has changed since that was sent.
bool EngineBrowser::refreshImage() {
  const auto self = shared_from_this();
  const bool isDone = RefreshImage(m_browser);
  sendChanges();
  const int kMostNotices = 2;
  for (int i = 0; i < kMostNotices && m_noticed; ++i) m_server->ask<&HostRequests::ping>(0);
  return isDone;
}

// Plug-ins.

void EngineBrowser::OnPluginCreated(LarkaPluginWidget* plugin) {
  m_plugins.insert(EngineServer::nameOf(*plugin));
  if (m_plugins.size() % kForgetAfter == 0) forgetGonePlugins();
  ask<&ILarkaCallbacks::OnPluginCreated>(plugin);
}

// The host has its own data on each of them, and may still hear of one that is gone: its player
// closes, or the host hasn't taken the last notice yet. So one is forgotten if it was gone the last
// time, too.
void EngineBrowser::forgetGonePlugins() {
  std::set<qint64> gone = m_plugins;
  for (const LarkaPluginWidget& plugin : m_browser->GetPluginWidgets())
    gone.erase(EngineServer::nameOf(plugin));
  for (const auto& [id, plugin] : m_dirtyPlugins) gone.erase(id);
  std::vector<long long> forgotten;
  std::set_intersection(gone.begin(), gone.end(), m_gonePlugins.begin(), m_gonePlugins.end(),
                        std::back_inserter(forgotten));
  for (const long long id : forgotten) {
    gone.erase(id);
    m_plugins.erase(id);
  }
  m_gonePlugins = gone;
  if (!forgotten.empty()) m_server->send<&HostRequests::pluginsGone>(forgotten);
}

void EngineBrowser::forgetPlugins() {
  const std::vector<long long> gone(m_plugins.begin(), m_plugins.end());
  m_plugins.clear();
  m_gonePlugins.clear();
  if (!gone.empty()) m_server->send<&HostRequests::pluginsGone>(gone);
}

// The other events.

void EngineBrowser::OnLoadStarted() {
  forgetGonePlugins();
  tell<&ILarkaCallbacks::OnLoadStarted>();
}
// These wait until the host has heard them. What it does then counts at this point: it may try a
// failed load again, or remove a plug-in.
void EngineBrowser::OnLoadFinished(bool ok) { ask<&ILarkaCallbacks::OnLoadFinished>(ok); }
void EngineBrowser::OnLoadProgress(int percent) { tell<&ILarkaCallbacks::OnLoadProgress>(percent); }
void EngineBrowser::OnPrintRequested() { tell<&ILarkaCallbacks::OnPrintRequested>(); }
bool EngineBrowser::OnDownloadRequested() { return ask<&ILarkaCallbacks::OnDownloadRequested>(); }
void EngineBrowser::OnTitleChanged(const char* title) {
  tell<&ILarkaCallbacks::OnTitleChanged>(title);
}
void EngineBrowser::OnStatusBarMessage(const char* text) {
  tell<&ILarkaCallbacks::OnStatusBarMessage>(text);
}
void EngineBrowser::OnAcceptNavigationRequest() {
  tell<&ILarkaCallbacks::OnAcceptNavigationRequest>();
}
void EngineBrowser::OnGeometryChangeRequested(int width, int height) {
  tell<&ILarkaCallbacks::OnGeometryChangeRequested>(width, height);
}
void EngineBrowser::OnCreatingRequest(const char* url) {
  tell<&ILarkaCallbacks::OnCreatingRequest>(url);
}
void EngineBrowser::OnUrlChanged(const char* url) { tell<&ILarkaCallbacks::OnUrlChanged>(url); }
void EngineBrowser::OnMouseClick(LarkaHTMLControl& control) {
  tell<&ILarkaCallbacks::OnMouseClick>(control);
}
std::string EngineBrowser::OnExecuteInLarka(const char* command) {
  return ask<&ILarkaCallbacks::OnExecuteInLarka>(command);
}
void EngineBrowser::OnCreateWindow(bool modal, const char* url) {
  tell<&ILarkaCallbacks::OnCreateWindow>(modal, url);
}
std::string EngineBrowser::OnChooseFile(const char* suggestedFile) {
  return ask<&ILarkaCallbacks::OnChooseFile>(suggestedFile);
}
void EngineBrowser::OnJavaScriptAlert(const char* message) {
  ask<&ILarkaCallbacks::OnJavaScriptAlert>(message);
}
bool EngineBrowser::OnJavaScriptConfirm(const char* message) {
  return ask<&ILarkaCallbacks::OnJavaScriptConfirm>(message);
}
std::string EngineBrowser::OnJavaScriptPrompt(const char* message, const char* defaultValue,
                                              bool* handled) {
  return ask<&ILarkaCallbacks::OnJavaScriptPrompt>(message, defaultValue, handled);
}
void EngineBrowser::OnJavaScriptConsoleMessage(const char* message, int lineNumber,
                                               const char* sourceId) {
  tell<&ILarkaCallbacks::OnJavaScriptConsoleMessage>(message, lineNumber, sourceId);
}
void EngineBrowser::OnLinkHovered(bool hovering) {
  tell<&ILarkaCallbacks::OnLinkHovered>(hovering);
}
void EngineBrowser::OnRequestError() { tell<&ILarkaCallbacks::OnRequestError>(); }

void EngineBrowser::OnMessage(ILarkaBrowser*, const char* json, const char* address) {
  tell<&IExtraCallbacks::OnMessage>(json, address);
}
bool EngineBrowser::OnListOpened(ILarkaBrowser*, const ListRequest& list) {
  return ask<&IExtraCallbacks::OnListOpened>(list);
}
void EngineBrowser::OnListClosed(ILarkaBrowser*, int id) {
  tell<&IExtraCallbacks::OnListClosed>(id);
}
bool EngineBrowser::OnColorOpened(ILarkaBrowser*, int id, const Rectangle& control,
                                  const char* color) {
  return ask<&IExtraCallbacks::OnColorOpened>(id, control, color);
}
void EngineBrowser::OnColorClosed(ILarkaBrowser*, int id) {
  tell<&IExtraCallbacks::OnColorClosed>(id);
}
void EngineBrowser::OnTextField(ILarkaBrowser*, const TextField& field) {
  tell<&IExtraCallbacks::OnTextField>(field);
}
void EngineBrowser::OnMediaRequest(ILarkaBrowser*, LarkaPluginWidget* player, MediaAction action,
                                   double value) {
  tell<&IExtraCallbacks::OnMediaRequest>(player, action, value);
}

}  // namespace LARKA
