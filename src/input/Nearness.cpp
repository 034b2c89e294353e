// SPDX-License-Identifier: MIT
#include "input/Nearness.h"

#include <algorithm>

namespace LARKA {

namespace {

// No page is larger: what is inside comes before all else, and to the left and right what is in the
// same row before what isn't.
const double kInside = -1e9;
const double kOtherRow = 1e9;

// Breaks ties.
const double kOffCentre = 0.1;

struct Interval {
  int start, end;
  int length() const { return end - start; }
  /// How much both have in common; negative for how far they are apart.
  int overlap(const Interval& other) const {
    return std::min(end, other.end) - std::max(start, other.start);
  }
};

/// Whether two things side by side are in the same row.
bool isBeside(const Interval& one, const Interval& other) {
  return 2 * one.overlap(other) > std::min(one.length(), other.length());
}

/// A rectangle as seen by someone who looks in a direction.
struct Seen {
  Interval ahead;
  Interval across;
};

Seen seen(const QRect& rect, Directions direction) {
  const Interval x = {rect.x(), rect.x() + rect.width()};
  const Interval y = {rect.y(), rect.y() + rect.height()};
  switch (direction) {
    case DIRECTION_DOWN:
      return {y, x};
    case DIRECTION_UP:
      return {{-y.end, -y.start}, x};
    case DIRECTION_RIGHT:
      return {x, y};
    default:
      return {{-x.end, -x.start}, y};
  }
}

/// How far the middle of `from` is from `to`.
double offCentre(const Interval& from, const Interval& to) {
  const double middle = (from.start + from.end) / 2.0;
  return std::max({0.0, to.start - middle, middle - to.end});
}

bool isAhead(const Seen& from, const Seen& to) {
  if (to.ahead.end <= from.ahead.end) return false;
  if (to.ahead.start + to.ahead.end < from.ahead.start + from.ahead.end) return false;
  return !isBeside(from.ahead, to.ahead) || from.across.overlap(to.across) > 0;
}

}  // namespace

std::optional<Nearness> nearness(const QRect& from, const QRect& to, Directions direction) {
  if (to.contains(from)) return std::nullopt;
  const Seen start = seen(from, direction), end = seen(to, direction);
  if (from.contains(to)) {
    const int fromCorner = end.across.start - start.across.start;
    return Nearness{kInside + end.ahead.start - start.ahead.start + kOffCentre * fromCorner, true};
  }
  if (!isAhead(start, end)) return std::nullopt;
  const int gap = std::max(0, -start.ahead.overlap(end.ahead));
  const int aside = std::max(0, -start.across.overlap(end.across));
  const double distance = gap + aside + kOffCentre * offCentre(start.across, end.across);
  if (isVertical(direction)) return Nearness{distance, aside <= gap};
  if (2 * aside > gap) return std::nullopt;
  return Nearness{isBeside(start.across, end.across) ? distance : kOtherRow + distance, true};
}

}  // namespace LARKA
