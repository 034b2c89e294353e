// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QGraphicsWebView>
#include <QImage>
#include <QMutex>
#include <QParallelAnimationGroup>
#include <QPointer>
#include <QPropertyAnimation>
#include <QRegion>
#include <QTimer>
#include <QWebElement>
#include <memory>
#include <utility>
#include <vector>

#include "larka/extras.h"
#include "paint/DirtyRects.h"
#include "paint/ImageScale.h"
#include "paint/Overlay.h"
#include "paint/ScrollShift.h"

namespace LARKA {

/// The item of a page in the hidden scene. From the event loop, after all other events, it paints
/// what the page wants repainted into an image of its own, which the host reads, and emits dirty().
/// It is transparent in the scene, so that no change of the page costs anything there. The browser
/// owns it, and it owns its page.
class LarkaWebView : public QGraphicsWebView {
  Q_OBJECT
  Q_PROPERTY(QRect flipRegion READ flipRegion WRITE setFlipRegion)
  Q_PROPERTY(QRect animateRegion READ animateRegion WRITE setAnimateRegion)

 public:
  LarkaWebView();
  ~LarkaWebView() override;

  /// Schedules a paint. Nothing is painted into the scene's view.
  void paint(QPainter* painter, const QStyleOptionGraphicsItem* option,
             QWidget* widget = nullptr) override;

  bool event(QEvent* event) override;

  /// Adds to what the next paint repaints, in view pixels, and schedules a paint.
  void AddRect(const QRect& rect);

  /// Has the next paint show that QtWebKit has scrolled `rect` by `delta`.
  void scrollBy(const QPoint& delta, const QRect& rect);

  void Navigate(const QUrl& url);

  /// Shows one element in place of the page, until this is called with a null element or the
  /// element leaves the page. With `render`, every paint paints the element into an image of its
  /// own.
  void SetFullScreenElement(const QWebElement& element, bool render);

  /// Returns how many pixels of the page image a pixel of the view is.
  double imageScale() const { return m_scale.ratio(); }

  /// Returns the pixels of the page image that a rectangle of the view touches.
  QRect toImage(const QRect& viewRect) const { return m_scale.toImage(viewRect); }

  /// Sets imageScale(), and with it `window.devicePixelRatio`. Returns false after the first paint.
  bool setImageScale(double scale);

  /// Limits the page image. Returns false after the first paint.
  bool setMaximumImageSize(const QSize& size);

  /// Has the next paints make a new image whenever the view's size has changed.
  void setImageFollowsResize(bool follows);

  /// Lets the page image be transparent where the page paints nothing. Otherwise the base of the
  /// palette of "QWebView" decides.
  void setTransparent(bool transparent);

  /// Gives a new page what applies to every page of the view.
  void preparePage();

  /// Returns the parts of the host's image that changed, at most 20, during dirty().
  QRegion changedParts();

  /// Returns what painting has cost since the last call.
  FrameStatistics takeStatistics() { return std::exchange(m_statistics, FrameStatistics()); }

  /// Counts a notice to the host.
  void countNotice() { ++m_statistics.notices; }

  /// Returns the image that the host reads: that of the full-screen element if there is one,
  /// otherwise that of the page. Null before the first paint.
  QImage* hostImage();

  /// Draws `overlay` over the page, while it lives; null for nothing. AddRect() has it repainted.
  void setOverlay(Overlay* overlay) { m_overlay = overlay; }

  /// Returns the part of the view that the page image shows.
  QRect shownRect() const;

  /// Compares the page image with a fresh one of the whole page and replaces what is stale. Call it
  /// when no page is on the stack.
  void mend();

  /// Makes the page believe that it has the keyboard focus, so that it draws the focus. In a scene
  /// with several views only one has the focus, and under some window systems none; the host may
  /// show them all.
  void keepPageFocused();

 signals:
  /// Emitted after the page image was repainted within `rect` of the view, when QtWebKit is no
  /// longer painting.
  void dirty(const QRect& rect);

 protected:
  void focusOutEvent(QFocusEvent* event) override;

 private:
  void leaveFullScreenWithItsElement();
  void viewResized();
  void choosePalette();
  void renewPalette();
  void schedulePaint();
  QRect paintPending();
  QRegion takePendingRegion();
  QRect viewRect() const { return QRect(QPoint(0, 0), size().toSize()); }
  QSize wantedImageSize() const;
  std::shared_ptr<QImage> imageToPaint() const;
  void replacePageImage(const std::shared_ptr<QImage>& image);
  QRect paintable(const QImage& image) const;
  void repaintAtRest();
  bool hasOpaqueBase() const;
  std::vector<DirtyRect> takePendingParts(const QImage& image);
  void countPaint(const std::vector<DirtyRect>& parts, qint64 nanoseconds);
  void noteChanged(const QRegion& region);
  void notify(const QRect& rect);
  bool moveScrolled(const QPoint& position);
  void paintPage(QImage* image, const std::vector<DirtyRect>& parts);
  void paintPart(QPainter* painter, const QRect& part, int margin);
  void paintElement(QPainter* painter, const QRect& image);
  void copyElementImage(const QImage& image);
  bool hasPageImage() const { return !m_pageImages.empty(); }
  QImage* pageImage() const { return m_pageImages[m_imageIndex].get(); }

  QWebElement m_fullScreenElement;
  bool m_renderFullScreenElement = false;
  ImageScale m_scale;
  QSize m_maximumImageSize{1280, 720};
  bool m_imageFollowsResize = false;
  bool m_transparent = false;
  std::vector<std::shared_ptr<QImage>> m_pageImages;      // empty until the first paint, then one
  std::vector<std::shared_ptr<QImage>> m_replacedImages;  // until the host knows
  std::unique_ptr<QImage> m_fullScreenImage;
  bool m_paintScheduled = false;
  QTimer m_restTimer;  // runs from a paint until the page has come to rest
  QElapsedTimer m_lastPaint;
  QTimer m_fullScreenWatch;   // runs while there is a full-screen element
  QRegion m_pendingRegion;    // guarded by m_mutex
  DirtyRects m_pendingRects;  // what is painted of it
  ScrollShift m_scroll;
  QPointer<Overlay> m_overlay;
  QRegion m_unnoticedParts;  // of the host's image that have changed since the last dirty()
  QRegion m_noticedParts;    // during dirty(): those that had changed before
  FrameStatistics m_statistics;
  QMutex m_mutex;

  // Kept for the contract; nothing here is used. There is no animation, no second image, and nobody
  // reads which part of the image has changed.

 public:
  /// Notes that the host has copied the page image.
  void BlitToScreen();

  void StartAnimation();
  void StopAnimation();

  QRect flipRegion() const { return m_flipRegion.boundingRect(); }
  void setFlipRegion(const QRect& rect) { m_flipRegion = rect; }
  QRect animateRegion() const { return m_animateRegion.boundingRect(); }
  void setAnimateRegion(const QRect& rect) { m_animateRegion = rect; }

 protected slots:
  void AnimationFinished();
  void LoadProgress(int progress);
  void Update();  // used; stands here because the order of the slots is part of the contract

 private:
  QPropertyAnimation m_firstAnimation;
  QPropertyAnimation m_secondAnimation;
  QParallelAnimationGroup m_animations;
  std::unique_ptr<QImage> m_spareImage;
  size_t m_imageIndex = 0;  // always
  QRegion m_flipRegion;     // what has been repainted since BlitToScreen
  QRegion m_animateRegion;
  std::unique_ptr<QObject> m_ownedObject;
  bool m_animating = false;  // always
};

}  // namespace LARKA
