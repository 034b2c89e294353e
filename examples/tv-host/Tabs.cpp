#include "Tabs.h"

#include <algorithm>

#include "Window.h"

namespace tv {

Tabs::Tabs(LARKA::BrowserManager& manager, BrowserOwner& owner, SDL_Renderer* renderer)
    : m_manager(manager), m_owner(owner), m_renderer(renderer) {}

Browser* Tabs::active() const { return m_browsers.empty() ? nullptr : m_browsers[m_active].get(); }

void Tabs::open(const std::string& address) {
  if (!active()) return openNew(address);
  show(true);
  active()->open(address);
}

void Tabs::openNew(const std::string& address) {
  m_browsers.push_back(std::make_unique<Browser>(m_manager, m_owner, m_renderer, false));
  activate(count() - 1);
  if (!address.empty()) active()->open(address);
}

void Tabs::close() {
  m_browsers.erase(m_browsers.begin() + m_active);
  if (count() > 0) activate(std::min(m_active, count() - 1));
}

void Tabs::next() {
  if (count() > 1) activate((m_active + 1) % count());
}

void Tabs::activate(int index) {
  m_active = index;
  show(true);
}

void Tabs::show(bool visible) {
  for (int i = 0; i < count(); ++i)
    m_browsers[i]->show(visible && i == m_active ? kHeight - stripHeight() : 0);
}

SDL_Rect Tabs::area(int index) const {
  const int width = std::min(320, kWidth / count());
  return {index * width, 0, width - 4, kStrip};
}

void Tabs::click(SDL_Point point) {
  for (int i = 0; i < count(); ++i)
    if (contains(area(i), point)) return activate(i);
}

void Tabs::draw(Canvas& canvas) const {
  if (stripHeight() == 0) return;
  canvas.fill({0, 0, kWidth, kStrip}, kDark);
  for (int i = 0; i < count(); ++i) {
    const SDL_Rect place = area(i);
    const bool active = i == m_active;
    canvas.fill({place.x, 4, place.w, kStrip - 4}, active ? kGrey : kPanel);
    const Browser& browser = *m_browsers[i];
    const std::string& name = browser.title().empty() ? browser.address() : browser.title();
    canvas.text(name, place.x + 16, 13, 20, active ? kDark : kWhite, place.w - 32);
  }
}

}  // namespace tv
