// The page image as a host reads it.
#include <QImage>

#include "Host.h"

namespace {

using LARKA::ILarkaBrowser;
using test::pixel;
using test::Recorder;

class ImageTest : public test::BrowserTest {};

TEST_F(ImageTest, HasTheSizeOfItsFirstPaintAndNoMoreThan1280By720) {
  EXPECT_EQ(browser->GetBrowserImage(), nullptr);
  EXPECT_EQ(browser->GetBrowserStride(), 0);
  ASSERT_TRUE(load("<body style='margin:0;background:linear-gradient(90deg,#f00 50%,#00f 50%)'>"));
  for (const auto& [width, height] : {std::pair(640, 360), {1000, 500}, {320, 180}}) {
    browser->Resize(width, height);
    settle();
    EXPECT_EQ(browser->GetBrowserStride(), 640 * 4);
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
  const char page[] =
      "<style>input{position:absolute;left:0;top:0;width:300px;height:100px;border:0;"
      "background:#111111}input+input{left:300px}input:focus{background:#ffcc00;outline:none}"
      "</style><input><input>";
  Recorder second;
  ILarkaBrowser* other = host.createBrowser(&second);
  ASSERT_TRUE(load(page) && host.load(other, &second, page));
  const auto focused = [&](ILarkaBrowser* each, bool first) {
    const auto shows = [&](int x, bool focus) {
      return pixel(each, x, 80) == (focus ? 0xffffcc00u : 0xff111111u);
    };
    return host.pumpUntil([&] { return shows(200, first) && shows(500, !first); }, 2000);
  };
  EXPECT_TRUE(browser->FocusNext() && other->FocusNext());
  EXPECT_TRUE(focused(browser, true) && focused(other, true));
  EXPECT_TRUE(recorder.dirtyBrowser == browser && second.dirtyBrowser == other);
  host.manager->DestroyBrowser(other, true);
  settle();
  EXPECT_TRUE(focused(browser, true));
  EXPECT_TRUE(browser->FocusNext());
  EXPECT_TRUE(focused(browser, false));
  EXPECT_TRUE(browser->FocusPrev());
  EXPECT_TRUE(focused(browser, true));
}

TEST_F(ImageTest, OfTheFocusedFrameIsSavedWithItsProportions) {
  ASSERT_TRUE(
      load("<body style='background:#ff0000'><iframe srcdoc=\"<body style='margin:0;width:900px;"
           "height:700px;background:#00ff00'><input>\"></iframe>"));
  script("frames[0].document.querySelector('input').focus()");
  int width = 0, height = 0;
  browser->GetFrameContentSize(width, height);
  EXPECT_TRUE(width == 900 && height == 700);
  const std::string path = host.directory.file("thumb.png");
  browser->SaveBrowserImage(path.c_str(), 160, 160);
  const QImage saved(path.c_str(), "jpeg");  // whatever its name
  EXPECT_EQ(saved.size(), QSize(160, 90));
  EXPECT_LT(saved.pixelColor(60, 30).red(), 10);
  EXPECT_LT(saved.pixelColor(0, 0).red(), 100) << "the frame, not the page";
  testing::internal::CaptureStderr();
  browser->SaveBrowserImage("/nonexistent/thumb.jpg", 160, 90);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Thumbnail save failure\n");
}

}  // namespace
