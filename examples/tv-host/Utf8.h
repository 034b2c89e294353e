// The few things that a host does with UTF-8 itself.
#pragma once

#include <string>

namespace tv {

// Whether a byte continues a character, rather than begins one.
inline bool continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// Removes the last character.
inline void dropLast(std::string& text) {
  while (!text.empty() && continues(text.back())) text.pop_back();
  if (!text.empty()) text.pop_back();
}

// Returns the first `count` characters.
inline std::string firstOf(const std::string& text, int count) {
  std::size_t end = 0;
  while (end < text.size() && (continues(text[end]) || count-- > 0)) ++end;
  return text.substr(0, end);
}

}  // namespace tv
