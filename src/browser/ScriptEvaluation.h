// SPDX-License-Identifier: MIT
#pragma once

#include "larka/extras.h"

class QString;
class QWebFrame;

namespace LARKA {

/// Evaluates a script in a frame. The script may remove the frame.
ScriptResult evaluate(QWebFrame* frame, const QString& script);

/// Returns the frame inside `frame`, at any depth, that has the name; null if there is none.
QWebFrame* findFrame(const QWebFrame* frame, const QString& name);

}  // namespace LARKA
