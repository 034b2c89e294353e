// SPDX-License-Identifier: MIT
#include "bridge/ScriptText.h"

#include <algorithm>

namespace LARKA {

namespace {

QString escape(QChar unit) {
  const char kDigits[] = "0123456789abcdef";
  QString text(QLatin1String("\\u0000"));
  for (int place = 0; place < 4; ++place)
    text[5 - place] = QLatin1Char(kDigits[(unit.unicode() >> (4 * place)) & 15]);
  return text;
}

}  // namespace

QString quoted(const QString& text) {
  QString literal(QLatin1Char('"'));
  literal.reserve(text.size() + text.size() / 8 + 2);
  for (const QChar unit : text) {
    const bool plain = unit >= QLatin1Char(' ') && unit <= QLatin1Char('~') &&
                       unit != QLatin1Char('"') && unit != QLatin1Char('\\');
    if (plain)
      literal += unit;
    else
      literal += escape(unit);
  }
  return literal + QLatin1Char('"');
}

QString withoutHalfPairs(const QString& json) {
  const auto isSurrogate = [](QChar unit) { return unit.isSurrogate(); };
  if (std::none_of(json.begin(), json.end(), isSurrogate)) return json;
  QString whole;
  whole.reserve(json.size());
  for (int i = 0; i < json.size(); ++i) {
    const bool pair =
        json[i].isHighSurrogate() && i + 1 < json.size() && json[i + 1].isLowSurrogate();
    if (pair)
      whole += json.midRef(i++, 2);
    else if (json[i].isSurrogate())
      whole += escape(json[i]);
    else
      whole += json[i];
  }
  return whole;
}

}  // namespace LARKA
