// The page image against what QtWebKit itself would render, the way of a repaint to it, and what a
// host reads of it.
#include <QApplication>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QGraphicsWebView>
#include <QPainter>
#include <QSignalSpy>
#include <QWebElement>
#include <QWebFrame>

#include "Clock.h"
#include "Host.h"

namespace {

using LARKA::ILarkaBrowser;
using test::Clock;
using test::pixel;

const QRect kWhole(0, 0, 640, 360);

class PaintingTest : public test::BrowserTest {
 protected:
  /// Loads a page. From then on no time passes by itself, and so nothing is mended at rest.
  bool loadAndStop(const std::string& html) {
    const bool loaded = load(html);
    host.pumpFor(300);
    Clock::stop();
    return loaded;
  }
  void SetUp() override {
    BrowserTest::SetUp();
    for (QWidget* widget : QApplication::topLevelWidgets())
      if (auto* found = qobject_cast<QGraphicsView*>(widget)) window = found;
    view = dynamic_cast<QGraphicsWebView*>(window->items().value(0));
    frame = view->page()->mainFrame();
  }
  /// What QtWebKit announces of changes; handles all events.
  void announce(const QList<QRect>& rects) {
    for (const QRect& rect : rects) emit view->page()->repaintRequested(rect);
    for (int i = 0; i < 30; ++i) QCoreApplication::processEvents();
  }
  void spoil(int x, int y, int pixels) {
    memset(browser->GetBrowserImage() + y * browser->GetBrowserStride() + x * 4, 0x77, pixels * 4);
  }

  /// Whether a part of the image is what a page or an element looks like now.
  template <typename Painted>
  testing::AssertionResult shows(Painted* painted, const QRect& part) {
    // On 32-bit x86 Qt computes with other roundings: at the edge of what is repainted a 255th of
    // what was there before stays. So it does at fractions of pixels.
    const int rounding = sizeof(void*) == 4 || ratio == 1.5 ? 1 : 0;
    QImage fresh(kWhole.size() * ratio, QImage::Format_ARGB32_Premultiplied);
    fresh.fill(0);
    QPainter painter(&fresh);
    painter.setRenderHints(window->renderHints());
    painter.scale(ratio, ratio);
    painted->render(&painter);
    const QRect pixels = QTransform::fromScale(ratio, ratio).mapRect(part);
    for (int y = pixels.top(); y <= pixels.bottom(); ++y) {
      const uchar* line = browser->GetBrowserImage() + y * browser->GetBrowserStride();
      for (int byte = pixels.left() * 4; byte < (pixels.right() + 1) * 4; ++byte)
        if (std::abs(line[byte] - fresh.constScanLine(y)[byte]) > rounding)
          return testing::AssertionFailure() << "stale at " << byte / 4 << "," << y;
    }
    return testing::AssertionSuccess();
  }

