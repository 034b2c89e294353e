// SPDX-License-Identifier: MIT
#include "paint/DirtyRects.h"

#include <algorithm>
#include <utility>

namespace LARKA {

namespace {

// What one more paint costs, in pixels that could be painted instead: 0.15 ms on a page with little
// text. QtWebKit walks the page's tree for each paint, and paints whole runs of text.
const qint64 kPixelsOfAPaint = 80000;

const int kTallestLine = 240;
const int kSharpEdges = 2;
const size_t kMost = 64;  // more only make the comparison slow

qint64 costOf(const DirtyRect& part) {
  return kPixelsOfAPaint + qint64(part.rect.width()) * part.rect.height();
}

/// Returns how far around `rect` a paint has to go. QtWebKit announces the boxes of changed text,
/// but glyphs reach beyond them. How far depends on the font size, which is at most about the
/// height of the box: none of ten fonts, upright or italic, needed more than a fifth of it.
int overhang(const QRect& rect) {
  const int kUsualLine = 100;
  return kSharpEdges + (rect.height() > kTallestLine ? kUsualLine : rect.height()) / 4;
}

DirtyRect merged(const DirtyRect& a, const DirtyRect& b) {
  return {a.rect | b.rect, std::max(a.margin, b.margin)};
}

}  // namespace

void DirtyRects::add(const QRect& rect) {
  if (rect.isEmpty()) return;
  const int margin = overhang(rect);
  add({rect.adjusted(-margin, -margin, margin, margin), margin});
}

void DirtyRects::addExposed(const QRect& rect) {
  add({rect.adjusted(-kSharpEdges, -kSharpEdges, kSharpEdges, kSharpEdges), kTallestLine / 4});
}

void DirtyRects::extend(const QMargins& margins) {
  for (DirtyRect& each : m_rects) each.rect += margins;
}

void DirtyRects::add(const DirtyRect& added) {
  for (const DirtyRect& other : m_rects)
    if (other.rect.contains(added.rect) && other.margin >= added.margin) return;
  m_rects.push_back(added);
  if (m_rects.size() > kMost) m_rects = {bounds()};
}

std::vector<DirtyRect> DirtyRects::take() {
  mergeNeighbours();
  if (m_rects.size() > 1) {
    qint64 apart = 0;
    for (const DirtyRect& each : m_rects) apart += costOf(each);
    if (costOf(bounds()) <= apart) m_rects = {bounds()};
  }
  return std::exchange(m_rects, {});
}

DirtyRect DirtyRects::bounds() const {
  DirtyRect all = m_rects.front();
  for (const DirtyRect& each : m_rects) all = merged(all, each);
  return all;
}

void DirtyRects::mergeNeighbours() {
  for (size_t i = 0; i < m_rects.size(); ++i) {
    for (size_t j = i + 1; j < m_rects.size(); ++j) {
      const DirtyRect both = merged(m_rects[i], m_rects[j]);
      if (costOf(both) > costOf(m_rects[i]) + costOf(m_rects[j])) continue;
      m_rects[i] = both;
      m_rects.erase(m_rects.begin() + static_cast<std::ptrdiff_t>(j));
      j = i;  // the larger one may take in others that were too far away
    }
  }
}

}  // namespace LARKA
