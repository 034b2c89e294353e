// LarkaWidget.h: the widget class behind the library's hidden view.
// Hosts that include it build with Qt5::Widgets.
#pragma once

#include <QWidget>

#include "larka/Export.h"

namespace LARKA {

/// The viewport of the hidden view that paints the pages: a plain widget under a name of its own,
/// so that a host that walks the toolkit's widgets can tell the library's viewport from its own
/// widgets.
class LARKA_EXPORT LarkaWidget : public QWidget {
 public:
  using QWidget::QWidget;
  ~LarkaWidget() override;
};

}  // namespace LARKA
