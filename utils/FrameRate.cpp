#include "FrameRate.h"

#include <cstdio>

namespace LARKA {

FrameRate::FrameRate(const std::string& strMeasuringLocation, int nPrintInterval, Writer writer)
    : m_strMeasuringLocation(strMeasuringLocation),
      m_nPrintInterval(nPrintInterval),
      m_writer(writer),
      m_nLastCheck(time(nullptr)),
      m_nFrames(0) {}

void FrameRate::Frame() {
  if (m_nPrintInterval != 0) {
    const time_t now = time(nullptr);
    if (now - m_nLastCheck > m_nPrintInterval) {
      const double dFps = m_nFrames / static_cast<double>(now - m_nLastCheck);
      char line[256];
      snprintf(line, sizeof(line), "-----> %s() FPS: %4.2f\n", m_strMeasuringLocation.c_str(),
               dFps);
      m_writer(line);
      m_nFrames = 0;
      m_nLastCheck = now;
    }
  }
  ++m_nFrames;
}

}  // namespace LARKA
