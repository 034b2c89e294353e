// SPDX-License-Identifier: MIT
#include "plugins/MediaElements.h"

#include <QWebElementCollection>
#include <QWebFrame>
#include <algorithm>
#include <cmath>

#include "elements/ElementScript.h"
#include "elements/MediaSource.h"
#include "host/HostEvents.h"
#include "plugins/MediaScript.h"

namespace {

/// Describes to QtWebKit what the script can call. Never created: MediaBridge::qt_metacall receives
/// the calls.
class Media {
  Q_GADGET

 public:
  Q_INVOKABLE void tell(const QWebElement&, int, double) {}
  Q_INVOKABLE void look() {}
  Q_INVOKABLE QString address(const QWebElement&) { return QString(); }
  Q_INVOKABLE bool plays(const QString&) { return false; }
};

const char kBridgeName[] = "larkaMedia";

enum Method { Tell = 0, Look = 1, Address = 2, Plays = 3 };  // in the order of Media

}  // namespace

namespace LARKA {

/// What the script in a document speaks with. It has nothing but the methods of Media, because
/// QtWebKit offers script everything that an object has.
class MediaBridge : public QObject {
 public:
  explicit MediaBridge(MediaElements* media) : QObject(media), m_media(media) {}

  const QMetaObject* metaObject() const override { return &Media::staticMetaObject; }

  // arguments[0] points to the result.
  int qt_metacall(QMetaObject::Call call, int id, void** arguments) override {
    if (call != QMetaObject::InvokeMetaMethod) return id;
    const auto* element = static_cast<const QWebElement*>(arguments[1]);
    if (id == Tell && isMedia(*element))
      tell(*element, *static_cast<int*>(arguments[2]), *static_cast<double*>(arguments[3]));
    if (id == Look) post([media = m_media] { emit media->removed(); });
    if (id == Address && arguments[0] && isMedia(*element))
      *static_cast<QString*>(arguments[0]) =
          mediaSourceOf(*element, m_media->types()).address.toString(QUrl::FullyEncoded);
    if (id == Plays && arguments[0])
      *static_cast<bool*>(arguments[0]) =
          playsType(m_media->types(), *static_cast<const QString*>(arguments[1]));
    return -1;
  }

 private:
  void tell(const QWebElement& element, int action, double value) {
    post([=, media = m_media] { emit media->requested(element, action, value); });
  }

  void post(const std::function<void()>& event) { postHostEvent(m_media, webKitUse(), event); }

  MediaElements* m_media;
};

MediaElements::MediaElements(QObject* parent) : QObject(parent), m_bridge(new MediaBridge(this)) {}

void MediaElements::handOver(bool on, const QStringList& types) {
  m_handedOver = on;
  m_types = types;
}

bool MediaElements::beginPage() {
  const bool changes = m_active != m_handedOver;
  m_active = m_handedOver;
  return changes;
}

// The name is gone again before the page's script runs. QtWebKit parses the same text only once.
void MediaElements::prepare(QWebFrame* frame) {
  static const QString script =
      QLatin1String(kMediaScript) +
      QStringLiteral(
          "((function() { var host = window.%1; delete window.%1; return host; })());"
          "void 0")
          .arg(QLatin1String(kBridgeName));
  if (!m_active) return;
  frame->addToJavaScriptWindowObject(QLatin1String(kBridgeName), m_bridge);
  frame->evaluateJavaScript(script);
}

QList<QWebElement> MediaElements::elementsOf(QWebFrame* frame) {
  QList<QWebElement> elements = frame->findAllElements(QStringLiteral("video,audio")).toList();
  for (QWebFrame* child : frame->childFrames()) elements += elementsOf(child);
  return elements;
}

bool reportMedia(const QWebElement& element, const MediaReport& report) {
  if (!isMedia(element)) return false;
  const auto number = [](double value) {
    if (!(value > 0)) return QStringLiteral("NaN");
    return std::isinf(value) ? QStringLiteral("Infinity") : QString::number(value, 'g', 17);
  };
  const double time = std::isfinite(report.time) ? report.time : 0;
  runOn(element, QStringLiteral("this.larkaReport && this.larkaReport(%1, %2 || 0, %3, %4, %5)")
                     .arg(static_cast<int>(report.status))
                     .arg(number(time), number(report.duration))
                     .arg(std::max(report.width, 0))
                     .arg(std::max(report.height, 0)));
  return true;
}

}  // namespace LARKA

#include "MediaElements.moc"
