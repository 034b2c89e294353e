// SPDX-License-Identifier: MIT
#include "paint/larkawebview.h"

#include <QApplication>
#include <QFocusEvent>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QMutexLocker>
#include <QPaintDevice>
#include <QPainter>
#include <QPalette>
#include <QPointer>
#include <QStyleOptionGraphicsItem>
#include <QWebFrame>
#include <QWebPage>
#include <algorithm>
#include <cmath>
#include <cstring>

#include "FrameRate.h"
#include "elements/WebElement.h"
#include "host/Destruction.h"
#include "host/Diagnostics.h"
#include "host/HostEvents.h"

namespace LARKA {

namespace {

const QImage::Format kImageFormat = QImage::Format_ARGB32_Premultiplied;
const int kMaxPendingRects = 20;
const int kFullScreenWatchMilliseconds = 100;
const int kRestMilliseconds = 200;
const qint64 kLargestElementPixels = qint64(4096) * 4096;  // 64 MiB
const QPainter::RenderHints kRenderHints =
    QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform;

void countFrame() {
  static FrameRate frameRate("fps", 5, [](const char* line) { diagnose("%s", line); });
  frameRate.Frame();
}

/// Returns the bounds of the pixels in which two images of the same size differ.
QRect difference(const QImage& a, const QImage& b) {
  QRect bounds;
  const size_t lineBytes = size_t(a.width()) * sizeof(QRgb);
  for (int y = 0; y < a.height(); ++y) {
    if (memcmp(a.constScanLine(y), b.constScanLine(y), lineBytes) == 0) continue;
    const auto* first = reinterpret_cast<const QRgb*>(a.constScanLine(y));
    const auto* second = reinterpret_cast<const QRgb*>(b.constScanLine(y));
    const auto left = std::mismatch(first, first + a.width(), second).first - first;
    int right = a.width() - 1;
    while (first[right] == second[right]) --right;
    bounds |= QRect(QPoint(static_cast<int>(left), y), QPoint(right, y));
  }
  return bounds;
}

QRegion allOf(const std::vector<DirtyRect>& parts) {
  QRegion region;
  for (const DirtyRect& each : parts) region += each.rect;
  return region;
}

/// Keeps parts of an image as they are.
class Keeper {
 public:
  Keeper(const QImage& image, const QRegion& parts) {
    for (const QRect& rect : parts) m_kept.emplace_back(rect, image.copy(rect));
  }

  void restore(QPainter* painter) const {
    if (m_kept.empty()) return;
    painter->setCompositionMode(QPainter::CompositionMode_Source);
    for (const auto& [rect, pixels] : m_kept) painter->drawImage(rect, pixels);
    painter->setCompositionMode(QPainter::CompositionMode_SourceOver);
  }

