// Plays the films of a page's `video` elements. To lift: what a page expects to hear of its player;
// put your decoder where this one has a clock.
#pragma once

#include <larka/larka.h>

#include <list>

#include "Sdl.h"

namespace tv {

// One film, which has no picture but the time.
class Film {
 public:
  explicit Film(const LARKA::LarkaPluginWidget& element) : m_element(element) {}

  void request(LARKA::MediaAction action, double value);
  void report();
  double seconds() const;
  void close() { m_closed = true; }
  bool isClosed() const { return m_closed; }

 private:
  void setRunning(bool running);

  LARKA::LarkaPluginWidget m_element;
  bool m_running = false, m_closed = false;
  double m_begin = 0;  // where it was when it last began to run
  Uint64 m_since = 0;  // ... and when that was
};

// The films of a browser. A film is the user data of its element.
class FilmPlayer {
 public:
  explicit FilmPlayer(LARKA::BrowserManager& manager);
  ~FilmPlayer();
  FilmPlayer(const FilmPlayer&) = delete;
  FilmPlayer& operator=(const FilmPlayer&) = delete;

  // Call it in OnMediaRequest.
  void request(LARKA::LarkaPluginWidget& element, LARKA::MediaAction action, double value);

 private:
  void report();

  LARKA::BrowserManager& m_manager;
  LARKA::ITimer* m_timer;  // reports where the films are
  std::list<Film> m_films;
};

}  // namespace tv
