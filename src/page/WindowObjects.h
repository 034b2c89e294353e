// SPDX-License-Identifier: MIT
#pragma once

class QSize;
class QWebFrame;

namespace LARKA {

/// Corrects what script in a new document finds out about the device: there is no touch screen, and
/// the screen is as large as the view. Keeps script from crashing QtWebKit while the viewer types.
/// Call it before the document's own script runs.
void correctWindowObject(QWebFrame* frame, const QSize& viewSize);

/// Sets the size of the screen for script in `frame` and in the frames inside it.
void correctScreenSize(QWebFrame* frame, const QSize& viewSize);

/// Creates the window objects of `frame` and of the frames inside it, where there are none.
/// QtWebKit does that when script first needs one, and reports new documents only from then on.
void createWindowObjects(QWebFrame* frame);

}  // namespace LARKA
