// ShotKeys.h: the keys that a person names on the command line.
#pragma once

#include <string>
#include <vector>

/// A key in the numbering of larka/KeyCodes.h.
struct ShotKey {
  int code = 0;
  int modifiers = 0;
};

/// Appends the keys that `text` lists, separated by commas or blanks: "tab,shift+a,é,273". Where a
/// word is no key, or there is none, it returns false and leaves that of `text`.
bool parseKeys(std::string& text, std::vector<ShotKey>* keys);
