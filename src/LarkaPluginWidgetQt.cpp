#include "LarkaPluginWidgetQt.h"

#include <utility>

namespace LARKA {

LarkaPluginWidget::LarkaPluginWidget() : d(new LarkaPluginWidgetPrivate) {}

LarkaPluginWidget::LarkaPluginWidget(LarkaPluginWidgetPrivate* d, bool adopt)
    : d(adopt ? d : retained(d)) {}

LarkaPluginWidget::LarkaPluginWidget(const LarkaPluginWidget& other) : d(retained(other.d)) {}

LarkaPluginWidget& LarkaPluginWidget::operator=(const LarkaPluginWidget& other) {
  LarkaPluginWidget copy(other);
  std::swap(d, copy.d);
  return *this;
}

LarkaPluginWidget::~LarkaPluginWidget() { release(d); }

}  // namespace LARKA
