// larkawebview.h: the view that paints a page into an image.
#pragma once

#include <QElapsedTimer>
#include <QGraphicsWebView>
#include <QImage>
#include <QMutex>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>
#include <QRegion>
#include <QTimer>
#include <QWebElement>
#include <memory>
#include <vector>

namespace LARKA {

/// A page's place in the hidden scene. Whenever the scene's view repaints it, it paints what the
/// page asked to have repainted into an image of its own, which the host reads, and says so with
/// dirty(). Nothing is ever painted into the scene's view itself.
class LarkaWebView : public QGraphicsWebView {
  Q_OBJECT
  Q_PROPERTY(QRect flipRegion READ flipRegion WRITE setFlipRegion)
  Q_PROPERTY(QRect animateRegion READ animateRegion WRITE setAnimateRegion)

 public:
  LarkaWebView();
  ~LarkaWebView() override;

  void paint(QPainter* painter, const QStyleOptionGraphicsItem* option,
             QWidget* widget = nullptr) override;

  /// Adds to what the next paint repaints, in view pixels, and sees to it that there is one.
  void AddRect(const QRect& rect);

  /// Notes that the host has copied the page image.
  void BlitToScreen();

  void Navigate(const QUrl& url);

  /// Shows one element in place of the page; a null element ends that, and so does the element's
  /// leaving the page. With `render` the element is painted into an image of its own at every
  /// paint.
  void SetFullScreenElement(const QWebElement& element, bool render);
  void StartAnimation();
  void StopAnimation();

  /// The image that the host reads: that of the full-screen element while there is one, else that
  /// of the page. Null before the first paint.
  QImage* hostImage();

  /// Tells the page that it has the keyboard focus, so that it draws it. In a scene with several
  /// views only one has the focus, and under some window systems none; the host may show them all.
  void keepPageFocused();

  QRect flipRegion() const { return m_flipRegion.boundingRect(); }
  void setFlipRegion(const QRect& rect) { m_flipRegion = rect; }
  QRect animateRegion() const { return m_animateRegion.boundingRect(); }
  void setAnimateRegion(const QRect& rect) { m_animateRegion = rect; }

 signals:
  /// The page image was repainted within `rect`.
  void dirty(const QRect& rect);

 protected slots:
  void AnimationFinished();
  void LoadProgress(int progress);
  void Update();

 protected:
  void focusOutEvent(QFocusEvent* event) override;

 private:
  void leaveFullScreenWithItsElement();
  QRegion takePendingRegion();
  QSize imageSize(const QSize& device) const;
  void createImages(const QSize& size);
  void repaintAtRest();
  bool hasOpaqueBase() const;
  static int overhang(const QRegion& region);
  void paintPage(const QRegion& region, const QStyleOptionGraphicsItem* option, QWidget* widget);
  void paintElement(QPainter* painter);
  void copyElementImage();
  bool hasPageImage() const { return !m_pageImages.empty(); }
  QImage* pageImage() const { return m_pageImages[m_imageIndex].get(); }

  QPropertyAnimation m_firstAnimation;
  QPropertyAnimation m_secondAnimation;
  QParallelAnimationGroup m_animations;
  QWebElement m_fullScreenElement;
  bool m_renderFullScreenElement = false;
  std::vector<std::unique_ptr<QImage>> m_pageImages;  // empty until the first paint, then one
  std::unique_ptr<QImage> m_spareImage;
  std::unique_ptr<QImage> m_fullScreenImage;
  QTimer m_restTimer;  // runs from a paint on until the page has come to rest
  QElapsedTimer m_lastPaint;
  QTimer m_fullScreenWatch;  // runs while there is a full-screen element
  size_t m_imageIndex = 0;
  QRegion m_pendingRegion;  // guarded by m_mutex
  QRegion m_flipRegion;
  QRegion m_animateRegion;
  std::unique_ptr<QObject> m_ownedObject;
  bool m_animating = false;
  QMutex m_mutex;
};

}  // namespace LARKA
