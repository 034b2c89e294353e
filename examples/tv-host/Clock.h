// The time of day.
#pragma once

#include <ctime>
#include <string>

namespace tv {

// Returns the time as "20:15".
inline std::string clockText() {
  const std::time_t now = std::time(nullptr);
  char text[8];
  std::strftime(text, sizeof(text), "%H:%M", std::localtime(&now));
  return text;
}

}  // namespace tv
