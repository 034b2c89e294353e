// When the host's loop draws next, and what `--stats` prints. To lift: the pace, for a host without
// a display clock to wait for.
#pragma once

#include <SDL.h>

namespace tv {

// Sixty frames a second while something moves, and rest while nothing does.
class Pace {
 public:
  explicit Pace(bool printed);

  // How long the loop may wait for events, in milliseconds.
  int patience() const;
  // Whether it is time for the next frame.
  bool due() const;

  // Something changes on the screen, now and probably soon again.
  void moves();
  // A frame was drawn and shown.
  void shown();
  void uploaded(long long bytes) { m_bytes += bytes; }
  // Prints the line of each second, if that is wanted.
  void report();

 private:
  double now() const;  // in seconds
  bool moving() const;

  bool m_printed;
  double m_due = 0;      // when the next frame is
  double m_last = 0;     // when the last one was shown
  double m_moved = -10;  // when something moved last
  double m_reported = 0;
  long long m_bytes = 0;
  int m_frames = 0;
  int m_dropped = 0;
};

}  // namespace tv
