// SPDX-License-Identifier: MIT
#pragma once

#include <QProxyStyle>

namespace LARKA {

/// The style of scroll bars and form controls in pages: Qt's "cleanlooks", or "fusion" if that
/// isn't installed, with scroll bars thin enough for a television screen. The application owns it
/// once it is installed.
class LarkaStyle : public QProxyStyle {
  Q_OBJECT

 public:
  LarkaStyle();

  int pixelMetric(PixelMetric metric, const QStyleOption* option = nullptr,
                  const QWidget* widget = nullptr) const override;
};

}  // namespace LARKA
