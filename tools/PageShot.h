// PageShot.h: one page, on its way from its address to its file.
#pragma once

#include <QImage>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "ShotOptions.h"
#include "ShotWorkers.h"
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

  /// Goes on after a pump; `turn` is the time since the pump before. Returns whether the page is
  /// done with.
  bool advance(Clock::duration turn);

  /// How long to wait before the next pump: the longer, the longer nothing has happened.
  std::chrono::microseconds pause() const;

  /// What became of the page, once it is done with.
  Outcome outcome() const;

 private:
  enum State { kLoading, kFailing, kWaiting, kSettling, kPressing, kDone };

  void OnLoadStarted() override { enter(kLoading); }
  void OnLoadFinished(bool ok) override;
  void OnLoadProgress(int) override { noteActivity(); }
  void OnTitleChanged(const char*) override { noteActivity(); }
  void OnUrlChanged(const char*) override;
  void OnCreatingRequest(const char*) override;
  void OnDirty(LARKA::ILarkaBrowser*) override;

  void enter(State state);
  void noteActivity();
  void act();
  void giveUp(const std::string& why);
  void finish(const std::string& error);
  bool hasPage() const;
  QObject* object() const;
  std::string loadFailure() const;
  bool isRestless() const;
  bool settled();
  Clock::duration timersLeft();
  void setUpNetwork();
  void goOn();
  void runScript();
  void pressNextKey();
  QImage image() const;
  std::string write() const;

  LARKA::BrowserManager* m_manager;
  const ShotOptions& m_options;
  const Shot& m_shot;
  LARKA::ILarkaBrowser* m_browser = nullptr;
  State m_state = kLoading;
  Outcome m_outcome;
  bool m_scriptDone = false;
  size_t m_keysPressed = 0;
  Clock::time_point m_started, m_asked, m_entered, m_ended;

  // Times by the clock that runs only while the page is pumped: see advance().
  Clock::duration m_pumped{};  // now
  Clock::duration m_pumpedEntered{}, m_acted{}, m_waitsUntil{};
  Clock::duration m_active{};  // the last event, or when the last timer is due

  int m_quietPumps = 0;    // since the last event
  bool m_laidOut = false;  // whether the page was since then
  bool m_still = true;     // whether, as far as known, the page can't change without a timer

  bool m_arrived = false;                // whether the page has an address, and with it content
  bool m_loaded = false;                 // whether a load has ended well
  std::optional<uint64_t> m_firstImage;  // the fingerprint of what the first paint gave
  bool m_repainted = false;              // whether a later one gave something else
  bool m_hasTimers = false;  // whether timers that aren't watched were started since the last act
  long m_timers = 0;         // the sum of the numbers of such timers: see timersLeft()
};
