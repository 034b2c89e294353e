// LarkaPluginWidgetQt.h: the record behind LarkaPluginWidget.
#pragma once

#include <QWebElement>

#include "SharedRecord.h"
#include "larka/LarkaPluginWidget.h"

namespace LARKA {

class LarkaPluginWidgetPrivate : public SharedRecord {
 public:
  QWebElement element;
};

}  // namespace LARKA
