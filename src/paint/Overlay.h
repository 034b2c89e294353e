// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

class QPainter;

namespace LARKA {

/// What is drawn over a page. Positions are pixels of the view.
class Overlay : public QObject {
 public:
  using QObject::QObject;

  /// Called before a paint, when the page may have moved.
  virtual void follow() = 0;

  virtual void paint(QPainter* painter) = 0;
};

}  // namespace LARKA
