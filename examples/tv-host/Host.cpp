#include "Host.h"

#include <algorithm>
#include <cstdlib>

#include "TestPicture.h"
#include "TextTargets.h"
#include "Utf8.h"

namespace tv {

namespace {

int scrollKey(Key arrow) {
  switch (arrow) {
    case Key::Up:
      return LARKA::KEYCODE_UP;
    case Key::Down:
      return LARKA::KEYCODE_DOWN;
    case Key::Left:
      return LARKA::KEYCODE_LEFT;
    default:
      return LARKA::KEYCODE_RIGHT;
  }
}

LARKA::Directions directionOf(Key arrow) {
  switch (arrow) {
    case Key::Up:
      return LARKA::DIRECTION_UP;
    case Key::Down:
      return LARKA::DIRECTION_DOWN;
    case Key::Left:
      return LARKA::DIRECTION_LEFT;
    default:
      return LARKA::DIRECTION_RIGHT;
  }
}

const char* colourOf(Key key) {
  switch (key) {
    case Key::Red:
      return "red";
    case Key::Green:
      return "green";
    case Key::Yellow:
      return "yellow";
    default:
      return "blue";
  }
}

}  // namespace

Host::Host(LARKA::BrowserManager& manager, const Options& options)
    : m_manager(manager),
      m_options(options),
      m_script(options.script),
      m_window(options.fullScreen),
      m_canvas(m_window.renderer(), options.font),
      m_pace(options.stats),
      m_tabs(manager, *this, m_window.renderer()),
      m_start(options.demo) {
  if (!options.address.empty()) go(addressOf(options.address));
}

Host::~Host() = default;

// The loop.

int Host::run() {
  while (!m_closing) frame(true);
  return m_script.failed() ? 1 : 0;
}

// One pass of the loop. With `pumped` the pages go on, too.
void Host::frame(bool pumped) {
  SDL_Event event;
  if (SDL_WaitEventTimeout(&event, m_pace.patience()) != 0) {
    do handle(event);
    while (SDL_PollEvent(&event) != 0);
  }
  if (pumped) m_manager.PumpEvents();
  m_script.play(*this);
  const Browser* browser = shownBrowser();
  const bool playing = browser && !browser->holes().empty();
  if (m_screen == Screen::Television || playing || m_script.playing()) m_pace.moves();
  if (!m_pace.due()) return;
  draw();
  m_window.present();
  m_pace.shown();
  m_pace.report();
}

// Shows a dialog until the viewer has answered. The page waits meanwhile, inside its script, and so
// the library isn't pumped: nothing else of it can happen while this is on the stack.
bool Host::ask(Dialog& dialog) {
  // The window is closed, and a page that asks again and again would keep it open for ever.
  if (m_closing && ++m_refused > 100) std::_Exit(EXIT_SUCCESS);
  Dialog* outer = m_dialog;
  m_dialog = &dialog;
  while (!dialog.answered() && !m_closing) frame(false);
  m_dialog = outer;
  return dialog.accepted();
}

void Host::close() { m_closing = true; }

// What the viewer does.

void Host::handle(const SDL_Event& event) {
  m_pace.moves();
  switch (event.type) {
    case SDL_QUIT:
      return close();
    case SDL_KEYDOWN:
      return pressCode(event.key.keysym.sym, event.key.repeat != 0);
    case SDL_TEXTINPUT:
      return type(event.text.text);
    case SDL_MOUSEMOTION:
      return pointTo({event.motion.x, event.motion.y});
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
      if (event.button.button == SDL_BUTTON_LEFT)
        click({event.button.x, event.button.y}, event.type == SDL_MOUSEBUTTONDOWN);
      return;
    case SDL_MOUSEWHEEL:
      return wheel(event.wheel.y);
    default:
      return;
  }
}

// A key that is held repeats, unless it chooses or leaves something.
void Host::pressCode(SDL_Keycode code, bool repeated) {
  if (code == SDLK_BACKSPACE && eraseTyped()) return;
  const Press pressed = pressOf(code);
  const bool once = pressed.key == Key::Ok || pressed.key == Key::Back;
  if (!repeated || !once) press(pressed);
}

void Host::press(Press press) {
  if (press.key == Key::None) return;
  if (press.key == Key::FullScreen) return m_window.toggleFullScreen();
  if (press.key == Key::VolumeUp || press.key == Key::VolumeDown)
    return changeVolume(press.key == Key::VolumeUp ? 5 : -5);
  if (m_dialog) return m_dialog->press(press.key);
  if (press.key == Key::Home) return home();
  if (m_screen == Screen::Start) return go(m_start.press(press.key));
  if (m_keyboard.isOpen()) return m_keyboard.press(press.key);
  pressInPage(press);
}

void Host::pressInPage(Press press) {
  Browser& browser = *shownBrowser();
  if (browser.silent()) return press.key == Key::Back ? home() : void();
  if (m_screen == Screen::Page && pressOnTabs(press.key)) return;
  if (browser.error().kind != LARKA::LOAD_OK) return choose(m_error.press(press.key));
  switch (press.key) {
    case Key::Ok:
      return pressOk(browser);
    case Key::Back:
      return back(browser);
    case Key::PageUp:
      return browser.press(LARKA::KEYCODE_PAGE_UP);
    case Key::PageDown:
      return browser.press(LARKA::KEYCODE_PAGE_DOWN);
    case Key::Digit:
      return browser.press(LARKA::KEYCODE_0 + press.digit);
    case Key::Red:
    case Key::Green:
    case Key::Yellow:
    case Key::Blue:
      browser.evaluate("window.onColourKey && onColourKey('" + std::string(colourOf(press.key)) +
                       "')");
      return;
    default:
      return move(browser, press.key);
  }
}

// Returns whether the key was for the tabs.
bool Host::pressOnTabs(Key key) {
  if (key == Key::NextTab) m_tabs.next();
  if (key == Key::CloseTab && m_tabs.count() > 1) m_tabs.close();
  return key == Key::NextTab || key == Key::CloseTab;
}

void Host::pressOk(Browser& browser) {
  if (browser.writable()) return openKeyboardFor(browser);
  if (!LARKA::PressFocused(browser.larka())) browser.press(LARKA::KEYCODE_RETURN);
}

void Host::move(Browser& browser, Key arrow) {
  if (!LARKA::MoveFocus(browser.larka(), directionOf(arrow))) browser.press(scrollKey(arrow));
}

// Back leaves what is innermost: a list, the full screen of an element, the page, the tab, the
// screen.
void Host::back(Browser& browser) {
  if (LARKA::CloseList(browser.larka()) || LARKA::LeaveFullScreen(browser.larka())) return;
  if (!browser.larka()->GetPrevLocation().empty()) return browser.larka()->Back();
  if (m_screen == Screen::Page && m_tabs.count() > 1) return m_tabs.close();
  home();
}

// A page that doesn't answer may never do.
void Host::home() {
  const Browser* left = shownBrowser();
  const bool silent = left && left->silent();
  m_keyboard.close();
  m_start.keyboard().close();
  if (m_screen == Screen::Page && m_tabs.active()) m_start.remember(*m_tabs.active());
  m_tabs.show(false);
  m_overlay.reset();
  m_screen = Screen::Start;
  if (silent) LARKA::EndEngine(&m_manager);
}

void Host::changeVolume(int by) {
  m_commands.changeVolume(by);
  m_info.touchVolume();
  const std::string message = "{\"volume\": " + std::to_string(m_commands.volume()) + "}";
  if (const Browser* browser = shownBrowser())
    LARKA::PostMessageToPage(browser->larka(), message.c_str());
}

// Text from a keyboard goes where the on-screen keyboard types.
void Host::type(const std::string& text) {
  if (Keyboard* keyboard = openKeyboard()) keyboard->type(text);
}

bool Host::eraseTyped() {
  Keyboard* keyboard = openKeyboard();
  if (keyboard) keyboard->erase();
  return keyboard;
}

void Host::pointTo(SDL_Point point) {
  Browser* browser = shownBrowser();
  if (!browser || m_dialog) return;
  const SDL_Point there = inPage(point);
  browser->larka()->MouseMove(there.x, there.y, 0);
}

void Host::click(SDL_Point point, bool down) {
  if (m_dialog) return down ? m_dialog->click(point) : void();
  if (m_screen == Screen::Start) return down ? go(m_start.click(point)) : void();
  if (m_keyboard.isOpen() && point.y >= Keyboard::kTop)
    return down ? m_keyboard.click(point) : void();
  if (m_screen == Screen::Page && point.y < m_tabs.stripHeight()) {
    m_keyboard.close();
    return down ? m_tabs.click(point) : void();
  }
  Browser& browser = *shownBrowser();
  if (browser.error().kind != LARKA::LOAD_OK) return down ? choose(m_error.click(point)) : void();
  browser.click(inPage(point), down);
  if (!down && shownBrowser() == &browser) openKeyboardFor(browser);
}

void Host::wheel(int notches) {
  Browser* browser = shownBrowser();
  if (browser && !m_dialog) browser->larka()->MouseWheel(LARKA::DIRECTION_UP, 120 * notches, 0);
}

// The screens.

Browser* Host::shownBrowser() const {
  if (m_screen == Screen::Page) return m_tabs.active();
  return m_screen == Screen::Television ? m_overlay.get() : nullptr;
}

// Returns the keyboard that is on the screen, or null.
Keyboard* Host::openKeyboard() {
  if (m_dialog) return m_dialog->keyboard();
  Keyboard& keyboard = m_screen == Screen::Start ? m_start.keyboard() : m_keyboard;
  return keyboard.isOpen() ? &keyboard : nullptr;
}

// Goes where the start screen was asked to; nowhere if that is empty.
void Host::go(const std::string& choice) {
  if (choice.empty()) return;
  if (choice != StartScreen::kTelevision) {
    m_screen = Screen::Page;
    return m_tabs.open(choice);
  }
  m_screen = Screen::Television;
  m_overlay = std::make_unique<Browser>(m_manager, *this, m_window.renderer(), true);
  m_overlay->open("file://" + m_options.demo + "/overlay.html");
}

void Host::choose(ErrorScreen::Choice choice) {
  Browser& browser = *shownBrowser();
  if (choice == ErrorScreen::Choice::TryAgain) {
    LARKA::RestartEngine(&m_manager);  // where that is what was wrong
    browser.open(browser.error().address);
  }
  if (choice == ErrorScreen::Choice::Leave) back(browser);
}

void Host::openKeyboardFor(const Browser& browser) {
  if (browser.writable() && !m_keyboard.isOpen())
    m_keyboard.open(std::make_shared<PageText>(browser));
}

// The page is below the tabs. The keyboard lifts it so far that the field that it types into can be
// seen.
SDL_Rect Host::pageArea() const {
  const int top = m_screen == Screen::Page ? m_tabs.stripHeight() : 0;
  SDL_Rect area = {0, top, kWidth, kHeight - top};
  if (!m_keyboard.isOpen()) return area;
  const LARKA::Rectangle& field = shownBrowser()->textField().area;
  area.y -= std::max(top + field.y + field.height + 24 - Keyboard::kTop, 0);
  return area;
}

SDL_Point Host::inPage(SDL_Point point) const { return {point.x, point.y - pageArea().y}; }

void Host::draw() {
  const Browser* browser = shownBrowser();
  if (m_screen == Screen::Start) m_start.draw(m_canvas);
  if (m_screen == Screen::Television) drawLiveTelevision(m_canvas, kScreen);
  if (browser) drawPage(*browser);
  m_info.drawVolume(m_canvas, m_commands.volume());
  if (m_dialog) m_dialog->draw(m_canvas);
}

void Host::drawPage(const Browser& browser) {
  const SDL_Rect area = pageArea();
  if (m_screen == Screen::Page) m_canvas.fill(kScreen, kDark);
  drawHoles(browser, true);
  browser.texture().draw(area, browser.seeThrough());
  drawHoles(browser, false);
  if (browser.error().kind != LARKA::LOAD_OK)
    m_error.draw(m_canvas, browser.error());
  else if (m_screen == Screen::Page)
    m_info.drawPage(m_canvas, browser);
  if (m_screen == Screen::Page) m_tabs.draw(m_canvas);
  if (!m_dialog) m_keyboard.draw(m_canvas);
}

// A video lies under the page, so that the page can paint over it. A plug-in lies over the page.
void Host::drawHoles(const Browser& browser, bool under) {
  for (const PluginHole& hole : browser.holes()) {
    if (hole.under != under) continue;
    SDL_Rect place = hole.place, clip = hole.visible;
    place.y += pageArea().y;
    clip.y += pageArea().y;
    SDL_RenderSetClipRect(m_window.renderer(), &clip);
    if (const Film* film = static_cast<const Film*>(hole.data))
      drawFilm(m_canvas, place, film->seconds());
    else
      drawLiveTelevision(m_canvas, place);
    SDL_RenderSetClipRect(m_window.renderer(), nullptr);
  }
}

// BrowserOwner

void Host::onPicture(long long bytes) {
  m_pace.moves();
  m_pace.uploaded(bytes);
}

void Host::onState(Browser& browser) {
  m_pace.moves();
  if (&browser != shownBrowser()) return;
  m_info.touchPage();
}

void Host::onLeaving(const Browser& browser) {
  if (&browser != m_overlay.get()) m_start.remember(browser);
}

void Host::onTextField(const Browser& browser) {
  m_pace.moves();
  if (&browser == shownBrowser() && !browser.writable()) m_keyboard.close();
}

// A browser that calls this is not destroyed here: it isn't through yet.
void Host::onWindowWanted(const std::string& address) {
  if (address.empty()) return;
  m_keyboard.close();
  if (m_overlay) m_overlay->show(0);
  m_screen = Screen::Page;
  m_tabs.openNew(address);
}

void Host::alert(const std::string& text) {
  Dialog dialog(Dialog::Kind::Alert, text);
  ask(dialog);
}

bool Host::confirm(const std::string& text) {
  Dialog dialog(Dialog::Kind::Confirm, text);
  return ask(dialog);
}

bool Host::prompt(const std::string& text, std::string& answer) {
  Dialog dialog(Dialog::Kind::Prompt, text, answer);
  const bool accepted = ask(dialog);
  answer = dialog.answer();
  return accepted;
}

std::string Host::command(const std::string& text) {
  const int before = m_commands.volume();
  std::string answer = m_commands.answer(text);
  if (m_commands.volume() != before) m_info.touchVolume();
  return answer;
}

}  // namespace tv
