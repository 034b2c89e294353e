// The inspector, in its own window.
#include <QApplication>
#include <QPointer>
#include <QWebInspector>
#include <QWebPage>

#include "Host.h"
#include "Operations.h"

namespace {

class InspectorTest : public test::BrowserTest {};

TEST_F(InspectorTest, ShowsThePageOfItsBrowserAndDiesWithIt) {
  ASSERT_TRUE(load("<title>t</title><p>text"));
  LARKA::ILarkaBrowser* inspector = browser->LaunchInspector(true);
  QPointer<QWebInspector> widget;
  for (QWidget* each : QApplication::topLevelWidgets())
    if (qobject_cast<QWebInspector*>(each)) widget = static_cast<QWebInspector*>(each);
  ASSERT_TRUE(widget && widget->isVisible());
  QWebSettings* settings = widget->page()->settings();
  inspector->Resize(900, 500);
  EXPECT_EQ(widget->size(), QSize(900, 500));
  EXPECT_TRUE(host.pumpUntil([&] {
    QSet<QRgb> colours;
    const QImage picture = widget->grab().toImage();
    for (int i = 0; i < 500; ++i) colours.insert(picture.pixel(i, i));
    return colours.size() > 5;
  })) << "it painted nothing";

  // All else does nothing: neither to the inspector nor to what it inspects.
  EXPECT_EQ(test::answersOf(inspector, "Shutdown Resize"), "GetZoomLevel ");
  EXPECT_EQ(inspector->GetZoomLevel(), 1.0);
  EXPECT_TRUE(browser->GetTitle() == "t" && browser->GetZoomLevel() == 100);

  // A second one takes the page over; each closes for itself, and stays closed.
  LARKA::ILarkaBrowser* second = browser->LaunchInspector(false);
  inspector->Shutdown();
  EXPECT_EQ(test::answersOf(inspector), "GetZoomLevel ");
  EXPECT_TRUE(widget.isNull());
  for (QWidget* each : QApplication::topLevelWidgets())
    EXPECT_FALSE(qobject_cast<QWebInspector*>(each) && each->isVisible()) << "the second one";
  EXPECT_TRUE(settings->testAttribute(QWebSettings::DeveloperExtrasEnabled));
  host.manager->DestroyBrowser(second, true);  // not meant for inspectors: closes it
  EXPECT_FALSE(settings->testAttribute(QWebSettings::DeveloperExtrasEnabled));
  ASSERT_TRUE(load("<p>goes on"));

  // One dies with its browser, and stays closed after that one's shutdown.
  inspector = browser->LaunchInspector(true);
  const QPointer<QObject> alive(dynamic_cast<QObject*>(inspector));
  host.pumpFor(1);
  browser->Shutdown();
  inspector->Resize(100, 100);
  inspector->Shutdown();
  EXPECT_EQ(browser->LaunchInspector(true), nullptr);
  host.manager->DestroyBrowser(std::exchange(browser, nullptr), true);
  EXPECT_TRUE(alive.isNull());
}

}  // namespace
