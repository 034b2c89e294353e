// SPDX-License-Identifier: MIT
#include "larka/extras.h"

#include <QImage>
#include <QString>

#include "browser/LarkaBrowserQt.h"
#include "browser/PageColours.h"
#include "browser/PageLists.h"
#include "browser/TextInput.h"
#include "elements/LarkaPluginWidgetQt.h"
#include "host/HostEvents.h"
#include "host/HostText.h"
#include "larka/StorageLimits.h"
#include "paint/larkawebview.h"
#include "plugins/MediaElements.h"
#include "remote/RemoteBrowser.h"
#include "storage/PageStorage.h"

namespace LARKA {

namespace {

/// Returns null for anything but a browser that hasn't been shut down.
LarkaBrowser* livingBrowser(ILarkaBrowser* browser) {
  auto* found = dynamic_cast<LarkaBrowser*>(browser);
  return found && found->webView() ? found : nullptr;
}

ScriptResult failure(const char* message) {
  ScriptResult result;
  result.message = message;
  return result;
}

}  // namespace

std::vector<Rectangle> GetChangedRectangles(ILarkaBrowser* browser) {
  if (auto* remote = remoteBrowser(browser)) return remote->changedParts();
  std::vector<Rectangle> rectangles;
  if (const LarkaBrowser* found = livingBrowser(browser)) {
    for (const QRect& rect : found->webView()->changedParts()) rectangles.push_back(toHost(rect));
  }
  return rectangles;
}

LoadError GetLoadError(ILarkaBrowser* browser) {
  if (auto* remote = remoteBrowser(browser)) return remote->call<&LARKA::GetLoadError>();
  LoadError error;
  const LarkaBrowser* found = livingBrowser(browser);
  if (!found) return error;
  const LoadFailure& failure = found->lastFailure();
  error.kind = static_cast<LoadErrorKind>(failure.kind);
  error.httpStatus = failure.httpStatus;
  error.address = toHost(failure.url);
  error.text = toHost(failure.text);
  error.certificateErrors = failure.certificateErrors;
  return error;
}

bool SetCertificateChecks(ILarkaBrowser* browser, bool check) {
  if (auto* remote = remoteBrowser(browser))
    return remote->set<&LARKA::SetCertificateChecks>(check);
  LarkaBrowser* larka = livingBrowser(browser);
  if (larka) larka->setCertificateChecks(check);
  return larka;
}

bool AcceptCertificate(ILarkaBrowser* browser) {
  if (auto* remote = remoteBrowser(browser)) return remote->call<&LARKA::AcceptCertificate>();
  LarkaBrowser* larka = livingBrowser(browser);
  return larka && larka->acceptCertificate();
}

void SetLoadTimeLimit(ILarkaBrowser* browser, int milliseconds) {
  if (auto* remote = remoteBrowser(browser))
    return remote->set<&LARKA::SetLoadTimeLimit>(milliseconds);
  if (LarkaBrowser* found = livingBrowser(browser)) found->setLoadTimeLimit(milliseconds);
}

bool HasRunningRequests(ILarkaBrowser* browser) {
  if (auto* remote = remoteBrowser(browser)) return remote->call<&LARKA::HasRunningRequests>();
  const LarkaBrowser* larka = livingBrowser(browser);
  return larka && larka->hasRunningRequests();
}

FrameStatistics TakeFrameStatistics(ILarkaBrowser* browser) {
  if (auto* remote = remoteBrowser(browser)) return remote->call<&LARKA::TakeFrameStatistics>();
  LarkaBrowser* found = livingBrowser(browser);
  return found ? found->webView()->takeStatistics() : FrameStatistics();
}

ScriptResult EvaluateScript(ILarkaBrowser* browser, const char* script, const char* frame) {
  if (auto* remote = remoteBrowser(browser))
    return remote->call<&LARKA::EvaluateScript>(script, frame);
  LarkaBrowser* larka = livingBrowser(browser);
  if (!larka) return failure("No browser with a page");
  if (!script) return failure("No script");
  return larka->evaluateScript(QString::fromUtf8(script), QString::fromUtf8(frame));
}

bool SetStyleSheet(ILarkaBrowser* browser, const char* rules) {
  if (auto* remote = remoteBrowser(browser)) return remote->set<&LARKA::SetStyleSheet>(rules);
  LarkaBrowser* larka = livingBrowser(browser);
  if (larka) larka->setStyleSheet(rules);
  return larka;
}

bool SetDocumentScript(ILarkaBrowser* browser, const char* script) {
  if (auto* remote = remoteBrowser(browser)) return remote->set<&LARKA::SetDocumentScript>(script);
  LarkaBrowser* larka = livingBrowser(browser);
  if (larka) larka->setDocumentScript(QString::fromUtf8(script));
  return larka;
}

// Video.

bool SetMediaHandedOver(ILarkaBrowser* browser, bool handedOver, const char* types) {
  if (auto* remote = remoteBrowser(browser))
    return remote->set<&LARKA::SetMediaHandedOver>(handedOver, types);
  LarkaBrowser* larka = livingBrowser(browser);
  const QStringList list =
      QString::fromLatin1(types).simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
  if (larka) larka->setMediaHandedOver(handedOver, list);
  return larka;
}

std::string GetMediaAddress(LarkaPluginWidget* player) {
  if (!player) return std::string();
  const auto* record = LarkaPluginWidgetPrivate::of(*player);
  if (const auto answer = asked<&LARKA::GetMediaAddress>(record)) return *answer;
  return toHost(record->mediaSource().address);
}

bool ReportMedia(LarkaPluginWidget* player, const MediaReport& report) {
  if (!player) return false;
  const auto* record = LarkaPluginWidgetPrivate::of(*player);
  if (const auto answer = asked<&LARKA::ReportMedia>(record, report)) return *answer;
  return reportMedia(record->element(), report);
}

// Text.

TextField GetTextField(ILarkaBrowser* browser) {
  if (auto* remote = remoteBrowser(browser)) return remote->call<&LARKA::GetTextField>();
  const LarkaBrowser* larka = livingBrowser(browser);
  return larka ? larka->textInput()->field() : TextField();
}

bool InsertText(ILarkaBrowser* browser, const char* text) {
  if (auto* remote = remoteBrowser(browser)) return remote->call<&LARKA::InsertText>(text);
  const LarkaBrowser* larka = livingBrowser(browser);
  return larka && text && larka->textInput()->insert(QString::fromUtf8(text));
}

bool ReplaceText(ILarkaBrowser* browser, const char* text) {
  if (auto* remote = remoteBrowser(browser)) return remote->call<&LARKA::ReplaceText>(text);
  const LarkaBrowser* larka = livingBrowser(browser);
  return larka && text && larka->textInput()->replace(QString::fromUtf8(text));
}

bool DeleteText(ILarkaBrowser* browser, int count) {
  if (auto* remote = remoteBrowser(browser)) return remote->call<&LARKA::DeleteText>(count);
  const LarkaBrowser* larka = livingBrowser(browser);
  return larka && larka->textInput()->erase(count);
}

bool EnableMessages(ILarkaBrowser* browser, bool enable) {
  if (auto* remote = remoteBrowser(browser)) return remote->set<&LARKA::EnableMessages>(enable);
  LarkaBrowser* larka = livingBrowser(browser);
  if (larka) larka->enableMessages(enable);
  return larka;
}

bool PostMessageToPage(ILarkaBrowser* browser, const char* json, const char* frame) {
  if (auto* remote = remoteBrowser(browser))
    return remote->call<&LARKA::PostMessageToPage>(json, frame);
  LarkaBrowser* larka = livingBrowser(browser);
  return larka && larka->postMessage(QString::fromUtf8(json), QString::fromUtf8(frame));
}

bool MoveFocus(ILarkaBrowser* browser, Directions direction) {
  if (auto* remote = remoteBrowser(browser)) return remote->call<&LARKA::MoveFocus>(direction);
  LarkaBrowser* larka = livingBrowser(browser);
  return larka && larka->moveFocus(direction);
}

bool AnswerList(ILarkaBrowser* browser, int id, int index) {
  if (auto* remote = remoteBrowser(browser))
    return remote->answered(&RemoteBrowser::OpenThings::list,
                            remote->call<&LARKA::AnswerList>(id, index));
  const LarkaBrowser* larka = livingBrowser(browser);
  return larka && larka->lists()->answer(id, index);
}

bool CloseList(ILarkaBrowser* browser) {
  if (auto* remote = remoteBrowser(browser)) return remote->call<&LARKA::CloseList>();
  const LarkaBrowser* larka = livingBrowser(browser);
  const bool isShown = larka && larka->lists()->isShown();
  if (isShown) larka->lists()->close();
  return isShown;
}

bool IsListOpen(ILarkaBrowser* browser) {
  if (auto* remote = remoteBrowser(browser)) return remote->call<&LARKA::IsListOpen>();
  const LarkaBrowser* larka = livingBrowser(browser);
  return larka && larka->lists()->isShown();
}

bool AnswerColor(ILarkaBrowser* browser, int id, const char* color) {
  if (auto* remote = remoteBrowser(browser))
    return remote->answered(&RemoteBrowser::OpenThings::color,
                            remote->call<&LARKA::AnswerColor>(id, color));
  const LarkaBrowser* larka = livingBrowser(browser);
  return larka && larka->colours()->answer(id, color);
}

void SetStorageLimits(long long bytesPerOrigin, long long bytesInAll) {
  limitPageStorage(bytesPerOrigin, bytesInAll);
  RemoteManager::setStorageLimits(bytesPerOrigin, bytesInAll);
}

// The engine process.

void SetEngineSettings(const EngineSettings& settings) { RemoteManager::setSettings(settings); }

bool EndEngine(BrowserManager* manager) {
  RemoteManager* remote = RemoteManager::of(manager);
  return remote && remote->endProcess();
}

bool RestartEngine(BrowserManager* manager) {
  RemoteManager* remote = RemoteManager::of(manager);
  return remote && remote->restart();
}

// Listeners.

IExtraCallbacks::~IExtraCallbacks() = default;
void IExtraCallbacks::OnMessage(ILarkaBrowser*, const char*, const char*) {}
bool IExtraCallbacks::OnListOpened(ILarkaBrowser*, const ListRequest&) { return false; }
void IExtraCallbacks::OnListClosed(ILarkaBrowser*, int) {}
bool IExtraCallbacks::OnColorOpened(ILarkaBrowser*, int, const Rectangle&, const char*) {
  return false;
}
void IExtraCallbacks::OnColorClosed(ILarkaBrowser*, int) {}
void IExtraCallbacks::OnTextField(ILarkaBrowser*, const TextField&) {}
void IExtraCallbacks::OnMediaRequest(ILarkaBrowser*, LarkaPluginWidget*, MediaAction, double) {}
void IExtraCallbacks::OnEngineState(ILarkaBrowser*, EngineState) {}

// All versions so far have the same operations.
void AddExtraListener(ILarkaBrowser* browser, IExtraCallbacks* listener, int) {
  if (auto* remote = remoteBrowser(browser)) return remote->addExtraListener(listener);
  LarkaBrowser* larka = livingBrowser(browser);
  if (!larka || !listener) return;
  const bool isFirst = larka->extraListeners().isEmpty();
  larka->extraListeners().add(listener);
  if (isFirst) larka->textInput()->reportAll();
}

void RemoveExtraListener(ILarkaBrowser* browser, IExtraCallbacks* listener) {
  if (auto* remote = remoteBrowser(browser)) return remote->removeExtraListener(listener);
  if (LarkaBrowser* larka = livingBrowser(browser)) larka->extraListeners().remove(listener);
}

bool PressFocused(ILarkaBrowser* browser) {
  if (auto* remote = remoteBrowser(browser)) return remote->call<&LARKA::PressFocused>();
  LarkaBrowser* larka = livingBrowser(browser);
  return larka && larka->pressFocused();
}

bool LeaveFullScreen(ILarkaBrowser* browser) {
  if (auto* remote = remoteBrowser(browser)) return remote->call<&LARKA::LeaveFullScreen>();
  LarkaBrowser* larka = livingBrowser(browser);
  return larka && larka->leaveFullScreen();
}

PluginPlace GetPluginPlace(ILarkaBrowser* browser, LarkaPluginWidget* plugin) {
  if (auto* remote = remoteBrowser(browser)) return remote->call<&LARKA::GetPluginPlace>(plugin);
  PluginPlace place;
  const LarkaBrowser* larka = livingBrowser(browser);
  const auto* record = plugin ? LarkaPluginWidgetPrivate::of(*plugin) : nullptr;
  if (!larka || !record || record->wholeRect().isEmpty()) return place;
  place.area = toHost(larka->webView()->toImage(record->wholeRect()));
  const QRect visible = record->visibleRect();
  if (!visible.isEmpty()) place.visible = toHost(larka->webView()->toImage(visible));
  return place;
}

// The image.

bool SetTransparent(ILarkaBrowser* browser, bool transparent) {
  if (auto* remote = remoteBrowser(browser))
    return remote->set<&LARKA::SetTransparent>(transparent);
  LarkaBrowser* larka = livingBrowser(browser);
  if (!larka) return false;
  const WebKitCall call(larka->pageUse());
  larka->webView()->setTransparent(transparent);
  return true;
}

bool SetMaximumImageSize(ILarkaBrowser* browser, int width, int height) {
  if (auto* remote = remoteBrowser(browser))
    return remote->set<&LARKA::SetMaximumImageSize>(width, height);
  LarkaBrowser* larka = livingBrowser(browser);
  const bool inRange = width >= 1 && width <= 3840 && height >= 1 && height <= 2160;
  return larka && inRange && larka->webView()->setMaximumImageSize(QSize(width, height));
}

bool SetImageFollowsResize(ILarkaBrowser* browser, bool follows) {
  if (auto* remote = remoteBrowser(browser))
    return remote->set<&LARKA::SetImageFollowsResize>(follows);
  LarkaBrowser* larka = livingBrowser(browser);
  if (larka) larka->webView()->setImageFollowsResize(follows);
  return larka;
}

ImageSize GetImageSize(ILarkaBrowser* browser) {
  if (auto* remote = remoteBrowser(browser)) return remote->image().size();
  LarkaBrowser* larka = livingBrowser(browser);
  const QImage* image = larka ? larka->webView()->hostImage() : nullptr;
  return image ? ImageSize{image->width(), image->height()} : ImageSize();
}

bool RefreshImage(ILarkaBrowser* browser) {
  if (auto* remote = remoteBrowser(browser)) return remote->refreshImage();
  LarkaBrowser* larka = livingBrowser(browser);
  return larka && larka->refreshImage();
}

bool SetDevicePixelRatio(ILarkaBrowser* browser, double ratio) {
  if (auto* remote = remoteBrowser(browser)) return remote->set<&LARKA::SetDevicePixelRatio>(ratio);
  LarkaBrowser* larka = livingBrowser(browser);
  if (!larka || !(ratio >= 1 && ratio <= 3)) return false;
  const WebKitCall call(larka->pageUse());
  return larka->webView()->setImageScale(ratio);
}

}  // namespace LARKA
