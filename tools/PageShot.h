// PageShot.h: one page, on its way from its address to its file.
#pragma once

#include <chrono>
#include <string>

#include "ShotOptions.h"
#include "larka/larka.h"

/// Loads one page in a browser of its own and writes its image once it has come to rest. Drive it
/// by pumping the manager's events and calling advance() until that returns true.
class PageShot : private LARKA::CallbacksAdapter {
 public:
  using Clock = std::chrono::steady_clock;

  /// Both `options` and `shot` must outlive this object.
  PageShot(LARKA::BrowserManager* manager, const ShotOptions& options, const Shot& shot);
  ~PageShot() override;
  PageShot(const PageShot&) = delete;
  PageShot& operator=(const PageShot&) = delete;

  /// Whether the page is done with.
  bool advance();

  /// Why there is no image; empty when there is one.
  const std::string& error() const { return m_error; }
  const Shot& shot() const { return m_shot; }
  /// What the script of the options gave.
  const std::string& scriptValue() const { return m_scriptValue; }
  double seconds() const { return std::chrono::duration<double>(m_ended - m_started).count(); }

 private:
  enum State { kLoading, kFailing, kSettling, kPressing, kDone };

  void OnLoadStarted() override { enter(kLoading); }
  void OnLoadFinished(bool ok) override { enter(ok ? kSettling : kFailing); }
  void OnDirty(LARKA::ILarkaBrowser*) override { m_painted = Clock::now(); }

  void enter(State state);
  bool isRestless(Clock::time_point now) const;
  void finish(const std::string& error);
  bool settled(Clock::time_point now) const;
  void setUpNetwork();
  void goOn();
  void pressNextKey();
  std::string write() const;

  LARKA::BrowserManager* m_manager;
  const ShotOptions& m_options;
  const Shot& m_shot;
  LARKA::ILarkaBrowser* m_browser = nullptr;
  State m_state = kLoading;
  std::string m_error;
  std::string m_scriptValue;
  bool m_scriptDone = false;
  size_t m_keysPressed = 0;
  Clock::time_point m_started, m_asked, m_entered, m_painted, m_ended;
};
