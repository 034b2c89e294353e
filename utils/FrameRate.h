// SPDX-License-Identifier: MIT
#pragma once

#include <ctime>
#include <string>

namespace LARKA {

/// Counts frames and writes the frames per second to the standard error stream.
class FrameRate {
 public:
  /// Creates a counter that prints the label `strMeasuringLocation` with each report.
  /// `nPrintInterval` is the time between two reports in seconds; 0 disables them.
  FrameRate(const std::string& strMeasuringLocation, int nPrintInterval);

  /// Counts one frame. If a report is due, writes it first, without that frame.
  void Frame();

 private:
  std::string m_strMeasuringLocation;
  int m_nPrintInterval;
  time_t m_nLastCheck;
  int m_nFrames;
};

}  // namespace LARKA
