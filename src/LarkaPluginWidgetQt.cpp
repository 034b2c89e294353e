#include "LarkaPluginWidgetQt.h"

namespace LARKA {

LarkaPluginWidget::LarkaPluginWidget() : d(new LarkaPluginWidgetPrivate) {}

LarkaPluginWidget::LarkaPluginWidget(LarkaPluginWidgetPrivate* d, bool adopt)
    : d(adopt ? d : retained(d)) {}

LarkaPluginWidget::LarkaPluginWidget(const LarkaPluginWidget& other) : d(retained(other.d)) {}

LarkaPluginWidget& LarkaPluginWidget::operator=(const LarkaPluginWidget& other) {
  LarkaPluginWidgetPrivate* old = d;
  d = retained(other.d);
  release(old);
  return *this;
}

LarkaPluginWidget::~LarkaPluginWidget() { release(d); }

}  // namespace LARKA
