// SPDX-License-Identifier: MIT
#pragma once

#include <ctime>
#include <string>

namespace LARKA {

/// Counts frames and reports the frames per second.
class FrameRate {
 public:
  /// Gets a line with its newline.
  using Writer = void (*)(const char* line);

  /// Creates a counter that gives each report, with the label `strMeasuringLocation`, to `writer`.
  /// `nPrintInterval` is the time between two reports in seconds; 0 disables them.
  FrameRate(const std::string& strMeasuringLocation, int nPrintInterval, Writer writer);

  /// Counts one frame. If a report is due, writes it first, without that frame.
  void Frame();

 private:
  std::string m_strMeasuringLocation;
  int m_nPrintInterval;
  Writer m_writer;
  time_t m_nLastCheck;
  int m_nFrames;
};

}  // namespace LARKA
