// SPDX-License-Identifier: MIT
/// @file
/// A region that grows, for hosts that gather repaints of their own.
#pragma once

#include <QObject>
#include <QRect>
#include <QRegion>

#include "larka/Export.h"

/// Collects rectangles into one region, for hosts that gather repaints of their own. The library
/// implements it, but creates none. The parent owns it.
///
/// Hosts that include this header build with Qt5::Gui.
class LARKA_EXPORT RepaintCollector : public QObject {
  Q_OBJECT

 public:
  /// Creates a collector with an empty region.
  explicit RepaintCollector(QObject* parent);
  ~RepaintCollector() override;

 signals:
  /// Emitted when the region has grown.
  void changed();

 public slots:
  /// Adds a rectangle. Does nothing if it is empty, or if the region covers it already.
  void addRect(const QRect& r);

 private:
  QRegion m_region;
};
