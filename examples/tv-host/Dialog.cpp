#include "Dialog.h"

#include <memory>
#include <utility>

#include "TextTargets.h"
#include "Window.h"

namespace tv {

Dialog::Dialog(Kind kind, std::string text, std::string answer)
    : m_kind(kind), m_text(std::move(text)), m_answer(std::move(answer)) {
  if (Keyboard* keys = keyboard())
    keys->open(std::make_shared<HostText>(m_answer, [this] { end(true); }));
}

SDL_Rect Dialog::panel() const {
  return m_kind == Kind::Prompt ? SDL_Rect{240, 90, 800, 220} : SDL_Rect{240, 200, 800, 300};
}

std::vector<SDL_Rect> Dialog::buttons() const {
  const int y = panel().y + panel().h - 80;
  if (m_kind == Kind::Alert) return {{540, y, 200, 52}};
  return {{420, y, 200, 52}, {660, y, 200, 52}};
}

// In a prompt the keys are the keyboard's. "Done" accepts there, and Back refuses.
void Dialog::press(Key key) {
  if (key == Key::Back || key == Key::Home) return end(false);
  if (Keyboard* keys = keyboard()) {
    keys->press(key);
    if (!keys->isOpen()) end(true);
  } else if (key == Key::Ok) {
    end(m_focus == 0);
  } else {
    m_focus = neighbour(buttons(), m_focus, key);
  }
}

void Dialog::click(SDL_Point point) {
  const int button = areaAt(buttons(), point);
  if (button >= 0) return end(button == 0);
  if (!keyboard()) return;
  m_keyboard.click(point);
  if (!m_keyboard.isOpen()) end(true);
}

void Dialog::end(bool accepted) {
  m_answered = true;
  m_accepted = accepted;
}

void Dialog::draw(Canvas& canvas) const {
  canvas.fill(kScreen, {0, 0, 0, 150});
  const SDL_Rect area = panel();
  canvas.fillRounded(grown(area, 3), 19, kGrey);
  canvas.fillRounded(area, 16, kDark);
  canvas.paragraph(m_text, area.x + 40, area.y + 36, area.w - 80, 28, kWhite);
  const std::vector<SDL_Rect> places = buttons();
  canvas.button("OK", places[0], m_kind != Kind::Prompt && m_focus == 0);
  if (places.size() > 1) canvas.button("Cancel", places[1], m_focus == 1);
  m_keyboard.draw(canvas);
}

}  // namespace tv
