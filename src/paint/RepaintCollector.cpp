// SPDX-License-Identifier: MIT
#include "larka/RepaintCollector.h"

RepaintCollector::RepaintCollector(QObject* parent) : QObject(parent) {}

RepaintCollector::~RepaintCollector() = default;

void RepaintCollector::addRect(const QRect& r) {
  const QRegion before = m_region;
  m_region += r;
  if (m_region != before) emit changed();
}
