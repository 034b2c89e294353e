// The page image as a host reads it, through the shared library.
#include "Host.h"

namespace {

using test::pixel;
using test::Recorder;

class ImageTest : public test::BrowserTest {};

TEST_F(ImageTest, IsNullBeforeTheFirstPaintAndPremultipliedArgbAfterIt) {
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
  const unsigned char* first = browser->GetBrowserImage();
  EXPECT_EQ(first[0], 0x40);
  EXPECT_EQ(first[1], 0x80);
  EXPECT_EQ(first[2], 0xc0);
}

TEST_F(ImageTest, KeepsItsFirstSizeWhenTheViewIsResized) {
  const char page[] = "<body style='margin:0;background:linear-gradient(90deg,#f00 50%,#00f 50%)'>";
  ASSERT_TRUE(load(page));
  browser->Resize(1000, 500);
  settle();
  EXPECT_EQ(browser->GetWidth(), 1000);
  EXPECT_EQ(browser->GetBrowserStride(), 640 * 4);
  EXPECT_EQ(pixel(browser, 490, 300), 0xffff0000u);
  EXPECT_EQ(pixel(browser, 510, 300), 0xff0000ffu);
  browser->Resize(320, 180);
  settle();
  EXPECT_EQ(pixel(browser, 150, 100), 0xffff0000u);
  EXPECT_EQ(pixel(browser, 170, 100), 0xff0000ffu);
}

TEST_F(ImageTest, WaitsForAViewThatHasASize) {
  Recorder listener;
  LARKA::ILarkaBrowser* empty = host.createBrowser(&listener, 0, 0);
  EXPECT_FALSE(host.load(empty, &listener, "<body style='background:#123456'>"));
  EXPECT_EQ(listener.dirty, 0);
  empty->Resize(320, 180);
  ASSERT_TRUE(host.pumpUntil([&] { return listener.dirty > 0; }));
  EXPECT_EQ(pixel(empty, 319, 179), 0xff123456u);
  host.manager->DestroyBrowser(empty, true);
}

TEST_F(ImageTest, IsNeverLargerThan1280By720) {
  Recorder large;
  LARKA::ILarkaBrowser* hd = host.createBrowser(&large, 1920, 1080);
  ASSERT_TRUE(host.load(hd, &large, "<body style='background:#123456'>"));
  EXPECT_EQ(hd->GetBrowserStride(), 1280 * 4);
  EXPECT_EQ(pixel(hd, 1279, 719), 0xff123456u);
  host.manager->DestroyBrowser(hd, true);
}

TEST_F(ImageTest, TheFocusGoesForthAndBack) {
  ASSERT_TRUE(load("<input id=a><input id=b>"));
  std::string order;
  for (const bool next : {true, true, false}) {
    EXPECT_TRUE(next ? browser->FocusNext() : browser->FocusPrev());
    order += script("document.activeElement.id");
  }
  EXPECT_EQ(order, "aba");
}

// One browser in a scene has the focus; the pages must not notice which.
TEST_F(ImageTest, ShowsTheKeyboardFocusInEveryBrowser) {
  const char page[] =
      "<style>body{margin:0}input{position:absolute;left:0;top:0;width:300px;height:100px;border:0;"
      "background:#111111}input:focus{background:#ffcc00;outline:none}</style><input>";
  Recorder second, third;
  LARKA::ILarkaBrowser* others[] = {host.createBrowser(&second), host.createBrowser(&third)};
  ASSERT_TRUE(load(page));
  ASSERT_TRUE(host.load(others[0], &second, page));
  ASSERT_TRUE(host.load(others[1], &third, page));
  EXPECT_EQ(pixel(browser, 200, 80), 0xff111111u);
  for (LARKA::ILarkaBrowser* each : {browser, others[1], others[0]}) {
    EXPECT_TRUE(each->FocusNext());
    host.pumpFor(200);
  }
  for (LARKA::ILarkaBrowser* each : {browser, others[0], others[1]})
    EXPECT_EQ(pixel(each, 200, 80), 0xffffcc00u);
  EXPECT_EQ(recorder.dirtyBrowser, browser);
  EXPECT_EQ(second.dirtyBrowser, others[0]);
  EXPECT_EQ(third.dirtyBrowser, others[1]);
  host.manager->DestroyBrowser(others[0], true);
  host.pumpFor(100);
  EXPECT_EQ(pixel(browser, 200, 80), 0xffffcc00u);
  EXPECT_EQ(pixel(others[1], 200, 80), 0xffffcc00u);
  host.manager->DestroyBrowser(others[1], true);
}

TEST_F(ImageTest, IsSavedAsAThumbnailWithItsProportions) {
  ASSERT_TRUE(load("<body style='background:#336699'>"));
  const std::string path = host.directory.file("thumb.png");  // JPEG all the same
  browser->SaveBrowserImage(path.c_str(), 160, 160);
  std::ifstream file(path, std::ios::binary);
  const std::string jpeg((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  ASSERT_GT(jpeg.size(), 100u);
  EXPECT_EQ(jpeg.substr(0, 3), "\xff\xd8\xff");
  const size_t frame = jpeg.find("\xff\xc0");  // its header holds height and width, big-endian
  ASSERT_NE(frame, std::string::npos);
  EXPECT_EQ(static_cast<unsigned char>(jpeg[frame + 6]), 90);
  EXPECT_EQ(static_cast<unsigned char>(jpeg[frame + 8]), 160);

  testing::internal::CaptureStderr();
  browser->SaveBrowserImage("/nonexistent/thumb.jpg", 160, 90);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Thumbnail save failure\n");
}

TEST_F(ImageTest, OtherSurfacesAreRefusedWithAWarning) {
  char pixels[4] = {1, 2, 3, 4};
  testing::internal::CaptureStderr();
  browser->SetGlobalSurface(pixels);
  EXPECT_EQ(browser->GetBrowserNativeHandle(), nullptr);
  const std::string written = testing::internal::GetCapturedStderr();
  EXPECT_NE(written.find("LarkaBrowser::SetGlobalSurface not supported when rendering to screen"),
            std::string::npos);
  EXPECT_NE(
      written.find("LarkaBrowser::GetBrowserNativeHandle when rendering to screen - unimplemented"),
      std::string::npos);
  settle();
  recorder.events.clear();
  testing::internal::CaptureStderr();
  browser->Focus();
  browser->Invalidate();
  browser->SetConfig("key", "value");
  browser->SetConfig("key", 1);
  browser->SetConfig("key", true);
  host.pumpFor(50);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_TRUE(recorder.events.empty());
}

TEST_F(ImageTest, FollowsZoomAndScroll) {
  ASSERT_TRUE(
      load("<body style='margin:0;height:2000px;background:linear-gradient(#ff0000 100px,"
           "#0000ff 100px)'>"));
  browser->SetZoomLevel(150);
  settle();
  EXPECT_DOUBLE_EQ(browser->GetZoomLevel(), 150);
  EXPECT_EQ(pixel(browser, 10, 145), 0xffff0000u);
  EXPECT_EQ(pixel(browser, 10, 155), 0xff0000ffu);
  browser->ScrollToPoint(0, 50);
  settle();
  int x = -1, y = -1;
  browser->GetViewPort(&x, &y, nullptr, nullptr);
  EXPECT_EQ(x, 0);
  EXPECT_EQ(y, 50);
  EXPECT_EQ(pixel(browser, 10, 70), 0xffff0000u);
  EXPECT_EQ(pixel(browser, 10, 80), 0xff0000ffu);
  browser->Scroll(LARKA::DIRECTION_UP, 75);
  settle();
  EXPECT_EQ(pixel(browser, 10, 80), 0xffff0000u);
}

}  // namespace
