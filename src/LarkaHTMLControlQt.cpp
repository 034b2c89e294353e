#include "LarkaHTMLControlQt.h"

namespace LARKA {

LarkaHTMLControl::LarkaHTMLControl() : d(new LarkaHTMLControlPrivate) {}

LarkaHTMLControl::LarkaHTMLControl(LarkaHTMLControlPrivate* d, bool adopt)
    : d(adopt ? d : retained(d)) {}

LarkaHTMLControl::LarkaHTMLControl(const LarkaHTMLControl& other) : d(retained(other.d)) {}

LarkaHTMLControl& LarkaHTMLControl::operator=(const LarkaHTMLControl& other) {
  LarkaHTMLControlPrivate* old = d;
  d = retained(other.d);
  release(old);
  return *this;
}

LarkaHTMLControl::~LarkaHTMLControl() { release(d); }

}  // namespace LARKA
