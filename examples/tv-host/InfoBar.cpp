#include "InfoBar.h"

#include "Window.h"

namespace tv {

namespace {

bool shown(Uint64 since) { return since > 0 && SDL_GetTicks64() - since < 2500; }

}  // namespace

void InfoBar::drawPage(Canvas& canvas, const Browser& browser) const {
  if (!browser.loading() && !browser.silent() && !shown(m_page)) return;
  constexpr int height = 52, top = kHeight - height;
  canvas.fill({0, top, kWidth, height}, {11, 18, 38, 225});
  if (browser.silent()) {
    canvas.text("This page doesn't answer. Back leaves it.", 64, top + 12, 22, kGold);
    return;
  }
  const std::string& title = browser.title().empty() ? browser.address() : browser.title();
  const int end = 64 + canvas.text(title, 64, top + 12, 22, kWhite, 600);
  canvas.text(browser.address(), end + 24, top + 16, 18, kGrey, kWidth - 64 - end - 24);
  if (browser.loading())
    canvas.fill({0, top + height - 5, kWidth * browser.progress() / 100, 5}, kGold);
}

void InfoBar::drawVolume(Canvas& canvas, int percent) const {
  if (!shown(m_volume)) return;
  const SDL_Rect panel = {880, 596, 336, 56};
  canvas.fillRounded(panel, 14, {11, 18, 38, 235});
  canvas.text("Volume", panel.x + 20, panel.y + 14, 22, kWhite);
  canvas.fill({panel.x + 124, panel.y + 24, 190, 8}, kPanel);
  canvas.fill({panel.x + 124, panel.y + 24, 190 * percent / 100, 8}, kGold);
}

}  // namespace tv
