// SPDX-License-Identifier: MIT
/// @file
/// The class of the library's hidden widget.
#pragma once

#include <QWidget>

#include "larka/Export.h"

namespace LARKA {

/// The viewport of the hidden view that paints the pages. It is a plain widget with a class of its
/// own, so that a host that walks through Qt's widgets can recognise the library's. The library
/// creates and destroys it.
///
/// Hosts that include this header build with Qt5::Widgets.
class LARKA_EXPORT LarkaWidget : public QWidget {
 public:
  using QWidget::QWidget;
  ~LarkaWidget() override;
};

}  // namespace LARKA
