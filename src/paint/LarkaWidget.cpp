// SPDX-License-Identifier: MIT
#include "larka/LarkaWidget.h"

namespace LARKA {

LarkaWidget::~LarkaWidget() = default;

}  // namespace LARKA
