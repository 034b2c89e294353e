// What handles and the inspector don't show at the boundary.
#include <QAction>
#include <QImage>
#include <QPointer>
#include <QSharedPointer>
#include <QWebFrame>
#include <QWebInspector>
#include <QWebPage>

#include "Host.h"
#include "Operations.h"
#include "browser/LarkaBrowserQt.h"
#include "elements/LarkaHTMLControlQt.h"
#include "elements/LarkaPluginWidgetQt.h"
#include "inspector/InspectorBrowser.h"
#include "paint/larkawebview.h"

namespace {

using LARKA::InspectorBrowser;
using LARKA::LarkaPluginWidget;
using LARKA::LarkaPluginWidgetPrivate;

class ElementsTest : public test::BrowserTest {
 protected:
  LARKA::LarkaBrowser* larka() { return static_cast<LARKA::LarkaBrowser*>(browser); }
  QWebPage* page() { return larka()->webView()->page(); }
};

TEST_F(ElementsTest, WithoutScriptTheAttributesAnswer) {
  ASSERT_TRUE(load("<input id=t value=v checked><input id=n>"));
  larka()->SetAttribute(QWebSettings::JavascriptEnabled, false);
  EXPECT_TRUE(control(LARKA::CONTROL_TEXT, "t").IsControlSelected());
  EXPECT_FALSE(control(LARKA::CONTROL_TEXT, "n").IsControlSelected());
  EXPECT_EQ(control(LARKA::CONTROL_TEXT, "t").GetControlText(), "v");
}

TEST_F(ElementsTest, APluginWithAnImageGivesItsPixelsAndNothingOutsideIt) {
  ASSERT_TRUE(
      load("<body style='margin:0;height:2000px'><embed id=e type=a/b style='position:"
           "absolute;left:7px;top:105px;width:20px;height:10px'>"));
  LarkaPluginWidget plugin = browser->GetPluginWidgets().at(0);
  auto* record = LarkaPluginWidgetPrivate::of(plugin);
  record->image.reset(new QImage);
  EXPECT_EQ(plugin.GetPixelData(), nullptr) << "an image without pixels";
  EXPECT_EQ(plugin.GetPixelRGBA(0, 0), 0u);
  record->image.reset(new QImage(64, 200, QImage::Format_ARGB32_Premultiplied));
  record->image->fill(0xff112233);
  for (int scroll : {0, 100}) {
    browser->ScrollToPoint(0, scroll);
    const int top = 105 - scroll;
    record->image->setPixel(7, top, 0xff445566);
    record->image->setPixel(26, top + 9, 0xff778899);
    EXPECT_EQ(plugin.GetStride(), 64 * 4);
    const unsigned char* pixels = plugin.GetPixelData();
    ASSERT_EQ(pixels, record->image->constBits() + top * 64 * 4 + 7 * 4);
    EXPECT_EQ(pixels[0], 0x66);
    EXPECT_EQ(plugin.GetPixelRGBA(0, 0), 0xff445566u);
    EXPECT_EQ(plugin.GetPixelRGBA(19, 9), 0xff778899u);
    EXPECT_EQ(plugin.GetPixelRGBA(-7, -top), 0xff112233u) << "the image's first pixel";
    EXPECT_EQ(plugin.GetPixelRGBA(56, 199 - top), 0xff112233u) << "the image's last pixel";
    const int kLowest = std::numeric_limits<int>::min(), kHighest = std::numeric_limits<int>::max();
    const std::pair<int, int> kOutside[] = {{-8, 0},        {0, -top - 1}, {57, 0},
                                            {0, 200 - top}, {kLowest, 0},  {0, kLowest},
                                            {kHighest, 0},  {0, kHighest}};
    for (const auto& [x, y] : kOutside) EXPECT_EQ(plugin.GetPixelRGBA(x, y), 0u) << x << "," << y;
  }
  EXPECT_TRUE(LarkaPluginWidgetPrivate::isInsideBrowserImage(QRect(-1, -1, 9999, 9999)));
}

TEST_F(ElementsTest, ThePluginSlotMakesARecordOfItsOwn) {
  ASSERT_TRUE(load("<embed id=e type=a/b>"));
  QWebElement element = page()->mainFrame()->findFirstElement(QStringLiteral("embed"));
  QMetaObject::invokeMethod(larka(), "pluginCreated", Q_ARG(QWebElement, element),
                            Q_ARG(void*, this));
  ASSERT_EQ(recorder.plugins.size(), 2u);
  LarkaPluginWidget plugin = recorder.plugins[1];
  EXPECT_EQ(plugin.GetHandle(), this);
  auto* record = LarkaPluginWidgetPrivate::of(plugin);
  EXPECT_EQ(record->references, 3);  // the browser's, the recorder's, this one
  {
    LarkaPluginWidget copy = plugin, adopted(record, false);
    EXPECT_EQ(record->references, 5);
    auto* control = new LARKA::LarkaHTMLControlPrivate(element);
    const LARKA::LarkaHTMLControl first(control, true), second(control, false);
    EXPECT_EQ(control->references, 2);
  }
  recorder.plugins.clear();
  ASSERT_TRUE(load("<p>"));
  EXPECT_EQ(record->references, 1);
}

TEST_F(ElementsTest, APluginsHandleIsTheItemThatHasItsPlaceNow) {
  ASSERT_TRUE(load("<embed id=e type=a/b>"));
  LarkaPluginWidget plugin = browser->GetPluginWidgets().at(0);
  const QPointer<QObject> first(static_cast<QObject*>(plugin.GetHandle()));
  script(
      "var e=document.getElementById('e');e.style.display='none';e.offsetWidth;"
      "e.style.display='';e.offsetWidth");
  ASSERT_TRUE(host.pumpUntil([&] { return first.isNull(); }));
  host.pumpFor(200);
  const QList<QGraphicsItem*> items = larka()->webView()->childItems();
  ASSERT_EQ(items.size(), 1);
  EXPECT_EQ(plugin.GetHandle(), items[0]->toGraphicsObject());
}

TEST_F(ElementsTest, TheInspectorShowsThePageOfItsBrowser) {
  ASSERT_TRUE(visit("file://" LARKA_SOURCE_DIR "/share/demo/index.html"));
  auto* inspector = static_cast<InspectorBrowser*>(browser->LaunchInspector(true));
  const QPointer<QWebInspector> widget(inspector->inspector());
  EXPECT_EQ(widget->page(), page());
  EXPECT_TRUE(widget->isVisible());
  EXPECT_TRUE(page()->settings()->testAttribute(QWebSettings::DeveloperExtrasEnabled));
  inspector->Resize(900, 500);
  EXPECT_EQ(widget->size(), QSize(900, 500));
  host.pumpFor(1500);
  const QImage picture = widget->grab().toImage();
  QSet<QRgb> colours;
  for (int x = 0; x < picture.width(); x += 3)
    for (int y = 0; y < picture.height(); y += 3) colours.insert(picture.pixel(x, y));
  EXPECT_GT(colours.size(), 20) << "the inspector painted nothing";
  if (const char* file = getenv("LARKA_TEST_INSPECTOR_PICTURE")) picture.save(file);

  int x = 1, y = 2, width = 3, height = 4;
  inspector->GetViewPort(&x, &y, &width, &height);
  inspector->GetFrameContentSize(width, height);
  EXPECT_EQ(std::make_tuple(x, y, width, height), std::make_tuple(1, 2, 3, 4));
  // Nothing happens: neither to the inspector nor to what it inspects.
  const std::string title = browser->GetTitle();
  EXPECT_EQ(test::answersOf(inspector, "Shutdown Resize"), "GetZoomLevel ");
  EXPECT_EQ(inspector->GetZoomLevel(), 1.0);
  inspector->SaveBrowserImage(host.directory.file("none.jpg").c_str(), 1, 1);
  EXPECT_FALSE(std::filesystem::exists(host.directory.file("none.jpg")));
  host.pumpFor(100);
  EXPECT_EQ(browser->GetTitle(), title);
  EXPECT_EQ(browser->GetZoomLevel(), 100);
  EXPECT_EQ(widget->size(), QSize(900, 500));

  // A second one takes the page over; each closes for itself, and stays closed.
  LARKA::ILarkaBrowser* second = browser->LaunchInspector(false);
  inspector->Shutdown();
  EXPECT_EQ(test::answersOf(inspector), "GetZoomLevel ");
  EXPECT_TRUE(widget.isNull());
  EXPECT_TRUE(page()->settings()->testAttribute(QWebSettings::DeveloperExtrasEnabled));
  host.manager->DestroyBrowser(second, true);  // not meant for inspectors: closes it
  EXPECT_FALSE(page()->settings()->testAttribute(QWebSettings::DeveloperExtrasEnabled));
  ASSERT_TRUE(load("<p>goes on"));
}

TEST_F(ElementsTest, TheInspectorDiesWithItsBrowserOrStaysClosedAfterItsShutdown) {
  for (const int end : {0, 1, 2}) {
    test::Recorder listener;
    LARKA::ILarkaBrowser* other = host.createBrowser(&listener);
    ASSERT_TRUE(host.load(other, &listener, "<p>"));
    auto* inspector = static_cast<InspectorBrowser*>(other->LaunchInspector(true));
    const QPointer<QObject> alive(inspector);
    host.pumpFor(300);
    if (end == 2) {
      other->Shutdown();
      inspector->Resize(100, 100);
      inspector->Shutdown();
      EXPECT_EQ(other->LaunchInspector(true), nullptr);
    }
    host.manager->DestroyBrowser(other, end != 1);
    host.manager->PumpEvents();
    EXPECT_TRUE(alive.isNull());
  }
}

}  // namespace
