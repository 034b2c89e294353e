#include "StartScreen.h"

#include <algorithm>
#include <memory>

#include "Clock.h"
#include "Focus.h"
#include "TextTargets.h"
#include "Window.h"

namespace tv {

namespace {

constexpr SDL_Rect kField = {64, 108, 1152, 62};
constexpr int kTileTop = 232, kTileWidth = 176, kTileHeight = 152, kTileStep = 195;
constexpr int kRecentTop = 450, kRecentWidth = 213, kRecentHeight = 120, kRecentStep = 234;
constexpr std::size_t kMostRecent = 5;

}  // namespace

StartScreen::StartScreen(const std::string& demoFolder) {
  const std::string pages = "file://" + demoFolder + "/";
  m_tiles = {{"Portal", "★", pages + "portal.html", {38, 88, 160, 255}},
             {"Guide", "☰", pages + "guide.html", {20, 110, 110, 255}},
             {"Form", "✎", pages + "form.html", {120, 70, 30, 255}},
             {"Video", "▶", pages + "video.html", {140, 40, 60, 255}},
             {"Settings", "⚙", pages + "settings.html", {84, 62, 150, 255}},
             {"Television", "◉", kTelevision, {40, 110, 60, 255}}};
}

std::vector<SDL_Rect> StartScreen::areas() const {
  std::vector<SDL_Rect> result = {kField};
  for (int i = 0; i < static_cast<int>(m_tiles.size()); ++i)
    result.push_back({64 + i * kTileStep, kTileTop, kTileWidth, kTileHeight});
  for (int i = 0; i < static_cast<int>(m_recent.size()); ++i)
    result.push_back({64 + i * kRecentStep, kRecentTop, kRecentWidth, kRecentHeight});
  return result;
}

std::string StartScreen::focused() const {
  const int tiles = static_cast<int>(m_tiles.size());
  if (m_focus == 0) return "address";
  if (m_focus <= tiles) return m_tiles[m_focus - 1].label;
  return "recent " + m_recent[m_focus - tiles - 1].address;
}

std::string StartScreen::press(Key key) {
  if (m_keyboard.isOpen()) {
    m_keyboard.press(key);
    return takeTyped();
  }
  if (key == Key::Ok) return choose(m_focus);
  m_focus = neighbour(areas(), m_focus, key);
  return std::string();
}

std::string StartScreen::click(SDL_Point point) {
  if (m_keyboard.isOpen() && point.y >= Keyboard::kTop) {
    m_keyboard.click(point);
    return takeTyped();
  }
  m_keyboard.close();
  const int index = areaAt(areas(), point);
  if (index < 0) return std::string();
  m_focus = index;
  return choose(index);
}

std::string StartScreen::choose(int index) {
  const int tiles = static_cast<int>(m_tiles.size());
  if (index > tiles) return m_recent[index - tiles - 1].address;
  if (index > 0) return m_tiles[index - 1].address;
  m_keyboard.open(std::make_shared<HostText>(m_typed, [this] { m_entered = true; }));
  return std::string();
}

std::string StartScreen::takeTyped() {
  if (!m_entered) return std::string();
  m_entered = false;
  m_keyboard.close();
  return addressOf(m_typed);
}

void StartScreen::remember(const Browser& browser) {
  if (browser.address().empty() || browser.error().kind != LARKA::LOAD_OK) return;
  Owned<SDL_Texture> picture = browser.texture().thumbnail(browser.larka());
  const auto same = [&](const Recent& recent) { return recent.address == browser.address(); };
  m_recent.erase(std::remove_if(m_recent.begin(), m_recent.end(), same), m_recent.end());
  m_recent.insert(m_recent.begin(), Recent{browser.title(), browser.address(), std::move(picture)});
  if (m_recent.size() > kMostRecent) m_recent.pop_back();
}

void StartScreen::draw(Canvas& canvas) const {
  canvas.fillGradient(kScreen, {24, 52, 104, 255}, kDark);
  const int end = 64 + canvas.text("Larka", 64, 34, 40, kWhite);
  canvas.text("television", end + 14, 34, 40, kGold);
  canvas.text(clockText(), 1102, 34, 40, kWhite);
  const std::vector<SDL_Rect> places = areas();
  canvas.fillRounded(grown(places[m_focus], 5), 17, kWhite);
  canvas.fillRounded(kField, 12, kPanel);
  canvas.text(m_typed, kField.x + 24, kField.y + 14, 26, kGrey, kField.w - 48);
  canvas.text("Demonstration", 64, kTileTop - 42, 24, kGrey);
  for (std::size_t i = 0; i < m_tiles.size(); ++i) drawTile(canvas, m_tiles[i], places[i + 1]);
  if (!m_recent.empty()) canvas.text("Seen last", 64, kRecentTop - 42, 24, kGrey);
  for (std::size_t i = 0; i < m_recent.size(); ++i)
    drawRecent(canvas, m_recent[i], places[i + 1 + m_tiles.size()]);
  canvas.text(
      "Arrows and Return · Escape: back · Home · F1 to F4: colours · F7, F8: volume · "
      "Tab: next tab · F11: full screen",
      64, 668, 18, kGrey);
  m_keyboard.draw(canvas);
}

void StartScreen::drawTile(Canvas& canvas, const Tile& tile, const SDL_Rect& area) const {
  canvas.fillRounded(area, 12, tile.colour);
  canvas.label(tile.sign, {area.x, area.y + 10, area.w, 90}, 54, kWhite);
  canvas.label(tile.label, {area.x, area.y + 98, area.w, 44}, 24, kWhite);
}

void StartScreen::drawRecent(Canvas& canvas, const Recent& recent, const SDL_Rect& area) const {
  canvas.fillRounded(area, 6, kPanel);
  if (recent.picture) SDL_RenderCopy(canvas.renderer(), recent.picture.get(), nullptr, &area);
  const std::string& name = recent.title.empty() ? recent.address : recent.title;
  canvas.text(name, area.x, area.y + area.h + 10, 20, kWhite, area.w);
}

std::string addressOf(const std::string& typed) {
  if (typed.empty() || typed.find("://") != std::string::npos || typed.rfind("data:", 0) == 0)
    return typed;
  return (typed[0] == '/' ? "file://" : "http://") + typed;
}

}  // namespace tv
