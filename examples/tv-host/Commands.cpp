#include "Commands.h"

#include <larka/Version.h>

#include <algorithm>
#include <cstdlib>

#include "Clock.h"

namespace tv {

void Commands::changeVolume(int by) { m_volume = std::clamp(m_volume + by, 0, 100); }

std::string Commands::answer(const std::string& command) {
  if (command == "clock") return clockText();
  if (command == "version") return LARKA_VERSION_STRING;
  if (command.rfind("volume", 0) != 0) return "unknown command";
  if (command.size() > 7)
    m_volume =
        static_cast<int>(std::clamp(std::strtol(command.c_str() + 7, nullptr, 10), 0L, 100L));
  return std::to_string(m_volume);
}

}  // namespace tv
