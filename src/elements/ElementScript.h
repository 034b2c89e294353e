// ElementScript.h: script on an element, for the handles.
#pragma once

#include <QString>
#include <QVariant>

class QWebElement;

namespace LARKA {

// QtWebKit converts the value of a script into a QVariant, and for an object all that can be
// reached from it: from `window` or an element that is the whole page, which takes seconds. So the
// scripts here have no object as their value.

/// Runs a statement on `element` for its effect.
void runOn(QWebElement element, const QString& statement);

/// The value of an expression of one line. An object counts as the empty text.
QVariant valueOn(QWebElement element, const QString& expression);

/// The value of any script as text; empty for an object other than a date.
QString resultOn(QWebElement element, const QString& script);

}  // namespace LARKA
