// LarkaHTMLControlQt.h: the record behind LarkaHTMLControl.
#pragma once

#include <QWebElement>

#include "SharedRecord.h"
#include "larka/LarkaHTMLControl.h"

namespace LARKA {

class LarkaHTMLControlPrivate : public SharedRecord {
 public:
  QWebElement element;
};

}  // namespace LARKA
