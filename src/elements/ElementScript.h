// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QVariant>

class QWebElement;

namespace LARKA {

// QtWebKit converts the value of a script into a QVariant, and an object together with everything
// that can be reached from it. For `window` or an element, that is the whole page and takes
// seconds. So the scripts here never return objects.

/// Runs a statement with `element` as `this`, for its effect.
void runOn(QWebElement element, const QString& statement);

/// Returns the value of a one-line expression; an empty string for an object other than a date.
QVariant valueOn(QWebElement element, const QString& expression);

/// Returns the value of any script as text; an empty string for an object other than a date. If the
/// page forbids eval(), or the script declares something for later scripts, only an expression at
/// its end has a value.
QString resultOn(QWebElement element, const QString& script);

}  // namespace LARKA
