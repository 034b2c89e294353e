// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "engine/EngineServer.h"
#include "engine/SharedImage.h"
#include "larka/ILarkaCallbacks.h"
#include "larka/extras.h"

namespace LARKA {

/// A browser of the host's, whose events and image this passes on.
class EngineBrowser : public ILarkaCallbacks,
                      public IExtraCallbacks,
                      public std::enable_shared_from_this<EngineBrowser> {
 public:
  EngineBrowser(EngineServer* server, int id, ILarkaBrowser* browser);

  ILarkaBrowser* browser() const { return m_browser; }

  void listenToExtras();
  void addInspector(int id) { m_inspectors.push_back(id); }
  const std::vector<int>& inspectors() const { return m_inspectors; }

  /// Tells the host if the browser has another image, of its page or of a plug-in in full screen.
  void checkImage(bool isPage);

  /// The host has taken over the parts of the last notice.
  void imageTaken();

  /// Brings the host's image up to date. Returns false while a page is on the stack.
  bool refreshImage();

  /// Called before its browser is destroyed: what was painted is not sent any more.
  void dropChanges() { m_dirty = false; }

  /// Tells the host that the page's plug-ins are gone.
  void forgetPlugins();

  void OnLoadStarted() override;
  void OnLoadFinished(bool ok) override;
  void OnLoadProgress(int percent) override;
  void OnPrintRequested() override;
  bool OnDownloadRequested() override;
  void OnTitleChanged(const char* title) override;
  void OnStatusBarMessage(const char* text) override;
  void OnAcceptNavigationRequest() override;
  void OnGeometryChangeRequested(int width, int height) override;
  void OnCreatingRequest(const char* url) override;
  void OnUrlChanged(const char* url) override;
  void OnMouseClick(LarkaHTMLControl& control) override;
  void OnPluginCreated(LarkaPluginWidget* plugin) override;
  void OnPluginDirty(LarkaPluginWidget* plugin) override;
  std::string OnExecuteInLarka(const char* command) override;
  void OnDirty(ILarkaBrowser* browser) override;
  void OnCreateWindow(bool modal, const char* url) override;
  std::string OnChooseFile(const char* suggestedFile) override;
  void OnJavaScriptAlert(const char* message) override;
  bool OnJavaScriptConfirm(const char* message) override;
  std::string OnJavaScriptPrompt(const char* message, const char* defaultValue,
                                 bool* handled) override;
  void OnJavaScriptConsoleMessage(const char* message, int lineNumber,
                                  const char* sourceId) override;
  void OnLinkHovered(bool hovering) override;
  void OnRequestError() override;

  void OnMessage(ILarkaBrowser* browser, const char* json, const char* address) override;
  bool OnListOpened(ILarkaBrowser* browser, const ListRequest& list) override;
  void OnListClosed(ILarkaBrowser* browser, int id) override;
  bool OnColorOpened(ILarkaBrowser* browser, int id, const Rectangle& control,
                     const char* color) override;
  void OnColorClosed(ILarkaBrowser* browser, int id) override;
  void OnTextField(ILarkaBrowser* browser, const TextField& field) override;
  void OnMediaRequest(ILarkaBrowser* browser, LarkaPluginWidget* player, MediaAction action,
                      double value) override;

 private:
  /// Tells an event; see EngineServer.
  template <auto Event, typename... A>
  void tell(A&&... arguments) {
    const auto self = shared_from_this();
    m_server->tell<Event>(m_id, arguments...);
  }
  /// Asks for the answer to an event. Without a host's browser it is an empty one.
  template <auto Event, typename... A>
  auto ask(A&&... arguments) {
    using Result = typename CallTo<Event>::Result;
    const auto self = shared_from_this();
    auto answer = m_server->ask<Event>(m_id, arguments...);
    if constexpr (!std::is_void_v<Result>) return answer ? std::move(*answer) : Result();
  }
  bool announceImage(bool isPage = true);
  void sendChanges();
  void forgetGonePlugins();

  EngineServer* m_server;
  int m_id;
  ILarkaBrowser* m_browser;
  std::vector<int> m_inspectors;
  std::set<qint64> m_plugins;      // that the host knows
  std::set<qint64> m_gonePlugins;  // of these, that the page's list had lost the last time
  SharedImage m_image;
  long long m_imageName = 0;
  bool m_isNew = false;                      // the image, since the last notice
  bool m_dirty = false;                      // since the last notice
  const unsigned char* m_painted = nullptr;  // the image that it was about
  bool m_noticed = false;                    // the host hasn't taken the last one's parts over yet
  std::vector<Rectangle> m_parts;
  std::map<qint64, LarkaPluginWidget> m_dirtyPlugins;
};

}  // namespace LARKA
