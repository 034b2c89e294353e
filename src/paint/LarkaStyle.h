// LarkaStyle.h: the widget style of scroll bars and form controls in pages.
#pragma once

#include <QProxyStyle>

namespace LARKA {

/// The toolkit's "cleanlooks" style ("fusion" where that isn't installed) with scroll bars thin
/// enough for a television screen. Owned by the application once installed.
class LarkaStyle : public QProxyStyle {
  Q_OBJECT

 public:
  LarkaStyle();

  int pixelMetric(PixelMetric metric, const QStyleOption* option = nullptr,
                  const QWidget* widget = nullptr) const override;
};

}  // namespace LARKA
