// SPDX-License-Identifier: MIT
#include "elements/LarkaHTMLControlQt.h"

#include <QUrl>
#include <QVariant>
#include <algorithm>
#include <iterator>
#include <utility>

#include "elements/ElementScript.h"
#include "host/HostEvents.h"
#include "host/HostText.h"

namespace LARKA {

namespace {

const QRect kWholeScreen(0, 0, 1024, 768);

/// What GetControls searches for a kind of control.
struct SearchedTag {
  ControlType type;
  const char* tag;
  const char* inputType;
};

const SearchedTag kSearchedTags[] = {
    {CONTROL_TEXT, "input", "text"},
    {CONTROL_TEXTAREA, "textarea", ""},
    {CONTROL_LABEL, "label", ""},
    {CONTROL_SELECT, "select", ""},
    {CONTROL_SUBMIT, "input", "submit"},
    {CONTROL_RADIO, "input", "radio"},
    {CONTROL_CHECKBOX, "input", "checkbox"},
    {CONTROL_ANCHOR, "a", ""},
    {CONTROL_PASSWORD, "input", "password"},
    {CONTROL_IMAGE, "img", ""},
    {CONTROL_EMBED, "embed", ""},
    {CONTROL_DIV, "div", ""},
};

/// What GetControlType makes of a tag name, or of the type of an input.
struct RecognisedName {
  const char* name;
  ControlType type;
};

const RecognisedName kRecognisedTags[] = {
    {"button", CONTROL_SUBMIT}, {"select", CONTROL_SELECT}, {"textarea", CONTROL_TEXTAREA},
    {"label", CONTROL_LABEL},   {"a", CONTROL_ANCHOR},      {"img", CONTROL_IMAGE},
    {"embed", CONTROL_EMBED},   {"div", CONTROL_DIV},       {"object", CONTROL_OBJECT},
};

const RecognisedName kRecognisedInputs[] = {
    {"text", CONTROL_TEXT},   {"password", CONTROL_PASSWORD}, {"checkbox", CONTROL_CHECKBOX},
    {"radio", CONTROL_RADIO}, {"submit", CONTROL_SUBMIT},     {"reset", CONTROL_SUBMIT},
    {"file", CONTROL_SUBMIT}, {"image", CONTROL_SUBMIT},      {"button", CONTROL_SUBMIT},
};

template <size_t Size>
ControlType recognised(const RecognisedName (&names)[Size], const QString& name,
                       ControlType otherwise) {
  for (const RecognisedName& recognised : names)
    if (name == QLatin1String(recognised.name)) return recognised.type;
  return otherwise;
}

void writeRect(const QRect& rect, int* x, int* y, int* width, int* height) {
  if (x) *x = rect.x();
  if (y) *y = rect.y();
  if (width) *width = extent(rect).width();
  if (height) *height = extent(rect).height();
}

QString latin1(const std::string& text) {
  return QString::fromLatin1(text.data(), static_cast<int>(text.size()));
}

}  // namespace

LarkaHTMLControl::LarkaHTMLControl() : d(new LarkaHTMLControlPrivate) {}

LarkaHTMLControl::LarkaHTMLControl(LarkaHTMLControlPrivate* d, bool adopt)
    : d(recordFor(d, adopt)) {}

LarkaHTMLControl::LarkaHTMLControl(const LarkaHTMLControl& other) : d(retained(other.d)) {}

LarkaHTMLControl& LarkaHTMLControl::operator=(const LarkaHTMLControl& other) {
  LarkaHTMLControl copy(other);
  std::swap(d, copy.d);
  return *this;
}

LarkaHTMLControl::~LarkaHTMLControl() { release(d); }

bool LarkaHTMLControl::ConvertLarkaTypeToQTagAndType(ControlType type, std::string& tag,
                                                     std::string& inputType) {
  inputType.clear();
  for (const SearchedTag& searched : kSearchedTags) {
    if (searched.type != type) continue;
    tag = searched.tag;
    inputType = searched.inputType;
    return true;
  }
  return false;
}

ControlType LarkaHTMLControl::GetControlType() {
  if (const auto answer = asked<&LarkaHTMLControl::GetControlType>(d)) return *answer;
  const QString tag = d->element().tagName().toLower();
  if (tag != QLatin1String("input")) return recognised(kRecognisedTags, tag, CONTROL_UNKNOWN);
  const QString type =
      d->element().attribute(QStringLiteral("type"), QStringLiteral("text")).toLower();
  return recognised(kRecognisedInputs, type, CONTROL_TEXT);
}

// NOLINTBEGIN(performance-unnecessary-value-param): the interface takes the texts by value.
std::string LarkaHTMLControl::GetStyleProperty(std::string name) {
  if (const auto answer = asked<&LarkaHTMLControl::GetStyleProperty>(d, name)) return *answer;
  return d->element()
      .styleProperty(latin1(name), QWebElement::ComputedStyle)
      .toLatin1()
      .toStdString();
}

void LarkaHTMLControl::SetStyleProperty(std::string name, std::string value) {
  if (d->remote && d->remote->ask<&LarkaHTMLControl::SetStyleProperty>(name, value)) return;
  d->element().setStyleProperty(latin1(name), latin1(value));
}
// NOLINTEND(performance-unnecessary-value-param)

bool LarkaHTMLControl::IsClickable() {
  if (const auto answer = asked<&LarkaHTMLControl::IsClickable>(d)) return *answer;
  return !d->element().isNull() && !d->hitTest.linkUrl().isEmpty();
}

void LarkaHTMLControl::GetControlRect(int* x, int* y, int* width, int* height) {
  if (d->remote && d->remote->ask<&LarkaHTMLControl::GetControlRect>(x, y, width, height)) return;
  writeRect(d->mapToPage(d->currentGeometry()), x, y, width, height);
}

std::string LarkaHTMLControl::GetControlId() {
  if (const auto answer = asked<&LarkaHTMLControl::GetControlId>(d)) return *answer;
  return toHost(d->element().attribute(QStringLiteral("id")));
}

std::string LarkaHTMLControl::GetControlText() {
  if (const auto answer = asked<&LarkaHTMLControl::GetControlText>(d)) return *answer;
  const QVariant value = valueOn(d->element(), QStringLiteral("this.value"));
  return toHost(value.isNull() ? d->element().attribute(QStringLiteral("value"))
                               : value.toString());
}

// The UTF-8 text may have more bytes than characters; the page clamps the position.
void LarkaHTMLControl::SetCaretAtEndOfControl() {
  if (d->remote && d->remote->ask<&LarkaHTMLControl::SetCaretAtEndOfControl>()) return;
  const QString end = QString::number(GetControlText().size());
  runOn(d->element(), QStringLiteral("this.selectionStart=") + end);
  runOn(d->element(), QStringLiteral("this.selectionEnd=") + end);
}

bool LarkaHTMLControl::IsControlSelected() {
  if (const auto answer = asked<&LarkaHTMLControl::IsControlSelected>(d)) return *answer;
  const QVariant checked = valueOn(d->element(), QStringLiteral("this.checked"));
  return checked.isNull() ? !d->element().attribute(QStringLiteral("checked")).isEmpty()
                          : checked.toBool();
}

// QWebElement::setFocus doesn't move the caret, or the focus between frames; focus() does.
void LarkaHTMLControl::Focus() {
  if (d->remote && d->remote->ask<&LarkaHTMLControl::Focus>()) return;
  const WebKitCall call;
  runOn(d->element(), QStringLiteral("this.focus()"));
  d->element().setFocus();
}

bool LarkaHTMLControl::HasFocus() {
  if (const auto answer = asked<&LarkaHTMLControl::HasFocus>(d)) return *answer;
  return d->element().hasFocus();
}

void LarkaHTMLControl::GetZoomRect(int* x, int* y, int* width, int* height) {
  if (d->remote && d->remote->ask<&LarkaHTMLControl::GetZoomRect>(x, y, width, height)) return;
  const QWebElement block = WebElement::ifOnPage(d->hitTest.enclosingBlockElement());
  writeRect(block.isNull() ? kWholeScreen : d->mapToPage(WebElement::currentGeometry(block)), x, y,
            width, height);
}

}  // namespace LARKA
