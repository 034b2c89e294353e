// A strip of posters to drag, fling and tap: a PannableView in a graphics scene of the host's own.
//
//   posters                 shows it in a window
//   posters --picture FILE  flings the strip and writes a picture of it gliding
#include <larka/PannableView.h>

#include <QApplication>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QMouseEvent>
#include <QPixmap>
#include <QTimer>
#include <cstdio>
#include <cstring>

#include "PosterStrip.h"

namespace {

const int kPosters = 30;

/// Presses, drags to the left and releases, as a hand would.
void fling(QGraphicsView* view) {
  const auto send = [view](QEvent::Type type, int x, Qt::MouseButtons buttons) {
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    const QPoint position(x, 150);
    QMouseEvent event(type, position, view->viewport()->mapToGlobal(position), button, buttons,
                      Qt::NoModifier);
    QApplication::sendEvent(view->viewport(), &event);
  };
  send(QEvent::MouseButtonPress, 700, Qt::LeftButton);
  QTimer::singleShot(100, view, [send] {
    for (int x = 690; x >= 500; x -= 10) send(QEvent::MouseMove, x, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, 500, Qt::NoButton);
  });
}

}  // namespace

int main(int argc, char** argv) {
  const bool picture = argc == 3 && strcmp(argv[1], "--picture") == 0;
  if (argc != 1 && !picture) {
    fprintf(stderr, "usage: posters [--picture FILE]\n");
    return 1;
  }
  char platform[] = "-platform", offscreen[] = "offscreen";
  char* arguments[] = {argv[0], platform, offscreen, nullptr};
  int count = picture ? 3 : 1;
  QApplication application(count, arguments);

  QGraphicsScene scene(0, 0, 800, 300);
  scene.setBackgroundBrush(QColor(0x14, 0x18, 0x24));
  PannableView view(Qt::Horizontal, 760, PosterStrip::kPosterHeight, nullptr);
  view.setPos(20, 30);
  view.setWidget(new PosterStrip(kPosters));
  scene.addItem(&view);
  QObject::connect(&view, &PannableView::posChanged, [](const QRectF& visible) {
    printf("from %.1f to %.1f\n", visible.left(), visible.right());
  });

  QGraphicsView window(&scene);
  window.setRenderHint(QPainter::Antialiasing);
  window.setFrameShape(QFrame::NoFrame);
  window.resize(800, 300);
  window.show();
  if (!picture) return application.exec();

  bool saved = false;
  fling(&window);
  QTimer::singleShot(400, [&] {
    saved = view.isScrolling() && window.grab().save(QFile::decodeName(argv[2]), "PNG");
    application.quit();
  });
  application.exec();
  if (!saved) fprintf(stderr, "posters: can't write %s\n", argv[2]);
  return saved ? 0 : 1;
}
