// SPDX-License-Identifier: MIT
/// @file
/// A listener to derive from.
#pragma once

#include <string>

#include "larka/ILarkaCallbacks.h"

namespace LARKA {

/// A listener that does nothing. Derive from it and override only the events you want.
///
/// It answers questions as if there were no listener: "no", cancelled, no file. It passes download
/// notices on to the next listener.
class CallbacksAdapter : public ILarkaCallbacks {
 public:
  void OnLoadStarted() override {}
  void OnLoadFinished(bool /*ok*/) override {}
  void OnLoadProgress(int /*percent*/) override {}
  void OnPrintRequested() override {}
  bool OnDownloadRequested() override { return true; }
  void OnTitleChanged(const char* /*title*/) override {}
  void OnStatusBarMessage(const char* /*text*/) override {}
  void OnAcceptNavigationRequest() override {}
  void OnGeometryChangeRequested(int /*width*/, int /*height*/) override {}
  void OnCreatingRequest(const char* /*url*/) override {}
  void OnUrlChanged(const char* /*url*/) override {}
  void OnMouseClick(LarkaHTMLControl& /*control*/) override {}
  void OnPluginCreated(LarkaPluginWidget* /*plugin*/) override {}
  void OnPluginDirty(LarkaPluginWidget* /*plugin*/) override {}
  std::string OnExecuteInLarka(const char* /*command*/) override { return std::string(); }
  void OnDirty(ILarkaBrowser* /*browser*/) override {}
  void OnCreateWindow(bool /*modal*/, const char* /*url*/) override {}
  std::string OnChooseFile(const char* /*suggestedFile*/) override { return std::string(); }
  void OnJavaScriptAlert(const char* /*message*/) override {}
  bool OnJavaScriptConfirm(const char* /*message*/) override { return false; }
  std::string OnJavaScriptPrompt(const char* /*message*/, const char* /*defaultValue*/,
                                 bool* /*handled*/) override {
    return std::string();
  }
  void OnJavaScriptConsoleMessage(const char* /*message*/, int /*lineNumber*/,
                                  const char* /*sourceId*/) override {}
  void OnLinkHovered(bool /*hovering*/) override {}
  void OnRequestError() override {}
};

}  // namespace LARKA