 private:
  std::vector<std::pair<QRect, QImage>> m_kept;
};

void clear(QPainter* painter, const QRect& rect) {
  painter->setCompositionMode(QPainter::CompositionMode_Clear);
  painter->fillRect(rect, Qt::transparent);
  painter->setCompositionMode(QPainter::CompositionMode_SourceOver);
}

/// Returns what QtWebKit gets for a ratio. With a fraction it would paint no borders of one pixel:
/// it makes them narrower and then leaves the fraction out.
double pageRatio(double ratio) { return std::ceil(ratio); }

}  // namespace

LarkaWebView::LarkaWebView() {
  setAutoFillBackground(false);
  setOpacity(0);  // the scene ignores updates of an item that it can't see
  connect(&m_animations, SIGNAL(finished()), this, SLOT(AnimationFinished()));
  connect(&m_fullScreenWatch, &QTimer::timeout, this, &LarkaWebView::leaveFullScreenWithItsElement);
  m_fullScreenWatch.setInterval(kFullScreenWatchMilliseconds);
  connect(&m_restTimer, &QTimer::timeout, this, &LarkaWebView::repaintAtRest);
  m_restTimer.setSingleShot(true);
  connect(this, &QGraphicsWebView::urlChanged, this, &LarkaWebView::renewPalette);
  connect(this, SIGNAL(loadProgress(int)), this, SLOT(LoadProgress(int)));
  connect(this, SIGNAL(loadFinished(bool)), this, SLOT(Update()));
}

LarkaWebView::~LarkaWebView() {
  diagnose("----destroying webview\n");
  StopAnimation();
  disconnect(this, nullptr, this, nullptr);  // the page ends after this part of the view
}

void LarkaWebView::AddRect(const QRect& rect) {
  m_pendingRects.add(rect);
  {
    QMutexLocker lock(&m_mutex);
    m_pendingRegion += rect;
    if (m_pendingRegion.rectCount() > kMaxPendingRects)
      m_pendingRegion = m_pendingRegion.boundingRect();
  }
  schedulePaint();
}

// For the host, a scroll changes everything.
void LarkaWebView::scrollBy(const QPoint& delta, const QRect& rect) {
  m_scroll.add(delta, rect);
  {
    QMutexLocker lock(&m_mutex);
    m_pendingRegion = QRect(QPoint(0, 0), size().toSize());
  }
  schedulePaint();
}

// All rectangles that the page announces in one turn of the event loop arrive before an event of
// low priority or the end of the pump, so one paint does for all.
void LarkaWebView::schedulePaint() {
  if (m_paintScheduled) return;
  m_paintScheduled = true;
  QCoreApplication::postEvent(this, new QEvent(endOfPump()), Qt::LowEventPriority);
}

bool LarkaWebView::event(QEvent* event) {
  if (event->type() == QEvent::GraphicsSceneResize) viewResized();
  if (event->type() != endOfPump()) return QGraphicsWebView::event(event);
  m_paintScheduled = false;
  const QPointer<LarkaWebView> self(this);
  QRect painted;
  {
    const WebKitCall call;  // what listeners wait for comes before the notice
    // Deliver what the page has announced meanwhile: the scroll bar of what was scrolled.
    QCoreApplication::sendPostedEvents(page(), QEvent::MetaCall);
    if (self) painted = paintPending();
  }
  if (self && !painted.isEmpty()) notify(painted);
  return true;
}

void LarkaWebView::viewResized() {
  const bool wantsImage = hasPageImage() && wantedImageSize() != pageImage()->size();
  wantsImage ? AddRect(viewRect()) : schedulePaint();  // it may have had no size
}

QRegion LarkaWebView::takePendingRegion() {
  QMutexLocker lock(&m_mutex);
  QRegion region;
  region.swap(m_pendingRegion);
  return region;
}

void LarkaWebView::paint(QPainter*, const QStyleOptionGraphicsItem*, QWidget*) { schedulePaint(); }

// Returns the bounds of what has been announced and is painted now.
QRect LarkaWebView::paintPending() {
  if (!scene()) return QRect();  // the browser is being destroyed
  if (!hasPageImage() && wantedImageSize().isEmpty()) return QRect();  // the view has no size yet
  leaveFullScreenWithItsElement();
  if (m_overlay) m_overlay->follow();
  QRegion region = takePendingRegion();
  if (region.isEmpty()) return QRect();
  countFrame();

  const std::shared_ptr<QImage> image = imageToPaint();
  const bool isNew = !hasPageImage() || image.get() != pageImage();
  const QPoint position = page()->mainFrame()->scrollPosition();
  if (isNew || !moveScrolled(position)) {
    m_pendingRects.add(m_scale.toView(image->rect()));
    region += m_scale.toView(image->rect());
  }
  const QRegion moved = m_scroll.isPending() ? QRegion(image->rect()) : QRegion();
  const std::vector<DirtyRect> parts = takePendingParts(*image);
  QElapsedTimer clock;
  clock.start();
  paintPage(image.get(), parts);
  countPaint(parts, clock.nsecsElapsed());
  if (isNew) replacePageImage(image);
  noteChanged(moved + allOf(parts));
  // Painting lays the page out, which may scroll it.
  m_scroll.painted(position, page()->mainFrame()->scrollPosition() == position);
  if (!m_animating) m_flipRegion += region;
  if (!m_fullScreenElement.isNull() && m_renderFullScreenElement) copyElementImage(*image);
  m_lastPaint.start();
  if (!m_restTimer.isActive()) m_restTimer.start(kRestMilliseconds);
  return region.boundingRect();
}

// Returns what is pending, in pixels of the image.
std::vector<DirtyRect> LarkaWebView::takePendingParts(const QImage& image) {
  const QRect whole = paintable(image);
  std::vector<DirtyRect> parts = m_pendingRects.take();
  for (DirtyRect& each : parts) each.rect = m_scale.toImage(each.rect) & whole;
  return parts;
}

void LarkaWebView::countPaint(const std::vector<DirtyRect>& parts, qint64 nanoseconds) {
  ++m_statistics.paints;
  m_statistics.milliseconds += static_cast<double>(nanoseconds) / 1e6;
  for (const DirtyRect& each : parts)
    m_statistics.pixels += qint64(each.rect.width()) * each.rect.height();
}

// The host's image may have become another one during the notice.
QRegion LarkaWebView::changedParts() {
  const QImage* image = hostImage();
  return image ? m_noticedParts & image->rect() : QRegion();
}

void LarkaWebView::noteChanged(const QRegion& region) {
  m_unnoticedParts += m_fullScreenElement.isNull() ? region : QRegion(m_fullScreenImage->rect());
  if (m_unnoticedParts.rectCount() > kMaxPendingRects)
    m_unnoticedParts = m_unnoticedParts.boundingRect();
}

// A receiver may pump, and get further notices of parts of their own. It may also delete this.
void LarkaWebView::notify(const QRect& rect) {
  const QPointer<LarkaWebView> self(this);
  const QRegion outerParts = std::exchange(m_noticedParts, std::exchange(m_unnoticedParts, {}));
  const auto replacedImages = std::exchange(m_replacedImages, {});  // valid until now
  emit dirty(rect);
  if (self) m_noticedParts = outerParts;
}

// The rectangles that QtWebKit announces don't always cover what it changes: at fractions of
// pixels, with shadows, with glyphs larger than their lines. So the page image is mended once the
// page has come to rest.
void LarkaWebView::repaintAtRest() {
  const qint64 left = kRestMilliseconds - m_lastPaint.elapsed();
  if (left > 0 || !webKitUse().isIdle()) {
    m_restTimer.start(static_cast<int>(std::max<qint64>(left, 1)));
    return;
  }
  mend();
}

void LarkaWebView::mend() {
  if (!m_fullScreenElement.isNull() || !hasPageImage() || !scene()) return;
  QImage fresh(pageImage()->copy());
  const QPoint position = page()->mainFrame()->scrollPosition();
  {
    QPainter painter(&fresh);
    painter.setRenderHints(kRenderHints, true);
    paintPart(&painter, paintable(fresh), 0);
  }
  m_scroll.painted(position, page()->mainFrame()->scrollPosition() == position);
  if (fresh.size() != pageImage()->size()) return;
  const QRect stale = difference(*pageImage(), fresh);
  if (stale.isEmpty()) return;
  QPainter painter(pageImage());  // in place, because the host may have kept the address
  painter.setCompositionMode(QPainter::CompositionMode_Source);
  painter.drawImage(stale, fresh, stale);
  painter.end();
  if (!m_animating) m_flipRegion += m_scale.toView(stale);
  noteChanged(stale);
  notify(m_scale.toView(stale));
}

bool LarkaWebView::hasOpaqueBase() const {
  return page()->palette().brush(QPalette::Base).isOpaque();
}

// Pixels that the view covers only in part are left out.
QSize LarkaWebView::wantedImageSize() const {
  const QSize shown =
      m_scale.insideImage(viewRect()).size().expandedTo(QSize(0, 0)).boundedTo(m_maximumImageSize);
  const bool keeps = hasPageImage() && (!m_imageFollowsResize || shown.isEmpty());
  return keeps ? pageImage()->size() : shown;
}

std::shared_ptr<QImage> LarkaWebView::imageToPaint() const {
  const QSize size = wantedImageSize();
  if (hasPageImage() && pageImage()->size() == size) return m_pageImages[m_imageIndex];
  auto image = std::make_shared<QImage>(size, kImageFormat);
  image->fill(page()->palette().color(QPalette::Base));  // an edge may be painted with 254 of 255
  return image;
}

void LarkaWebView::replacePageImage(const std::shared_ptr<QImage>& image) {
  m_replacedImages.insert(m_replacedImages.end(), m_pageImages.begin(), m_pageImages.end());
  m_pageImages = {image};
  m_spareImage = std::make_unique<QImage>(image->size(), kImageFormat);
}

// Returns the part of an image that the view covers.
QRect LarkaWebView::paintable(const QImage& image) const {
  return image.rect() & m_scale.insideImage(viewRect());
}

// Moves what was scrolled in the page image, for a page that now lies at `position`. Returns false
// if the image has to be painted as a whole.
bool LarkaWebView::moveScrolled(const QPoint& position) {
  if (!m_fullScreenElement.isNull()) return !m_scroll.isPending();
  if (m_overlay && m_scroll.isPending()) return false;
  if (!m_scroll.leadsTo(position, m_scale.toView(pageImage()->rect()), m_scale)) return false;
  m_pendingRects.extend(m_scroll.reach());
  for (const QRect& exposed : m_scroll.apply(pageImage(), m_scale))
    m_pendingRects.addExposed(m_scale.toView(exposed));
  return true;
}

void LarkaWebView::paintPage(QImage* image, const std::vector<DirtyRect>& parts) {
  QPainter painter(image);
  painter.setRenderHints(kRenderHints, true);
  if (!m_fullScreenElement.isNull()) {
    painter.setClipRect(allOf(parts).boundingRect());
    return paintElement(&painter, image->rect());
  }
  // Scaled text of 64 pixels and more may miss its top in the last rows of what is painted.
  const int edge = m_scale.ratio() == 1 ? 0 : static_cast<int>(std::ceil(m_scale.ratio()));
  for (const auto& [rect, margin] : parts) {
    if (rect.isEmpty()) continue;
    const QRect larger = rect.adjusted(-edge, -edge, edge, edge) & paintable(*image);
    const Keeper around(*image, QRegion(larger) - rect);
    paintPart(&painter, larger, margin);
    around.restore(&painter);
  }
}

// Paints a part of the page image. What is up to `margin` pixels of the view beside it may reach
// into it: QtWebKit paints only boxes that touch the exposed rectangle, but glyphs reach beyond
// their boxes.
void LarkaWebView::paintPart(QPainter* painter, const QRect& part, int margin) {
  painter->setClipRect(part, Qt::ReplaceClip);
  if (!hasOpaqueBase()) clear(painter, part);
  painter->setTransform(m_scale.transform());
  const QRect exposed = m_scale.toView(part).adjusted(-margin, -margin, margin, margin);
  page()->mainFrame()->render(painter, QWebFrame::AllLayers, exposed);
  if (m_overlay) m_overlay->paint(painter);
  painter->resetTransform();
}

QRect LarkaWebView::shownRect() const {
  const QSize image = hasPageImage() ? pageImage()->size() : wantedImageSize();
  return m_scale.toView(QRect(QPoint(0, 0), image)) & viewRect();
}

// Clears the whole image first, because the element may not cover what it painted before, and
// because copyElementImage() takes the image as it is.
void LarkaWebView::paintElement(QPainter* painter, const QRect& image) {
  if (m_renderFullScreenElement) painter->setClipping(false);
  m_flipRegion = m_scale.toView(image);
  clear(painter, image);
  painter->setTransform(m_scale.transform());
  m_fullScreenElement.render(painter);
}

void LarkaWebView::copyElementImage(const QImage& image) {
  const QRect source = m_scale.insideImage({QPoint(0, 0), m_fullScreenElement.geometry().size()});
  m_fullScreenImage->fill(0);
  if (m_fullScreenImage->isNull() || source.isEmpty()) return;
  QPainter painter(m_fullScreenImage.get());
  painter.drawImage(m_fullScreenImage->rect(), image, source);
}

QImage* LarkaWebView::hostImage() {
  leaveFullScreenWithItsElement();
  if (!m_fullScreenElement.isNull()) return m_fullScreenImage.get();
  return hasPageImage() ? pageImage() : nullptr;
}

bool LarkaWebView::setImageScale(double scale) {
  if (hasPageImage()) return false;
  m_scale = ImageScale(scale);
  page()->setDevicePixelRatio(pageRatio(scale));
  return true;
}

bool LarkaWebView::setMaximumImageSize(const QSize& size) {
  if (hasPageImage()) return false;
  m_maximumImageSize = size;
  return true;
}

void LarkaWebView::setImageFollowsResize(bool follows) {
  m_imageFollowsResize = follows;
  viewResized();
}

void LarkaWebView::setTransparent(bool transparent) {
  m_transparent = transparent;
  choosePalette();
  AddRect(viewRect());
}

// The view's palette is set, too: when that changes, the page gets it.
void LarkaWebView::choosePalette() {
  QPalette palette = QApplication::palette("QWebView");
  if (m_transparent) palette.setBrush(QPalette::Base, Qt::transparent);
  setPalette(palette);
  page()->setPalette(palette);
}

// A document that the history brings back as it was has the base of that time.
void LarkaWebView::renewPalette() { page()->setPalette(page()->palette()); }

void LarkaWebView::preparePage() {
  choosePalette();
  if (m_scale.ratio() != 1) page()->setDevicePixelRatio(pageRatio(m_scale.ratio()));
}

void LarkaWebView::Update() { schedulePaint(); }

void LarkaWebView::Navigate(const QUrl& url) { load(url); }

// The image starts transparent: without `render` nothing is ever painted into it.
void LarkaWebView::SetFullScreenElement(const QWebElement& element, bool render) {
  if (!element.isNull()) {
    const QSize shown = WebElement::currentGeometry(element).size();
    QSize size = m_scale.insideImage({QPoint(0, 0), shown}).size();
    if (qint64(size.width()) * size.height() > kLargestElementPixels) size = QSize();
    m_fullScreenImage = std::make_unique<QImage>(size, kImageFormat);
    m_fullScreenImage->fill(0);
  }
  m_fullScreenElement = element;
  m_renderFullScreenElement = render;
  if (element.isNull())
    m_fullScreenWatch.stop();
  else
    m_fullScreenWatch.start();
  if (hasPageImage()) {
    pageImage()->fill(0);
    const QRect shown = m_scale.toView(pageImage()->rect());
    m_flipRegion = shown;
    m_pendingRegion = shown;
    m_pendingRects.add(shown);
  }
  Update();
}

// Otherwise the host would go on showing an element that is gone. If the page didn't show the
// element, its removal causes no repaint; m_fullScreenWatch notices that.
void LarkaWebView::leaveFullScreenWithItsElement() {
  if (!m_fullScreenElement.isNull() && !WebElement::isInPage(m_fullScreenElement))
    SetFullScreenElement(QWebElement(), m_renderFullScreenElement);
}

void LarkaWebView::keepPageFocused() {
  QFocusEvent focusIn(QEvent::FocusIn, Qt::OtherFocusReason);
  page()->event(&focusIn);
}

// The scene moves its focus from view to view. The pages must not notice, see keepPageFocused().
void LarkaWebView::focusOutEvent(QFocusEvent*) {}

// Kept for the contract; nothing here is used.

void LarkaWebView::BlitToScreen() {
  if (!hasPageImage()) return;
  m_flipRegion = QRegion();
  m_imageIndex = 0;
}

void LarkaWebView::StartAnimation() { StopAnimation(); }

void LarkaWebView::StopAnimation() {
  m_animations.stop();
  m_animating = false;
}

void LarkaWebView::AnimationFinished() {
  diagnose("---animation finished\n");
  m_animating = false;
  m_animateRegion = QRegion();
  Update();
}

void LarkaWebView::LoadProgress(int) {}

}  // namespace LARKA
