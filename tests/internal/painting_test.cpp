// The page image against what the engine itself would render, and the way of a repaint to it.
#include <QApplication>
#include <QGraphicsScene>
#include <QImage>
#include <QPainter>
#include <QRegion>
#include <QSignalSpy>
#include <QWebFrame>
#include <QWebPage>
#include <cstdlib>

#include "Host.h"
#include "browser/LarkaBrowserQt.h"
#include "paint/larkawebview.h"

namespace {

using test::pixel;

const QPainter::RenderHints kHints =
    QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform;

class PaintingTest : public test::BrowserTest {
 protected:
  LARKA::LarkaBrowser* larka() { return static_cast<LARKA::LarkaBrowser*>(browser); }
  LARKA::LarkaWebView* view() { return larka()->webView(); }

  QImage pageImage() { return view()->hostImage()->copy(); }

  QImage freshRender() {
    const QImage current = pageImage();
    QImage image(current.size(), current.format());
    image.fill(0);
    QPainter painter(&image);
    painter.setRenderHints(kHints);
    view()->page()->mainFrame()->render(&painter);
    return image;
  }

  /// Handles events until none is left, without waiting for later ones.
  void drain() {
    for (int i = 0; i < 30; ++i) host.manager->PumpEvents();
  }

  testing::AssertionResult imageIsCurrent() { return equal(pageImage(), freshRender()); }

  /// Two images, or the first pixel in which they differ.
  static testing::AssertionResult equal(const QImage& image, const QImage& expected) {
    if (image.size() != expected.size()) return testing::AssertionFailure() << "different sizes";
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x)
        if (!equal(image.pixel(x, y), expected.pixel(x, y)))
          return testing::AssertionFailure()
                 << "stale at " << x << "," << y << std::hex << ": " << image.pixel(x, y)
                 << " instead of " << expected.pixel(x, y);
    return testing::AssertionSuccess();
  }

  // On 32-bit x86 the toolkit computes with other roundings: at the edge of what is repainted a
  // 255th of what was there before stays.
  static bool equal(QRgb a, QRgb b) {
    const int kRounding = sizeof(void*) == 4 ? 1 : 0;
    return std::abs(qAlpha(a) - qAlpha(b)) <= kRounding &&
           std::abs(qRed(a) - qRed(b)) <= kRounding &&
           std::abs(qGreen(a) - qGreen(b)) <= kRounding &&
           std::abs(qBlue(a) - qBlue(b)) <= kRounding;
  }
};

