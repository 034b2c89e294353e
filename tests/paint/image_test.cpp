// The page image as a host reads it.
#include <QImageReader>

#include "Host.h"

namespace {

using LARKA::ILarkaBrowser;
using test::pixel;
using test::Recorder;

class ImageTest : public test::BrowserTest {};

TEST_F(ImageTest, IsPremultipliedArgbFromTheFirstPaintOn) {
  EXPECT_EQ(browser->GetBrowserImage(), nullptr);
  EXPECT_EQ(browser->GetBrowserStride(), 0);
  ASSERT_TRUE(
      load("<body style='margin:0;background:#102030'><div style='width:100px;height:50px;"
           "background:#c08040'></div>"));
  EXPECT_EQ(browser->GetBrowserStride(), 640 * 4);
  EXPECT_EQ(pixel(browser, 0, 0), 0xffc08040u);
  EXPECT_EQ(pixel(browser, 99, 49), 0xffc08040u);
  EXPECT_EQ(pixel(browser, 100, 49), 0xff102030u);
  EXPECT_EQ(pixel(browser, 639, 359), 0xff102030u);
  EXPECT_EQ(browser->GetBrowserImage()[0], 0x40);
}

TEST_F(ImageTest, HasTheSizeOfItsFirstPaintAndNoMoreThan1280By720) {
  const struct {
    int width, height, stride;
  } rows[] = {{640, 360, 640}, {1000, 500, 640}, {320, 180, 640}};
  ASSERT_TRUE(load("<body style='margin:0;background:linear-gradient(90deg,#f00 50%,#00f 50%)'>"));
  for (const auto& [width, height, stride] : rows) {
    browser->Resize(width, height);
    settle();
    EXPECT_EQ(browser->GetWidth(), width);
    EXPECT_EQ(browser->GetBrowserStride(), stride * 4);
    EXPECT_EQ(pixel(browser, width / 2 - 10, height / 2), 0xffff0000u) << width;
    EXPECT_EQ(pixel(browser, width / 2 + 10, height / 2), 0xff0000ffu) << width;
  }
  Recorder listener;
  ILarkaBrowser* other = host.createBrowser(&listener, 0, 0);
  EXPECT_FALSE(host.load(other, &listener, "<body style='background:#123456'>"));
  EXPECT_EQ(listener.dirty, 0) << "without a size";
  other->Resize(1920, 1080);
  ASSERT_TRUE(host.pumpUntil([&] { return listener.dirty > 0; }));
  EXPECT_EQ(other->GetBrowserStride(), 1280 * 4);
  EXPECT_EQ(pixel(other, 1279, 719), 0xff123456u);
  host.manager->DestroyBrowser(other, true);
}

// One browser in a scene has the focus; the pages must not notice which.
TEST_F(ImageTest, ShowsTheKeyboardFocusInEveryBrowser) {
  const unsigned kPlain = 0xff111111u, kFocused = 0xffffcc00u;
  const char page[] =
      "<style>input{position:absolute;left:0;top:0;width:300px;height:100px;border:0;"
      "background:#111111}input+input{left:300px}input:focus{background:#ffcc00;outline:none}"
      "</style><input id=a><input id=b>";
  Recorder recorders[2];
  ILarkaBrowser* all[] = {browser, host.createBrowser(&recorders[0]),
                          host.createBrowser(&recorders[1])};
  ASSERT_TRUE(load(page));
  for (int i : {0, 1}) ASSERT_TRUE(host.load(all[i + 1], &recorders[i], page));
  EXPECT_EQ(pixel(browser, 200, 80), kPlain);
  const auto shows = [&](ILarkaBrowser* each, unsigned a, unsigned b) {
    return host.pumpUntil([&] { return pixel(each, 200, 80) == a && pixel(each, 500, 80) == b; },
                          2000);
  };
  for (int i : {0, 2, 1}) EXPECT_TRUE(all[i]->FocusNext());
  for (ILarkaBrowser* each : all) EXPECT_TRUE(shows(each, kFocused, kPlain));
  EXPECT_EQ(recorder.dirtyBrowser, browser);
  for (int i : {0, 1}) EXPECT_EQ(recorders[i].dirtyBrowser, all[i + 1]);
  host.manager->DestroyBrowser(all[1], true);
  settle();
  for (int i : {0, 2}) EXPECT_TRUE(shows(all[i], kFocused, kPlain));
  EXPECT_TRUE(browser->FocusNext());
  EXPECT_TRUE(shows(browser, kPlain, kFocused));
  EXPECT_TRUE(browser->FocusPrev());
  EXPECT_TRUE(shows(browser, kFocused, kPlain));
  host.manager->DestroyBrowser(all[2], true);
}

TEST_F(ImageTest, IsSavedAsAThumbnailWithItsProportions) {
  ASSERT_TRUE(load("<body style='background:#336699'>"));
  const QString path = QString::fromStdString(host.directory.file("thumb.png"));
  browser->SaveBrowserImage(path.toUtf8().constData(), 160, 160);
  QImageReader reader(path);
  reader.setDecideFormatFromContent(true);
  EXPECT_EQ(reader.format(), "jpeg") << "all the same";
  const QImage image = reader.read();
  EXPECT_EQ(image.size(), QSize(160, 90));
  EXPECT_NEAR(image.pixelColor(80, 45).blue(), 0x99, 3);
}

TEST_F(ImageTest, SaysWhatItCanNotDo) {
  testing::internal::CaptureStderr();
  char pixels[4] = {1, 2, 3, 4};
  browser->SetGlobalSurface(pixels);
  EXPECT_EQ(browser->GetBrowserNativeHandle(), nullptr);
  ASSERT_TRUE(load("x"));
  browser->SaveBrowserImage("/nonexistent/thumb.jpg", 160, 90);
  host.pumpFor(250);
  recorder.events.clear();
  browser->Focus();
  browser->Invalidate();
  browser->SetConfig("key", "value");
  browser->SetConfig("key", 1);
  browser->SetConfig("key", true);
  host.pumpFor(50);
  EXPECT_TRUE(recorder.events.empty());
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "LarkaBrowser::SetGlobalSurface not supported when rendering to screen\n"
            "LarkaBrowser::GetBrowserNativeHandle when rendering to screen - unimplemented\n"
            "Thumbnail save failure\n");
}

TEST_F(ImageTest, FollowsZoomAndScroll) {
  ASSERT_TRUE(
      load("<body style='margin:0;height:2000px;background:linear-gradient(#ff0000 100px,"
           "#0000ff 100px)'>"));
  const auto edgeComesTo = [&](int y) {
    return host.pumpUntil(
        [&] {
          return pixel(browser, 10, y - 5) == 0xffff0000u &&
                 pixel(browser, 10, y + 5) == 0xff0000ffu;
        },
        2000);
  };
  browser->SetZoomLevel(150);
  EXPECT_DOUBLE_EQ(browser->GetZoomLevel(), 150);
  EXPECT_TRUE(edgeComesTo(150));
  browser->ScrollToPoint(0, 50);
  int x = -1, y = -1;
  browser->GetViewPort(&x, &y, nullptr, nullptr);
  EXPECT_EQ(x, 0);
  EXPECT_EQ(y, 50);
  EXPECT_TRUE(edgeComesTo(75));
  browser->Scroll(LARKA::DIRECTION_UP, 75);
  EXPECT_TRUE(edgeComesTo(150));
}

}  // namespace