  double ratio = 1;  // pixels of the image for one of the view
  QGraphicsView* window = nullptr;
  QGraphicsWebView* view = nullptr;
  QWebFrame* frame = nullptr;
};

const char kPage[] = R"(<!doctype html><meta charset=utf-8><style>
body{margin:0;background:#182838;color:#fff;font:16px sans-serif;height:1800px}
.cell{position:absolute;width:50px;height:30px;background:#456}
.cell:nth-child(odd){font:italic 22px serif}
a{position:absolute;top:330px;color:#9cf}a:focus{outline:3px solid #fc0}
#mover{position:absolute;top:700px;width:90px;height:60px;background:#a33;border-radius:12px}
</style><script>n = 0; function $(id) { return document.getElementById(id) }
for (i = 0; i < 40; i++) document.write('<div class=cell id=c' + i + ' style="left:' +
  (i % 10) * 62 + 'px;top:' + Math.floor(i / 10) * 70 + 'px">' + i + '</div><i style="position:absolute;font-size:60px;left:' +
  (600 + i * 5) + 'px;top:' + i * 40 + 'px">f</i>')
</script><a href=#1 style="left:10px">one</a><a href=#2 style="left:120px">two</a>
<input type=checkbox style="position:absolute;left:230px;top:335px"><div id=mover></div>
<div style="position:fixed;left:300px;top:99px;width:40px;height:40px;background:#0f0"></div>
<iframe srcdoc="<body style='height:900px;border-top:50px solid red'>"
 style="position:absolute;left:500px;top:200px;width:90px;height:90px"></iframe>
<select style="position:fixed;left:420px;top:290px"><option>one<option>two</select>
<p style="position:absolute;left:330px;top:290px"><b tabindex=0><img width=40 height=30></b>)";

class PaintedTest : public PaintingTest,
                    public testing::WithParamInterface<std::pair<double, bool>> {};

INSTANTIATE_TEST_SUITE_P(Images, PaintedTest,
                         testing::Values(std::pair(1.0, false), std::pair(1.0, true),
                                         std::pair(1.5, true), std::pair(2.0, false)));

TEST_P(PaintedTest, ThePageImageIsNeverStale) {
  const bool transparent = GetParam().second;
  ratio = GetParam().first;
  ASSERT_TRUE(LARKA::SetDevicePixelRatio(browser, ratio) && LARKA::SetTransparent(browser, true));
  ASSERT_TRUE(loadAndStop(kPage));
  ASSERT_FALSE(LARKA::SetDevicePixelRatio(browser, 3)) << "after the first paint";
  if (transparent) script("document.body.style.background = 'none'");
  LARKA::SetTransparent(browser, transparent);
  Clock::pass(500);
  EXPECT_EQ(pixel(browser, 310 * ratio, 250 * ratio), transparent ? 0 : 0xff182838);
  const LARKA::ImageSize size = LARKA::GetImageSize(browser);
  const int stride = browser->GetBrowserStride();
  QByteArray copy(reinterpret_cast<char*>(browser->GetBrowserImage()), stride * size.height);
  recorder.onEvent = [&](const std::string& event) {
    if (event != "OnDirty") return;
    for (const LARKA::Rectangle& part : LARKA::GetChangedRectangles(browser))
      for (int at = part.y * stride + part.x * 4, y = 0; y < part.height; ++y, at += stride)
        memcpy(copy.data() + at, browser->GetBrowserImage() + at, part.width * 4);
  };
  const std::function<void(int)> kChanges[] = {
      [this](int i) {
        browser->SetZoomLevel(50 + i / 3 * 50);
        Clock::pass(40);
        script("$('c' + n % 5).textContent = n++ % 2 ? 'jfW/' : 'ffyQ'");
      },
      [this](int) { script("s = $('mover').style; s.left = s.top = 3 * n++ + 'px'"); },
      [this](int i) { browser->Scroll(i % 4 < 2 ? 23 : -14, i % 2 ? 333 * i : -207 * i); },
      [this](int i) {
        if (i % 3 == 2) return (void)script("frames[0].scrollBy(0, 15)");
        browser->Scroll(0, i % 2 ? 31 * i : -17 * i);
        browser->Scroll(i % 4 < 2 ? 17 : -9, 29);
      },
      [this](int i) { i % 3 == 2 ? browser->FocusPrev() : browser->FocusNext(); },
      [this](int i) {
        browser->MouseClick(430, 300, 0);
        Clock::pass(20);
        if (i % 2) browser->Scroll(0, i % 3 == 2 ? 5 : -5);
        Clock::pass(20);
        EXPECT_TRUE(LARKA::CloseList(browser));
      },
      [this](int i) { browser->Resize(i % 2 ? 640 : 500, i % 2 ? 360 : 300); },
      [this](int i) {
        view->scene()->addRect(i * 3000 - 500, i * 2500 - 400, 50, 50)->setZValue(-1);
        script("$('c39').style.background = $('c0').style.background = '#f' + n++ % 10 + 'f'");
      }};
  for (const auto& change : kChanges) {
    for (int i = 0; i < 12; ++i) {
      change(i);
      Clock::pass(40);
      ASSERT_TRUE(shows(frame, kWhole & view->rect().toRect())) << &change - kChanges << " " << i;
      ASSERT_EQ(memcmp(copy.data(), browser->GetBrowserImage(), copy.size()), 0)
          << &change - kChanges << " " << i << ": more has changed than the host heard of";
    }
    browser->SetZoomLevel(100);
    browser->ScrollToPoint(0, 0);
  }
  const LARKA::FrameStatistics cost = LARKA::TakeFrameStatistics(browser);
  EXPECT_GT(cost.paints, 50);
  EXPECT_LT(cost.pixels / cost.paints, size.width * size.height);
  EXPECT_GT(cost.notices, 50);
  EXPECT_EQ(LARKA::TakeFrameStatistics(browser).paints, 0) << "they were taken";
}

TEST_F(PaintingTest, WhatIsAnnouncedIsPaintedOnceAndTheRestIsMendedAtRest) {
  ASSERT_TRUE(loadAndStop(kPage));
  QSignalSpy dirty(view, SIGNAL(dirty(QRect)));
  recorder.onEvent = [this](const std::string&) {
    EXPECT_FALSE(window->viewport()->paintingActive());
  };
  const QRect part(100, 40, 30, 20), stale(637, 200, 3, 1);
  spoil(637, 200, 3);
  view->update();
  Clock::pass(500);
  EXPECT_EQ(dirty.count(), 0) << "nothing had changed";
  QMetaObject::invokeMethod(dynamic_cast<QObject*>(browser), "renderToScreen");
  spoil(90, 40, 1);
  announce({part});
  EXPECT_EQ(view->property("flipRegion").toRect(), part) << "what isn't on the screen yet";
  EXPECT_EQ(dirty.last()[0].toRect(), part);
  EXPECT_TRUE(shows(frame, part));
  EXPECT_EQ(pixel(browser, 90, 40), 0x77777777u) << "painted more than was asked for";
  announce({QRect(0, 0, 5, 5), QRect(20, 50, 85, 5)});
  EXPECT_EQ(dirty.last()[0].toRect(), QRect(0, 0, 105, 55)) << "the bounds of both";
  Clock::pass(150);
  EXPECT_EQ(dirty.count(), 2) << "not at rest yet";
  Clock::pass(600);
  EXPECT_EQ(dirty.last()[0].toRect(), stale);
  EXPECT_TRUE(shows(frame, kWhole));
  emit view->page()->scrollRequested(0, 3, QRect(1, 2, 3, 4));
  announce({});
  EXPECT_EQ(dirty.last()[0].toRect(), kWhole) << "a scroll changes everything";
  Clock::pass(600);
  EXPECT_EQ(dirty.count(), 4) << "a notice without a change";
}

// Nothing that was painted before shows through: neither the page, nor the element as it was.
TEST_F(PaintingTest, WhatIsTransparentLeavesNoTrail) {
  QPalette palette = view->page()->palette();
  palette.setBrush(QPalette::Base, Qt::transparent);
  view->page()->setPalette(palette);
  ASSERT_TRUE(
      loadAndStop("<!doctype html><body style='margin:0;background:rgba(0,255,0,0.5)'>"
                  "<embed id=e type=a/b style='width:200px;height:100px;"
                  "background:rgba(255,0,0,0.5)'>"));
  announce({kWhole});
  EXPECT_TRUE(shows(frame, kWhole));
  Clock::pass(300);
  EXPECT_TRUE(shows(frame, kWhole)) << "at rest";
  QWebElement element = frame->findFirstElement("#e");
  script("e=document.all.e;e.style.display='none';e.offsetWidth;e.style.display=''");
  Clock::pass(300);
  EXPECT_EQ(browser->GetPluginWidgets().at(0).GetHandle(),
            view->childItems().last()->toGraphicsObject());
  browser->GetPluginWidgets().at(0).SetFullScreen(true, true, false);
  for (const char* radius : {"0", "40px", "10px"}) {
    element.setStyleProperty("border-radius", radius);
    Clock::pass(150);
    EXPECT_TRUE(shows(&element, QRect(0, 0, 200, 100))) << radius;
  }
  element.setAttribute("style", "width:50px;height:25px;background:#00ff00");
  Clock::pass(150);
  EXPECT_EQ(pixel(browser, 199, 99), 0xff00ff00u) << "it fills its image";
}

TEST_F(PaintingTest, TheImageWaitsForASizeAndHasALimit) {
  EXPECT_EQ(browser->GetBrowserImage(), nullptr);
  EXPECT_EQ(browser->GetBrowserStride(), 0);
  view->resize(799.9, 449.9);
  EXPECT_EQ(QSize(browser->GetWidth(), browser->GetHeight()), QSize(799, 449));
  test::Recorder listener;
  ILarkaBrowser* other = host.createBrowser(&listener, 0, 0);
  EXPECT_FALSE(host.load(other, &listener, "<body style='background:#123456'>"));
  EXPECT_EQ(listener.dirty, 0) << "without a size";
  other->Resize(1920, 1080);
  ASSERT_TRUE(host.pumpUntil([&] { return listener.dirty > 0; }));
  EXPECT_EQ(other->GetBrowserStride(), 1280 * 4);
  EXPECT_EQ(pixel(other, 1279, 719), 0xff123456u);
  EXPECT_TRUE(LARKA::SetImageFollowsResize(other, true));
  EXPECT_FALSE(LARKA::SetMaximumImageSize(other, 3840, 2160)) << "after the first paint";
  const std::pair<QSize, QSize> sizes[] = {
      {{300, 200}, {300, 200}}, {{0, 0}, {300, 200}}, {{40, 4000}, {40, 720}}};
  for (const auto& [view, image] : sizes) {
    const unsigned char* before = other->GetBrowserImage();
    bool resized = false;
    listener.onEvent = [&, expected = image](const std::string& event) {
      if (event != "OnDirty" || resized || other->GetBrowserImage() == before) return;
      resized = before[3] == 0xff;  // the old one is still there
      const LARKA::Rectangle all = LARKA::GetChangedRectangles(other).at(0);
      EXPECT_EQ(QSize(all.width, all.height), expected);
    };
    other->Resize(view.width(), view.height());
    EXPECT_EQ(other->GetBrowserImage(), before) << "until there is another one";
    host.pumpFor(100);
    EXPECT_EQ(resized, !view.isEmpty());
    EXPECT_EQ(other->GetBrowserStride(), image.width() * 4);
    EXPECT_EQ(LARKA::GetImageSize(other).height, image.height());
    EXPECT_EQ(pixel(other, image.width() - 2, image.height() - 2), 0xff123456u);
  }
  host.manager->DestroyBrowser(other, true);
}

}  // namespace
