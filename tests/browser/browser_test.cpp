// The smaller classes: the end of a load that QtWebKit forgets, and what a host may use by itself.
#include "browser/LarkaBrowserQt.h"

#include <QMetaMethod>

#include "Clock.h"
#include "Host.h"

namespace {

TEST(LoadWatchTest, EndsALoadOnceNothingHasGoneOnForAWhile) {
  int count = 0, ended = 0;
  QCoreApplication application(count, nullptr);
  test::Clock::stop();
  bool busy = true;
  LARKA::LoadWatch watch([&] { return busy; }, [&] { ++ended; });
  watch.begin();
  test::Clock::pass(4100);
  EXPECT_EQ(ended, 0) << "a request was running";
  busy = false;
  EXPECT_NEAR(test::Clock::passUntil([&] { return ended > 0; }), 3500, 510);
  EXPECT_FALSE(watch.end()) << "it ended twice";
  watch.begin();
  EXPECT_TRUE(watch.end());
  test::Clock::pass(4100);
  EXPECT_EQ(ended, 1);
}

TEST(BrowserTest, KeepsItsSlotsInTheirOrder) {
  const QMetaObject& meta = LARKA::LarkaBrowser::staticMetaObject;
  QByteArray slots_;
  for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
    slots_ += (meta.method(i).access() == QMetaMethod::Public ? "+" : " ") +
              meta.method(i).methodSignature();
  EXPECT_EQ(slots_,
            "+executeInLarka(QString)+executeMediaAction(QString)+tester()+notifyOnDirty(QRect)"
            "+invalidateRect(QRect)+addRect(QRect) contentsChanged()"
            " databaseQuotaExceeded(QWebFrame*,QString) downloadRequested(QNetworkRequest)"
            " frameCreated(QWebFrame*) geometryChangeRequested(QRect) linkClicked(QUrl)"
            " linkHovered(QString,QString,QString) loadFinished(bool) loadProgress(int)"
            " loadStarted() menuBarVisibilityChangeRequested(bool) microFocusChanged()"
            " printRequested(QWebFrame*) debugRepaintRequested(QRect)"
            " restoreFrameStateRequested(QWebFrame*)"
            " saveFrameStateRequested(QWebFrame*,QWebHistoryItem*) scrollRequested(int,int,QRect)"
            " selectionChanged() statusBarMessage(QString) statusBarVisibilityChangeRequested(bool)"
            " toolBarVisibilityChangeRequested(bool) unsupportedContent(QNetworkReply*)"
            " windowCloseRequested() renderToScreen() contentsSizeChanged(QSize) iconChanged()"
            " initialLayoutCompleted() javaScriptWindowObjectCleared() titleChanged(QString)"
            " urlChanged(QUrl) pluginCreated(QWebElement,void*) creatingRequest(QUrl)"
            " requestError() sslErrors() workaroundForPluginDrawingBug()"
            " repaintCollectorChanged()");
}

}  // namespace
