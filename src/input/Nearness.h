// SPDX-License-Identifier: MIT
#pragma once

#include <QRect>
#include <optional>

#include "larka/Directions.h"

namespace LARKA {

/// How near something is in a direction.
struct Nearness {
  double distance = 0;     // to compare, in pixels or far beyond
  bool isStraight = true;  // whether it is rather ahead than aside
};

/// Returns how near `to` is for someone who leaves `from` in a direction; nothing if it isn't in
/// that direction, or if it contains `from`.
///
/// - What is beside `from` isn't above or below it, even if it begins a little higher or lower.
/// - A page is read in rows. To the left and right those in the same row come first, and only those
///   in nearly the same direction count; up and down all do.
/// - What is inside `from` comes before all else, from the side that is left behind.
std::optional<Nearness> nearness(const QRect& from, const QRect& to, Directions direction);

/// Whether pages are read in this direction.
inline bool isForward(Directions direction) {
  return direction == DIRECTION_DOWN || direction == DIRECTION_RIGHT;
}

inline bool isVertical(Directions direction) {
  return direction == DIRECTION_DOWN || direction == DIRECTION_UP;
}

}  // namespace LARKA
