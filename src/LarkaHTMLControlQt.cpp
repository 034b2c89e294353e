#include "LarkaHTMLControlQt.h"

#include <utility>

namespace LARKA {

LarkaHTMLControl::LarkaHTMLControl() : d(new LarkaHTMLControlPrivate) {}

LarkaHTMLControl::LarkaHTMLControl(LarkaHTMLControlPrivate* d, bool adopt)
    : d(adopt ? d : retained(d)) {}

LarkaHTMLControl::LarkaHTMLControl(const LarkaHTMLControl& other) : d(retained(other.d)) {}

LarkaHTMLControl& LarkaHTMLControl::operator=(const LarkaHTMLControl& other) {
  LarkaHTMLControl copy(other);
  std::swap(d, copy.d);
  return *this;
}

LarkaHTMLControl::~LarkaHTMLControl() { release(d); }

}  // namespace LARKA
