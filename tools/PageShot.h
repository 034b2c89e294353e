// PageShot.h: one page, on its way from its address to its file.
#pragma once

#include <QImage>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "ShotOptions.h"
#include "larka/larka.h"

/// What became of a page.
struct Outcome {
  std::string error;  // why there is no image; empty when there is one
  std::string doubt;  // why the page in the image may be incomplete; empty when it is complete
  std::string scriptValue;  // what the script of the options gave
  std::string scriptError;  // why that script failed; empty if it didn't
  double seconds = 0;
};

/// Returns what is wrong with a page that can't even be asked for, or an empty text.
std::string whatIsWrongWith(const Shot& shot);

/// Loads one page in a browser of its own and writes its image once it has come to rest. Drive it
/// by pumping the manager's events and calling advance() until that returns true.
class PageShot : private LARKA::CallbacksAdapter, private LARKA::IExtraCallbacks {
 public:
  using Clock = std::chrono::steady_clock;

  /// Both `options` and `shot` must outlive this object. The manager's engine process need not have
  /// started yet.
  PageShot(LARKA::BrowserManager* manager, const ShotOptions& options, const Shot& shot);
  ~PageShot() override;
  PageShot(const PageShot&) = delete;
  PageShot& operator=(const PageShot&) = delete;

  /// Goes on after a pump; `turn` is the time since the pump before. Returns whether the page is
  /// done with.
  bool advance(Clock::duration turn);

  /// How long to wait before the next pump: the longer, the longer nothing has happened.
  std::chrono::microseconds pause() const;
  static std::chrono::microseconds longestPause();

  /// What became of the page, once it is done with.
  Outcome outcome() const;

  /// Whether it saw the engine process start.
  bool sawEngineStart() const { return m_sawEngineStart; }

  /// Whether the page may still be busy, although it is done with: its engine process is of no use
  /// to others.
  bool isStuck() const { return m_stuck; }

 private:
  enum State { kLoading, kFailing, kWaiting, kSettling, kPressing, kDone };

  void OnLoadStarted() override { enter(kLoading); }
  void OnLoadFinished(bool ok) override;
  void OnLoadProgress(int) override { noteActivity(); }
  void OnTitleChanged(const char*) override { noteActivity(); }
  void OnUrlChanged(const char*) override;
  void OnCreatingRequest(const char*) override;
  void OnDirty(LARKA::ILarkaBrowser*) override;
  void OnJavaScriptAlert(const char* message) override;
  bool OnJavaScriptConfirm(const char*) override;
  std::string OnJavaScriptPrompt(const char*, const char*, bool*) override;
  void OnEngineState(LARKA::ILarkaBrowser*, LARKA::EngineState) override;

  void enter(State state);
  void noteActivity();
  void noteDialog();
  void act();
  void giveUp(const std::string& why);
  void finish(const std::string& error);
  bool hasPage() const;
  std::string loadFailure() const;
  void awaitEngine();
  bool isLate() const;
  bool isRestless() const;
  bool hasMoreToDo() const;
  bool settled();
  std::optional<Clock::duration> timersLeft();
  void setUpNetwork();
  void goOn();
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

  bool m_isBusy = false;     // whether it has running requests
  bool m_hadDialog = false;  // of its script
  bool m_stuck = false;

  // The engine process.
  bool m_sawEngineStart = false, m_isSilent = false;
  Clock::time_point m_silentSince;

  bool m_arrived = false;                // whether the page has an address, and with it content
  bool m_loaded = false;                 // whether a load has ended well
  std::optional<uint64_t> m_firstImage;  // the fingerprint of what the first paint gave
  bool m_repainted = false;              // whether a later one gave something else
};
