// SPDX-License-Identifier: MIT
#include "paint/LarkaStyle.h"

#include <QStyleFactory>

namespace LARKA {

namespace {

const int kScrollBarExtent = 10;

QStyle* createBaseStyle() {
  QStyle* style = QStyleFactory::create(QStringLiteral("cleanlooks"));
  return style ? style : QStyleFactory::create(QStringLiteral("fusion"));
}

}  // namespace

LarkaStyle::LarkaStyle() : QProxyStyle(createBaseStyle()) {}

int LarkaStyle::pixelMetric(PixelMetric metric, const QStyleOption* option,
                            const QWidget* widget) const {
  if (metric == PM_ScrollBarExtent) return kScrollBarExtent;
  return QProxyStyle::pixelMetric(metric, option, widget);
}

}  // namespace LARKA
