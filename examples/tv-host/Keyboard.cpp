#include "Keyboard.h"

#include <utility>

#include "Utf8.h"
#include "Window.h"

namespace tv {

namespace {

constexpr int kColumns = 10, kRows = 4, kLetters = 0, kSymbols = 1, kGreek = 2;
constexpr int kCapWidth = 107, kCapHeight = 50, kGap = 8, kLeft = 69, kFirstRow = 424;

// Each page without and with shift. A row has ten characters.
const char* const kPages[][2][kRows] = {{{"1234567890", "qwertyuiop", "asdfghjkl-", "zxcvbnm,.@"},
                                         {"1234567890", "QWERTYUIOP", "ASDFGHJKL_", "ZXCVBNM;:/"}},
                                        {{"1234567890", "!\"#$%&'()=", "+-*/\\|_:;?", "<>[]{}~^€😀"},
                                         {"1234567890", "¡¢£¥§©®°±²", "äöüßåæøçñé", "ÄÖÜẞÅÆØÇÑÉ"}},
                                        {{"1234567890", "ςερτυθιοπώ", "ασδφγηξκλό", "ζχψωβνμάέί"},
                                         {"1234567890", "ΣΕΡΤΥΘΙΟΠΏ", "ΑΣΔΦΓΗΞΚΛΌ", "ΖΧΨΩΒΝΜΆΈΊ"}}};

SDL_Rect capArea(int row, int column, int columns = 1) {
  return {kLeft + column * (kCapWidth + kGap), kFirstRow + row * (kCapHeight + kGap),
          columns * (kCapWidth + kGap) - kGap, kCapHeight};
}

}  // namespace

Keyboard::Keyboard() { lay(); }

void Keyboard::open(std::shared_ptr<TextTarget> target) {
  m_target = std::move(target);
  m_page = kLetters;
  m_shift = false;
  m_focus = kColumns;  // "q"
  lay();
}

std::string Keyboard::text() const {
  return m_target ? m_target->beforeCaret() + m_target->afterCaret() : std::string();
}

void Keyboard::lay() {
  m_areas.clear();
  m_caps.clear();
  for (int row = 0; row < kRows; ++row) {
    std::string rest = kPages[m_page][m_shift ? 1 : 0][row];
    for (int column = 0; column < kColumns; ++column) {
      const std::string character = firstOf(rest, 1);
      add(capArea(row, column), character);
      rest.erase(0, character.size());
    }
  }
  add(capArea(kRows, 0), "Shift", &Keyboard::shift);
  add(capArea(kRows, 1), m_page == kSymbols ? "abc" : "!#€", &Keyboard::symbols);
  add(capArea(kRows, 2), m_page == kGreek ? "abc" : "αβγ", &Keyboard::greek);
  add(capArea(kRows, 3, 3), "Space", &Keyboard::space);
  add(capArea(kRows, 6), "Delete", &Keyboard::erase);
  add(capArea(kRows, 7), "Enter", &Keyboard::enter);
  add(capArea(kRows, 8, 2), "Done", &Keyboard::close);
}

void Keyboard::add(const SDL_Rect& area, const std::string& label, void (Keyboard::*action)()) {
  m_areas.push_back(area);
  m_caps.push_back({label, action});
}

void Keyboard::press(Key key) {
  if (key == Key::Back) return close();
  if (key == Key::Ok) return strike(m_focus);
  m_focus = neighbour(m_areas, m_focus, key);
}

void Keyboard::click(SDL_Point point) {
  const int index = areaAt(m_areas, point);
  if (index < 0) return;
  m_focus = index;
  strike(index);
}

void Keyboard::strike(int index) {
  const Cap cap = m_caps[index];
  if (cap.action) return (this->*cap.action)();
  type(cap.label);
}

// What is typed may close the keyboard: the target stays until it has heard all.
void Keyboard::type(const std::string& text) {
  const std::shared_ptr<TextTarget> target = m_target;
  if (target) target->insert(text);
}

void Keyboard::erase() {
  const std::shared_ptr<TextTarget> target = m_target;
  if (target) target->erase();
}

void Keyboard::enter() {
  const std::shared_ptr<TextTarget> target = m_target;
  if (target) target->enter();
}

void Keyboard::space() { type(" "); }

void Keyboard::shift() {
  m_shift = !m_shift;
  lay();
}

void Keyboard::symbols() {
  m_page = m_page == kSymbols ? kLetters : kSymbols;
  lay();
}

void Keyboard::greek() {
  m_page = m_page == kGreek ? kLetters : kGreek;
  lay();
}

void Keyboard::draw(Canvas& canvas) const {
  if (!m_target) return;
  canvas.fill({0, kTop, kWidth, kHeight - kTop}, kDark);
  canvas.fill({0, kTop, kWidth, 2}, kPanel);
  const int end = kLeft + 14 + canvas.text(m_target->beforeCaret(), kLeft + 14, 370, 26, kWhite);
  canvas.fill({end + 1, 368, 3, 36}, kGold);
  canvas.text(m_target->afterCaret(), end + 5, 370, 26, kWhite);
  for (std::size_t i = 0; i < m_areas.size(); ++i) {
    const bool focused = static_cast<int>(i) == m_focus;
    const bool held = m_shift && m_caps[i].label == "Shift";
    canvas.fillRounded(m_areas[i], 10, focused ? kGold : held ? kGrey : kPanel);
    canvas.label(m_caps[i].label, m_areas[i], 24, focused || held ? kDark : kWhite);
  }
}

}  // namespace tv
