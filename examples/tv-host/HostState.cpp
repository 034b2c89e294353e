// What scripts see of the host.
#include <algorithm>
#include <cstdio>

#include "Host.h"

namespace tv {

namespace {

std::string textOf(const SDL_Rect& area) {
  return std::to_string(area.x) + "," + std::to_string(area.y) + " " + std::to_string(area.w) +
         "x" + std::to_string(area.h);
}

std::string textOf(const Dialog* dialog) {
  if (!dialog) return "none";
  static const char* const names[] = {"alert: ", "confirm: ", "prompt: "};
  return names[static_cast<int>(dialog->kind())] + dialog->text();
}

// A string of JSON without its quotes.
std::string plain(const std::string& json) {
  return json.size() > 1 && json.front() == '"' ? json.substr(1, json.size() - 2) : json;
}

}  // namespace

std::string Host::screenName() const {
  const Browser* browser = shownBrowser();
  if (browser && browser->error().kind != LARKA::LOAD_OK) return "error";
  static const char* const names[] = {"start", "page", "television"};
  return names[static_cast<int>(m_screen)];
}

std::string Host::pageState(const Browser& browser, const std::string& name) const {
  if (name == "address") return browser.address();
  if (name == "title") return browser.title();
  if (name == "loading") return browser.loading() ? "yes" : "no";
  if (name == "error") return browser.error().text;
  if (name == "silent") return browser.silent() ? "yes" : "no";
  if (name == "list") return LARKA::IsListOpen(browser.larka()) ? "open" : "closed";
  if (name == "hole") return browser.holes().empty() ? "none" : textOf(browser.holes()[0].visible);
  if (name == "focus") return plain(browser.evaluate("document.activeElement.id"));
  if (name.rfind("script ", 0) == 0) return plain(browser.evaluate(name.substr(7)));
  return "unknown state";
}

// The states of the host, and otherwise of the page that is shown.
std::string Host::state(const std::string& name) {
  SDL_Point at = {};
  if (sscanf(name.c_str(), "colour %d %d", &at.x, &at.y) == 2) {
    draw();
    return m_window.colourAt(at);
  }
  const Keyboard* keyboard = openKeyboard();
  if (name == "screen") return screenName();
  if (name == "tile") return m_start.focused();
  if (name == "dialog") return textOf(m_dialog);
  if (name == "keyboard") return keyboard ? "open" : "closed";
  if (name == "text") return keyboard ? keyboard->text() : std::string();
  if (name == "tabs") return std::to_string(m_tabs.count());
  if (name == "tab") return std::to_string(m_tabs.activeIndex() + 1);
  if (name == "volume") return std::to_string(m_commands.volume());
  const Browser* browser = shownBrowser();
  return browser ? pageState(*browser, name) : "no page";
}

bool Host::takePicture(const std::string& name) {
  draw();
  return m_window.save(m_options.pictures + "/" + name + ".png");
}

}  // namespace tv
