// The inspector, in its own window.
#include <QApplication>
#include <QPointer>
#include <QWebInspector>
#include <QWebPage>

#include "Host.h"

using InspectorTest = test::BrowserTest;

TEST_F(InspectorTest, ShowsThePageOfItsBrowserUntilItIsClosed) {
  ASSERT_TRUE(load("<p>text"));
  LARKA::ILarkaBrowser* inspector = browser->LaunchInspector(true);
  QPointer<QWidget> window;
  for (QWidget* each : QApplication::topLevelWidgets())
    if (each->inherits("QWebInspector")) window = each;
  ASSERT_TRUE(window && window->isVisible());
  QWebSettings* page = qobject_cast<QWebInspector*>(window)->page()->settings();
  LARKA::ILarkaBrowser* second = browser->LaunchInspector(false);  // takes over the page
  inspector->Shutdown();
  inspector->Resize(100, 100);
  EXPECT_TRUE(window.isNull());
  EXPECT_TRUE(page->testAttribute(QWebSettings::DeveloperExtrasEnabled));
  host.manager->DestroyBrowser(second, true);  // not meant for inspectors, but closes them
  EXPECT_FALSE(page->testAttribute(QWebSettings::DeveloperExtrasEnabled));
}
