// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <memory>

#include "larka/ILarkaBrowser.h"

class QWebInspector;
class QWebPage;

namespace LARKA {

/// QtWebKit's web inspector on the page of a browser, in a widget of its own. The browser that it
/// inspects owns it.
class InspectorBrowser : public QObject, public ILarkaBrowser {
  Q_OBJECT

 public:
  /// Opens its window if `show` is set. `parent` owns it.
  InspectorBrowser(QWebPage* page, bool show, QObject* parent);
  ~InspectorBrowser() override;

  /// Returns the widget; null once it has been shut down.
  QWebInspector* inspector() const { return m_inspector.get(); }

  void Shutdown() override;
  void Resize(int width, int height) override;

  // Kept for the interface; nothing here does anything.

  void Initialize(int, int, const char*, const char*, bool, SystemInfoData*) override {}
  void AddListener(ILarkaCallbacks*) override {}
  void RemoveListener(ILarkaCallbacks*) override {}
  void SetProxy(const char*, int, ProxyType, const char*, const char*) override {}
  void SetGlobalSurface(char*) override {}
  void SetUserAgent(const char*) override {}
  void SetCacheParameters(const char*, int) override {}
  void ClearCache() override {}
  int InjectCookie(const char*, const char*, const char*, int) override { return 0; }
  bool ClearCookie(const char*) override { return false; }
  void ClearAllCookies() override {}
  std::string ReadCookie(const char*) override { return {}; }
  std::vector<std::pair<std::string, std::string>> ReadCookies() override { return {}; }
  void Navigate(const char*) override {}
  void MouseMove(int, int, int) override {}
  void MouseDown(int, int, int) override {}
  void MouseUp(int, int, int) override {}
  void MouseClick(int, int, int) override {}
  void MouseWheel(Directions, int, int) override {}
  void MouseWheel(int, int, int) override {}
  void KeyDown(int, int) override {}
  void KeyUp(int, int) override {}
  void Scroll(Directions, int) override {}
  void Scroll(int, int) override {}
  void Reload() override {}
  bool FocusNext() override { return false; }
  bool FocusPrev() override { return false; }
  int GetHistoryLength() override { return 0; }
  std::string GetPrevLocation() override { return {}; }
  std::string GetNextLocation() override { return {}; }
  void Back() override {}
  void Forward() override {}
  void Stop() override {}
  void Focus() override {}
  void Invalidate() override {}
  std::string ExecuteJavascript(const char*) override { return {}; }
  std::string GetCurrentLocation() override { return {}; }
  std::string GetTitle() override { return {}; }
  void SetZoomLevel(double) override {}

  /// Returns a factor, unlike LarkaBrowser, which returns a percentage: hosts rely on it.
  double GetZoomLevel() override { return 1.0; }

  void ScrollToPoint(int, int) override {}
  void GetViewPort(int*, int*, int*, int*) override {}
  std::string GetMetaTagValue(const char*) override { return {}; }
  int GetBrowserStride() override { return 0; }
  unsigned char* GetBrowserImage() override { return nullptr; }
  void SaveBrowserImage(const char*, int, int) override {}
  void* GetBrowserNativeHandle() override { return nullptr; }
  std::vector<LarkaPluginWidget> GetPluginWidgets() override { return {}; }
  LarkaHTMLControl HitTest(int, int) override { return LarkaHTMLControl(); }
  std::vector<LarkaHTMLControl*> GetControls(ControlType) override { return {}; }
  ILarkaBrowser* LaunchInspector(bool) override { return nullptr; }
  void SetConfig(const char*, const char*) override {}
  void SetConfig(const char*, int) override {}
  void SetConfig(const char*, bool) override {}
  int GetWidth() override { return 0; }
  int GetHeight() override { return 0; }
  void GetFrameContentSize(int&, int&) override {}

 private:
  std::unique_ptr<QWebInspector> m_inspector;
};

}  // namespace LARKA
