// RepaintCollector.h: gathers rectangles and tells when there is something new.
// Hosts that include it build with Qt5::Gui.
#pragma once

#include <QObject>
#include <QRect>
#include <QRegion>

#include "larka/Export.h"

/// Collects the rectangles it is given into one region, for hosts that gather repaints of their
/// own. The library makes none. It belongs to its parent.
class LARKA_EXPORT RepaintCollector : public QObject {
  Q_OBJECT

 public:
  /// An empty region.
  explicit RepaintCollector(QObject* parent);
  ~RepaintCollector() override;

 signals:
  /// The collected region grew.
  void changed();

 public slots:
  /// Adds a rectangle; one that the region covers already, or an empty one, changes nothing.
  void addRect(const QRect& r);

 private:
  QRegion m_region;
};
