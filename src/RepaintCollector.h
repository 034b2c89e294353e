// RepaintCollector.h: gathers rectangles and tells when there is something new.
#pragma once

#include <QObject>
#include <QRect>
#include <QRegion>

/// Collects the rectangles it is given into one region.
class RepaintCollector : public QObject {
  Q_OBJECT

 public:
  explicit RepaintCollector(QObject* parent) : QObject(parent) {}

 signals:
  /// The collected region grew.
  void changed();

 public slots:
  void addRect(const QRect& r);

 private:
  QRegion m_region;
};
