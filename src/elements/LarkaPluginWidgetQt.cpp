// SPDX-License-Identifier: MIT
#include "elements/LarkaPluginWidgetQt.h"

#include <QStringList>
#include <QVariant>
#include <QWebFrame>
#include <QWebPage>
#include <QtDebug>
#include <cstddef>
#include <utility>

#include "elements/ElementScript.h"
#include "host/Diagnostics.h"
#include "host/HostEvents.h"
#include "host/HostText.h"

namespace LARKA {

LarkaPluginWidget::LarkaPluginWidget() : d(new LarkaPluginWidgetPrivate) {}

LarkaPluginWidget::LarkaPluginWidget(LarkaPluginWidgetPrivate* d, bool adopt)
    : d(recordFor(d, adopt)) {}

LarkaPluginWidget::LarkaPluginWidget(const LarkaPluginWidget& other) : d(retained(other.d)) {}

LarkaPluginWidget& LarkaPluginWidget::operator=(const LarkaPluginWidget& other) {
  LarkaPluginWidget copy(other);
  std::swap(d, copy.d);
  return *this;
}

LarkaPluginWidget::~LarkaPluginWidget() { release(d); }

void* LarkaPluginWidget::GetHandle() {
  if (const auto answer = asked<&LarkaPluginWidget::GetHandle>(d)) return *answer;
  return d->handle;
}

MediaSource LarkaPluginWidgetPrivate::mediaSource() const {
  const QWebElement player = isPlayer ? element() : QWebElement();
  return player.isNull() ? MediaSource() : mediaSourceOf(player, mediaTypes);
}

// Position.

int LarkaPluginWidget::GetX() {
  if (const auto answer = asked<&LarkaPluginWidget::GetX>(d)) return *answer;
  return d->mapToPage(d->currentGeometry()).left();
}

int LarkaPluginWidget::GetY() {
  if (const auto answer = asked<&LarkaPluginWidget::GetY>(d)) return *answer;
  return d->mapToPage(d->currentGeometry()).top();
}

int LarkaPluginWidget::GetWidth() {
  if (const auto answer = asked<&LarkaPluginWidget::GetWidth>(d)) return *answer;
  return extent(d->mapToPage(d->currentGeometry())).width();
}

int LarkaPluginWidget::GetHeight() {
  if (const auto answer = asked<&LarkaPluginWidget::GetHeight>(d)) return *answer;
  return extent(d->mapToPage(d->currentGeometry())).height();
}

int LarkaPluginWidget::GetZIndex() {
  if (const auto answer = asked<&LarkaPluginWidget::GetZIndex>(d)) return *answer;
  return computedStyle(d->element(), "z-index").toInt();
}

bool LarkaPluginWidget::IsVisible() {
  if (const auto answer = asked<&LarkaPluginWidget::IsVisible>(d)) return *answer;
  const QRect geometry = d->currentGeometry();
  const QWebElement element = d->element();
  const QWebFrame* frame = element.webFrame();
  if (!frame || !geometry.intersects(QRect(QPoint(0, 0), frame->contentsSize()))) return false;
  if (computedStyle(element, "display") == QLatin1String("none")) return false;
  return computedStyle(element, "visibility") != QLatin1String("hidden");
}

// Attributes and script.

std::string LarkaPluginWidget::GetMimeType() {
  if (const auto answer = asked<&LarkaPluginWidget::GetMimeType>(d)) return *answer;
  return d->isPlayer ? toHost(d->mediaSource().type) : GetAttribute("type");
}

std::string LarkaPluginWidget::GetID() { return GetAttribute("id"); }

std::string LarkaPluginWidget::GetName() { return GetAttribute("name"); }

std::string LarkaPluginWidget::GetTagName() {
  if (const auto answer = asked<&LarkaPluginWidget::GetTagName>(d)) return *answer;
  return toHost(d->element().tagName());
}

bool LarkaPluginWidget::HasAttribute(const char* name) {
  if (const auto answer = asked<&LarkaPluginWidget::HasAttribute>(d, name)) return *answer;
  return d->element().attributeNames().contains(fromHost(name), Qt::CaseInsensitive);
}

std::string LarkaPluginWidget::GetAttribute(const char* name) {
  if (const auto answer = asked<&LarkaPluginWidget::GetAttribute>(d, name)) return *answer;
  return toHost(d->element().attribute(fromHost(name)));
}

void LarkaPluginWidget::SetAttribute(const char* name, const char* value) {
  if (d->remote && d->remote->ask<&LarkaPluginWidget::SetAttribute>(name, value)) return;
  d->element().setAttribute(fromHost(name), fromHost(value));
}

std::string LarkaPluginWidget::ExecuteJS(const char* script) {
  if (const auto answer = asked<&LarkaPluginWidget::ExecuteJS>(d, script)) return *answer;
  return resultOn(d->element(), fromHost(script)).toLatin1().toStdString();
}

// The host's user data.

void LarkaPluginWidget::SetUserData(void* data) { d->userData = data; }

void* LarkaPluginWidget::GetUserData() { return d->userData; }

// Focus and full screen.

// Script first, because it also moves the focus between frames. If the main frame didn't take the
// focus, the element would keep the focus within its document.
void LarkaPluginWidget::SetFocus(bool focus) {
  if (d->remote && d->remote->ask<&LarkaPluginWidget::SetFocus>(focus)) return;
  const WebKitCall call;
  QWebElement element = d->element();
  if (focus) {
    runOn(element, QStringLiteral("this.focus()"));
    element.setFocus();
    return;
  }
  runOn(element, QStringLiteral("this.blur()"));
  if (const QWebFrame* frame = element.webFrame()) {
    frame->page()->mainFrame()->setFocus();
  }
}

bool LarkaPluginWidget::IsFullScreen() const { return d->fullScreen; }

// A plug-in that is gone has nothing to show, and must not end the full screen of another.
void LarkaPluginWidget::SetFullScreen(bool fullScreen, bool flag, bool) {
  d->fullScreen = fullScreen;
  if (d->remote && d->remote->ask<&LarkaPluginWidget::SetFullScreen>(fullScreen, flag, false))
    return;
  const QWebElement element = d->element();
  if (d->showFullScreen && WebElement::isInPage(element))
    d->showFullScreen(fullScreen ? element : QWebElement(), flag);
}

// Kept for the contract; nothing here is used. No plug-in of a page has an image, and the host's
// input reaches plug-ins through the browser.

bool LarkaPluginWidgetPrivate::isInsideBrowserImage(const QRect&) { return true; }

int LarkaPluginWidget::GetStride() { return d->image ? d->image->bytesPerLine() : 0; }

unsigned char* LarkaPluginWidget::GetPixelData() {
  if (!d->image || d->image->isNull()) return nullptr;
  const QRect rect = d->mapToViewport(d->currentGeometry());
  if (!LarkaPluginWidgetPrivate::isInsideBrowserImage(rect)) {
    warn(QStringLiteral(
        "LarkaPluginWidget::GetPixelData() failed, the plugin is not entirely inside the browser "
        "image buffer"));
    warn(QStringLiteral("please scroll the viewport or resize the web page"));
    return nullptr;
  }
  return d->image->bits() + (ptrdiff_t(rect.x()) * 4 + ptrdiff_t(rect.y()) * GetStride());
}

unsigned int LarkaPluginWidget::GetPixelRGBA(int x, int y) {
  if (!d->image) return 0;
  qint64 column = x, row = y;
  const QWebElement element = d->element();
  if (const QWebFrame* frame = element.webFrame()) {
    const QPoint offset = element.geometry().topLeft() - frame->scrollPosition();
    column += offset.x();
    row += offset.y();
  }
  if (column < 0 || column >= d->image->width() || row < 0 || row >= d->image->height()) return 0;
  return d->image->pixel(static_cast<int>(column), static_cast<int>(row));
}

bool LarkaPluginWidget::IsDirty() { return true; }

void LarkaPluginWidget::Dump() {}

void LarkaPluginWidget::MouseMove(int, int, int) {}
void LarkaPluginWidget::MouseDown(int, int, int) {}
void LarkaPluginWidget::MouseUp(int, int, int) {}
void LarkaPluginWidget::MouseClick(int, int, int) {}
void LarkaPluginWidget::HandleKey(int, int) {}

}  // namespace LARKA
