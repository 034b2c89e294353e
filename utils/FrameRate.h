// FrameRate.h: counts frames and logs how many there are a second.
#pragma once

#include <ctime>
#include <string>

namespace LARKA {

/// A frame counter that writes the frames per second to the standard error stream.
class FrameRate {
 public:
  /// `strMeasuringLocation` is the label that is printed; `nPrintInterval` the seconds between two
  /// reports, 0 for none.
  FrameRate(const std::string& strMeasuringLocation, int nPrintInterval);

  /// Counts one frame, after reporting if a report is due.
  void Frame();

 private:
  std::string m_strMeasuringLocation;
  int m_nPrintInterval;
  time_t m_nLastCheck;
  int m_nFrames;
};

}  // namespace LARKA
