// One browser with all that the host knows of it. To lift: the listener, which turns Larka's events
// into a state that can be drawn at any time, and passes on what only the host can answer.
#pragma once

#include <larka/larka.h>

#include <string>
#include <vector>

#include "FilmPlayer.h"
#include "PluginHole.h"
#include "Remote.h"
#include "Texture.h"

namespace tv {

class Browser;

// What a browser needs from its host.
class BrowserOwner {
 public:
  virtual ~BrowserOwner() = default;

  // Its picture changed; so many bytes were uploaded.
  virtual void onPicture(long long bytes) = 0;
  // Its title, address or progress changed.
  virtual void onState(Browser& browser) = 0;
  // It is about to leave its page, which can be seen once more.
  virtual void onLeaving(const Browser& browser) = 0;
  // Its textField() changed.
  virtual void onTextField(const Browser& browser) = 0;
  virtual void onWindowWanted(const std::string& address) = 0;
  // The page waits in these: they return the viewer's answer.
  virtual void alert(const std::string& text) = 0;
  virtual bool confirm(const std::string& text) = 0;
  virtual bool prompt(const std::string& text, std::string& answer) = 0;
  virtual std::string command(const std::string& text) = 0;
};

class Browser : public LARKA::CallbacksAdapter, public LARKA::IExtraCallbacks {
 public:
  // With `transparent` the host shows something under the page.
  Browser(LARKA::BrowserManager& manager, BrowserOwner& owner, SDL_Renderer* renderer,
          bool transparent);
  ~Browser() override;
  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;

  LARKA::ILarkaBrowser* larka() const { return m_larka; }
  const Texture& texture() const { return m_texture; }
  // Whether something of the host's shows through the page.
  bool seeThrough() const;
  const std::string& title() const { return m_title; }
  const std::string& address() const { return m_address; }
  const LARKA::LoadError& error() const { return m_error; }
  // The field that the viewer can write into.
  const LARKA::TextField& textField() const { return m_field; }
  bool writable() const { return m_field.kind != LARKA::TEXT_NONE && !m_field.readOnly; }
  // What of the page the host has to fill.
  const std::vector<PluginHole>& holes() const { return m_holes; }
  bool loading() const { return m_progress < 100; }
  int progress() const { return m_progress; }
  // Whether the engine process doesn't answer, for example because a page's script never ends.
  bool silent() const { return m_silent; }

  void open(const std::string& address);
  // Shows it in `height` rows, or none: a browser that isn't seen rests. If its page was lost with
  // the engine process, it loads again once it is shown.
  void show(int height);
  // Presses and releases a key, and a press of the pointer's button.
  void press(int key);
  void click(SDL_Point point, bool down);
  // Returns the value of a script as JSON; empty if it failed.
  std::string evaluate(const std::string& script) const;

  void OnLoadStarted() override;
  void OnLoadProgress(int percent) override;
  void OnLoadFinished(bool ok) override;
  void OnTitleChanged(const char* title) override;
  void OnUrlChanged(const char* url) override;
  void OnDirty(LARKA::ILarkaBrowser* browser) override;
  void OnCreateWindow(bool modal, const char* url) override;
  void OnJavaScriptAlert(const char* message) override;
  bool OnJavaScriptConfirm(const char* message) override;
  std::string OnJavaScriptPrompt(const char* message, const char* defaultValue,
                                 bool* handled) override;
  std::string OnExecuteInLarka(const char* command) override;
  void OnMediaRequest(LARKA::ILarkaBrowser* browser, LARKA::LarkaPluginWidget* player,
                      LARKA::MediaAction action, double value) override;
  void OnTextField(LARKA::ILarkaBrowser* browser, const LARKA::TextField& field) override;
  void OnEngineState(LARKA::ILarkaBrowser* browser, LARKA::EngineState state) override;

 private:
  LARKA::BrowserManager& m_manager;
  BrowserOwner& m_owner;
  const bool m_transparent;
  LARKA::ILarkaBrowser* m_larka;
  Texture m_texture;
  FilmPlayer m_films;
  std::vector<PluginHole> m_holes;
  std::string m_title, m_address;
  LARKA::LoadError m_error;
  LARKA::TextField m_field;
  int m_progress = 100;
  bool m_shown = false, m_silent = false;
  bool m_lost = false;  // whether its page was lost
};

}  // namespace tv
