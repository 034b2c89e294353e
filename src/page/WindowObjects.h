// WindowObjects.h: what Larka changes about the window objects of page script.
#pragma once

class QSize;
class QWebFrame;

namespace LARKA {

/// Corrects what QtWebKit tells the script of a new document about the device: there is no touch
/// screen, and the screen is as large as the view.
void correctWindowObject(QWebFrame* frame, const QSize& viewSize);

/// Tells the script of a frame, and of those in it, that the view has another size.
void correctScreenSize(QWebFrame* frame, const QSize& viewSize);

}  // namespace LARKA