const char kPage[] = R"(<!doctype html><meta charset=utf-8><style>
body{margin:0;background:#182838;color:#fff;font:16px sans-serif;height:1800px}
.cell{position:absolute;width:50px;height:30px;background:#456}
.cell:nth-child(odd){font:italic 22px serif}
a{position:absolute;top:330px;color:#9cf}a:focus{outline:3px solid #fc0}
#mover{position:absolute;top:700px;width:90px;height:60px;background:#a33;border-radius:12px}
</style><script>
for (var i = 0; i < 40; i++)
  document.write('<div class=cell id=c' + i + ' style="left:' + (i % 10) * 62 + 'px;top:' +
                 Math.floor(i / 10) * 70 + 'px">' + i + '</div>');
</script><a href=#1 style="left:10px">one</a><a href=#2 style="left:120px">two</a>
<div id=mover></div>)";

TEST_F(PaintingTest, ThePageImageIsNeverStale) {
  ASSERT_TRUE(load(kPage));
  EXPECT_TRUE(imageIsCurrent()) << "after loading";

  for (int i = 0; i < 40; ++i)
    browser->ExecuteJavascript(("document.getElementById(\"c" + std::to_string(i) +
                                "\").style.background=\"#" + std::to_string(100 + i * 7) + "\"")
                                   .c_str());
  settle();
  EXPECT_TRUE(imageIsCurrent()) << "after forty changes";

  for (int change = 0; change < 24; ++change) {
    const int zooms[] = {50, 100, 150, 200};
    browser->SetZoomLevel(zooms[change / 6]);
    settle();
    browser->ExecuteJavascript(("document.getElementById(\"c" + std::to_string(change % 5) +
                                "\").textContent=\"" + (change % 2 ? "jfW/" : "ffyQ") + "\"")
                                   .c_str());
    drain();
    EXPECT_TRUE(imageIsCurrent()) << "after change " << change;
  }
  browser->SetZoomLevel(100);
  settle();

  browser->ExecuteJavascript(
      "var n=0,m=document.getElementById(\"mover\"),t=setInterval(function(){n++;"
      "m.style.left=(n*5)+\"px\";m.style.top=(60+n*3)+\"px\";if(n==40)clearInterval(t)},10)");
  ASSERT_TRUE(host.pumpUntil([&] { return browser->ExecuteJavascript("n") == "40"; }));
  settle();
  EXPECT_TRUE(imageIsCurrent()) << "after an animation";

  for (int step : {40, 333, -100, 5000, -7}) {
    browser->Scroll(0, step);
    settle();
    EXPECT_TRUE(imageIsCurrent()) << "after scrolling by " << step;
  }
  browser->ScrollToPoint(0, 0);
  for (double zoom : {150.0, 67.0, 200.0, 100.0}) {
    browser->SetZoomLevel(zoom);
    settle();
    EXPECT_TRUE(imageIsCurrent()) << "after zooming to " << zoom;
  }
  for (bool next : {true, true, false, true}) {
    EXPECT_TRUE(next ? browser->FocusNext() : browser->FocusPrev());
    settle();
    EXPECT_TRUE(imageIsCurrent()) << "after moving the focus";
  }
  browser->Resize(500, 300);
  browser->Resize(640, 360);
  settle();
  EXPECT_TRUE(imageIsCurrent()) << "after resizing";
}

// The engine told the item to update, the item was painted with nothing pending, and only then the
// rectangle arrives: it must see to its own paint.
TEST_F(PaintingTest, ARectangleThatComesAfterThePaintIsPaintedAllTheSame) {
  ASSERT_TRUE(load(kPage));
  QSignalSpy dirty(view(), SIGNAL(dirty(QRect)));
  view()->hostImage()->fill(Qt::magenta);
  int noticesInPaint = -1;
  QObject::connect(view(), &LARKA::LarkaWebView::dirty, [&] { noticesInPaint = recorder.dirty; });
  const int notices = recorder.dirty;
  larka()->addRect(QRect(100, 40, 30, 20));
  drain();
  ASSERT_EQ(dirty.count(), 1);
  EXPECT_EQ(noticesInPaint, notices) << "a listener was called from inside painting";
  EXPECT_EQ(recorder.dirty, notices + 1);
  const QRect repainted(100, 40, 30, 20);
  EXPECT_EQ(dirty[0][0].toRect(), repainted);
  EXPECT_TRUE(equal(pageImage().copy(repainted), freshRender().copy(repainted)));
  EXPECT_EQ(pageImage().pixel(90, 40), 0xffff00ffu) << "painted more than was asked for";
}

TEST_F(PaintingTest, APaintWithNothingPendingDrawsAndTellsNothing) {
  ASSERT_TRUE(load(kPage));
  QSignalSpy dirty(view(), SIGNAL(dirty(QRect)));
  view()->hostImage()->fill(Qt::magenta);
  view()->update();
  drain();
  EXPECT_EQ(dirty.count(), 0);
  EXPECT_EQ(pageImage().pixel(5, 5), 0xffff00ffu);
}

// What QtWebKit doesn't announce is noticed when the page has come to rest, and only then.
TEST_F(PaintingTest, AtRestThePageImageIsMended) {
  ASSERT_TRUE(load(kPage));
  host.pumpFor(300);
  const int before = recorder.dirty;
  const uchar* const pixels = view()->hostImage()->constBits();
  QSignalSpy dirty(view(), SIGNAL(dirty(QRect)));
  for (int y = 200; y < 203; ++y) view()->hostImage()->setPixel(400 + y, y, 0xffff00ff);
  host.pumpFor(300);
  EXPECT_EQ(dirty.count(), 0) << "nothing had changed";
  larka()->addRect(QRect(10, 10, 30, 20));
  ASSERT_TRUE(host.pumpUntil([&] { return recorder.dirty == before + 2; }, 1000));
  EXPECT_EQ(dirty[1][0].toRect(), QRect(600, 200, 3, 3));
  EXPECT_TRUE(imageIsCurrent());
  EXPECT_EQ(view()->hostImage()->constBits(), pixels);
  host.pumpFor(400);
  EXPECT_EQ(dirty.count(), 2) << "a notice without a change";
}

TEST_F(PaintingTest, ManyRectanglesBecomeOneNoticeWithTheirBounds) {
  ASSERT_TRUE(load(kPage));
  for (int count : {20, 21}) {
    QSignalSpy dirty(view(), SIGNAL(dirty(QRect)));
    QMetaObject::invokeMethod(larka(), "renderToScreen");
    for (int i = 0; i < count; ++i) larka()->addRect(QRect(i * 20, (i % 2) * 50, 5, 5));
    drain();
    ASSERT_EQ(dirty.count(), 1);
    EXPECT_EQ(dirty[0][0].toRect(), QRect(0, 0, (count - 1) * 20 + 5, 55));
    EXPECT_EQ(view()->property("flipRegion").toRect(), dirty[0][0].toRect());
  }
}

TEST_F(PaintingTest, ATransparentPageIsPaintedFromTransparent) {
  QPalette palette = view()->page()->palette();
  palette.setBrush(QPalette::Base, Qt::transparent);
  view()->page()->setPalette(palette);
  ASSERT_TRUE(load("<p style='background:rgba(255,0,0,0.5);height:90px'>"));
  for (int i = 0; i < 3; ++i) {
    larka()->addRect(QRect(0, 0, 640, 360));
    drain();
  }
  EXPECT_EQ(qAlpha(pageImage().pixel(200, 60)), 127);
}

TEST_F(PaintingTest, SizesAreCutToWholePixels) {
  view()->resize(QSizeF(799.9, 100.9));
  EXPECT_EQ(browser->GetWidth(), 799);
  EXPECT_EQ(browser->GetHeight(), 100);
}

TEST_F(PaintingTest, TheFocusedFrameIsWhatIsSavedAndMeasured) {
  ASSERT_TRUE(
      load("<body style='background:#ff0000'><iframe srcdoc=\"<body style='margin:0;width:900px;"
           "height:700px;background:#00ff00'><input>\"></iframe>"));
  script("frames[0].document.querySelector('input').focus()");
  const QString path = QString::fromStdString(host.directory.file("frame.jpg"));
  browser->SaveBrowserImage(path.toLatin1().constData(), 640, 360);
  EXPECT_GT(qGreen(QImage(path).pixel(200, 100)), 200);
  int width = 0, height = 0;
  browser->GetFrameContentSize(width, height);
  EXPECT_EQ(QSize(width, height), QSize(900, 700));
}

TEST_F(PaintingTest, AScrollMarksTheWholeViewWhateverMoved) {
  ASSERT_TRUE(load(kPage));
  QSignalSpy dirty(view(), SIGNAL(dirty(QRect)));
  QMetaObject::invokeMethod(larka(), "scrollRequested", Q_ARG(int, 0), Q_ARG(int, 3),
                            Q_ARG(QRect, QRect(1, 2, 3, 4)));
  drain();
  ASSERT_EQ(dirty.count(), 1);
  EXPECT_EQ(dirty[0][0].toRect(), QRect(0, 0, 640, 360));
}

TEST_F(PaintingTest, TheHostCanTakeWhatHasChanged) {
  QMetaObject::invokeMethod(larka(), "renderToScreen");  // before the first paint: nothing
  ASSERT_TRUE(load(kPage));
  EXPECT_EQ(view()->flipRegion(), QRect(0, 0, 640, 360));
  QMetaObject::invokeMethod(larka(), "renderToScreen");
  EXPECT_TRUE(view()->flipRegion().isEmpty());
  view()->setProperty("flipRegion", QRect(1, 2, 3, 4));
  EXPECT_EQ(view()->flipRegion(), QRect(1, 2, 3, 4));
}

// Nothing that was painted before shows through: neither the page, nor the element as it was.
TEST_F(PaintingTest, AFullScreenElementLeavesNoTrail) {
  ASSERT_TRUE(
      load("<!doctype html><body style='margin:0;background:#123456'><div id=e style='"
           "position:absolute;left:40px;top:30px;width:200px;height:100px'><p id=p style='"
           "position:absolute;margin:0;width:50px;height:50px;border-radius:20px;"
           "background:rgba(255,0,0,0.5)'></p></div>"));
  QWebElement element = view()->page()->mainFrame()->findFirstElement(QStringLiteral("#e"));
  larka()->showFullscreen(element, true);
  for (int left : {0, 30, 140, 60}) {
    element.findFirst(QStringLiteral("p"))
        .setStyleProperty(QStringLiteral("left"), QString::number(left) + "px");
    settle();
    QImage fresh(200, 100, QImage::Format_ARGB32_Premultiplied);
    fresh.fill(0);
    QPainter painter(&fresh);
    painter.setRenderHints(kHints);
    element.render(&painter);
    painter.end();
    EXPECT_TRUE(equal(pageImage(), fresh)) << left;
  }
  // Hidden, it shows nothing; shown again in another size, it fills its image.
  element.setStyleProperty(QStringLiteral("display"), QStringLiteral("none"));
  settle();
  EXPECT_EQ(pageImage().pixel(70, 20), 0u);
  element.setAttribute(QStringLiteral("style"),
                       QStringLiteral("width:50px;height:25px;background:#00ff00"));
  settle();
  EXPECT_EQ(pageImage().pixel(199, 99), 0xff00ff00u);
  larka()->showFullscreen(QWebElement(), true);
  settle();
  EXPECT_TRUE(imageIsCurrent());
}

TEST_F(PaintingTest, TheAnimationOfFullScreenNeverRuns) {
  ASSERT_TRUE(load(kPage));
  view()->StartAnimation();
  QMetaObject::invokeMethod(larka(), "renderToScreen");
  larka()->addRect(QRect(1, 2, 30, 40));
  drain();
  EXPECT_EQ(view()->flipRegion(), QRect(1, 2, 30, 40)) << "what is painted counts as changed";
  view()->setProperty("animateRegion", QRect(5, 6, 7, 8));
  EXPECT_EQ(view()->property("animateRegion").toRect(), QRect(5, 6, 7, 8));
  testing::internal::CaptureStderr();
  QMetaObject::invokeMethod(view(), "AnimationFinished");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "---animation finished\n");
  EXPECT_TRUE(view()->animateRegion().isEmpty());
}

// A host's own style of scene: an item outside the view, such as an open list, must not shift what
// the view exposes.
TEST_F(PaintingTest, AnItemBesideThePageDoesNotMakeItStale) {
  ASSERT_TRUE(load(kPage));
  view()->scene()->addRect(QRectF(-500, -400, 50, 50));
  view()->scene()->addRect(QRectF(3000, 2500, 50, 50));
  drain();
  browser->ExecuteJavascript("document.getElementById(\"c39\").style.background=\"#fff\"");
  browser->ExecuteJavascript("document.getElementById(\"c0\").style.background=\"#fff\"");
  settle();
  EXPECT_TRUE(imageIsCurrent());
}

}  // namespace
