// The host: its loop, its screens and where keys go. To lift: frame() and ask(), the loop with the
// place where the library is pumped and the one where it is not.
#pragma once

#include <larka/larka.h>

#include <memory>
#include <string>

#include "Browser.h"
#include "Canvas.h"
#include "Commands.h"
#include "Dialog.h"
#include "ErrorScreen.h"
#include "InfoBar.h"
#include "Keyboard.h"
#include "Options.h"
#include "Pace.h"
#include "Remote.h"
#include "Script.h"
#include "StartScreen.h"
#include "Tabs.h"
#include "Window.h"

namespace tv {

class Host : public BrowserOwner, public ScriptedHost {
 public:
  // Throws std::runtime_error if something that it needs is missing.
  Host(LARKA::BrowserManager& manager, const Options& options);
  ~Host() override;
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // Runs until the window is closed. Returns the process's exit status.
  int run();

 private:
  enum class Screen { Start, Page, Television };

  // The loop.
  void frame(bool pumped);
  bool ask(Dialog& dialog);
  void close();

  // What the viewer does.
  void handle(const SDL_Event& event);
  void pressCode(SDL_Keycode code, bool repeated);
  void press(Press press);
  void pressInPage(Press press);
  bool pressOnTabs(Key key);
  void pressOk(Browser& browser);
  void move(Browser& browser, Key arrow);
  void back(Browser& browser);
  void home();
  void changeVolume(int by);
  void type(const std::string& text);
  bool eraseTyped();
  void pointTo(SDL_Point point);
  void click(SDL_Point point, bool down);
  void wheel(int notches);

  // The screens.
  Browser* shownBrowser() const;
  Keyboard* openKeyboard();
  void go(const std::string& choice);
  void choose(ErrorScreen::Choice choice);
  void openKeyboardFor(const Browser& browser);
  SDL_Rect pageArea() const;
  SDL_Point inPage(SDL_Point point) const;
  void draw();
  void drawPage(const Browser& browser);
  void drawHoles(const Browser& browser, bool under);

  // BrowserOwner
  void onPicture(long long bytes) override;
  void onState(Browser& browser) override;
  void onLeaving(const Browser& browser) override;
  void onTextField(const Browser& browser) override;
  void onWindowWanted(const std::string& address) override;
  void alert(const std::string& text) override;
  bool confirm(const std::string& text) override;
  bool prompt(const std::string& text, std::string& answer) override;
  std::string command(const std::string& text) override;

  // ScriptedHost
  std::string state(const std::string& name) override;
  std::string screenName() const;
  std::string pageState(const Browser& browser, const std::string& name) const;
  bool takePicture(const std::string& name) override;

  LARKA::BrowserManager& m_manager;
  const Options m_options;
  Script m_script;
  Window m_window;
  Canvas m_canvas;
  Pace m_pace;
  Tabs m_tabs;
  std::unique_ptr<Browser> m_overlay;  // over the television, while that is shown
  StartScreen m_start;
  ErrorScreen m_error;
  InfoBar m_info;
  Commands m_commands;
  Keyboard m_keyboard;    // for the page
  SDL_Rect m_field = {};  // of the page that it types into
  Dialog* m_dialog = nullptr;
  Screen m_screen = Screen::Start;
  bool m_closing = false;
  int m_refused = 0;  // questions of pages since then
};

}  // namespace tv
