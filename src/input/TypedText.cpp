// SPDX-License-Identifier: MIT
#include "input/TypedText.h"

#include <QTextBoundaryFinder>

#include "input/PageInput.h"
#include "larka/KeyCodes.h"

namespace LARKA {

namespace {

bool isLineEnd(const QString& key) {
  return key.startsWith(QLatin1Char('\r')) || key.startsWith(QLatin1Char('\n'));
}

bool isLeftOut(const QString& key) {
  return key[0].category() == QChar::Other_Control && key[0] != QLatin1Char('\t') &&
         !isLineEnd(key);
}

bool isAscii(const QString& key) {
  return key.size() == 1 && key[0] >= QLatin1Char(' ') && key[0] <= QLatin1Char('~');
}

}  // namespace

// One key for all that makes up a character, also an emoji joined of several, because QtWebKit
// counts so where a length is limited: an accent by itself would no longer fit.
QStringList keysOf(const QString& text) {
  QStringList keys;
  QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
  for (int from = 0, to; (to = finder.toNextBoundary()) > from; from = to) {
    const QString key = text.mid(from, to - from);
    if (!isLeftOut(key)) keys += key;
  }
  return keys;
}

QKeyEvent typingEvent(QEvent::Type type, const QString& key) {
  if (isLineEnd(key)) return PageInput::key(type, KEYCODE_RETURN, 0);
  if (isAscii(key)) return PageInput::key(type, key[0].unicode(), 0);
  return QKeyEvent(type, 0, Qt::NoModifier, key);
}

}  // namespace LARKA
