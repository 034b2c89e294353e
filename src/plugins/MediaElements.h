// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>
#include <QStringList>
#include <QWebElement>

#include "larka/extras.h"

class QWebFrame;

namespace LARKA {

class MediaBridge;

/// The `video` and `audio` elements of one browser's pages, if they are handed to the host. To
/// QtWebKit they are then elements that it doesn't know. A script in each document gives them their
/// interface, and passes on what the page wants of them.
class MediaElements : public QObject {
  Q_OBJECT

 public:
  explicit MediaElements(QObject* parent);

  /// Hands over the elements of the next pages, or no longer. The host plays `types`; all if there
  /// are none.
  void handOver(bool on, const QStringList& types);

  /// Returns whether the elements of the next page are handed over.
  bool isHandedOver() const { return m_handedOver; }

  /// Returns whether those of the present page are.
  bool isActive() const { return m_active; }

  const QStringList& types() const { return m_types; }

  /// Begins a page. Returns whether isActive() has changed.
  bool beginPage();

  /// Prepares a new document, before its own script runs.
  void prepare(QWebFrame* frame);

  /// Returns the elements in the documents of `frame` and of the frames in it.
  static QList<QWebElement> elementsOf(QWebFrame* frame);

 signals:
  /// The page wants `action` of the player of `element`: a MediaAction, or 0 if it only has the
  /// element. Emitted when QtWebKit is off the stack.
  void requested(const QWebElement& element, int action, double value);

  /// The page has removed something.
  void removed();

 private:
  bool m_handedOver = false;
  bool m_active = false;
  QStringList m_types;
  MediaBridge* m_bridge;
};

/// Reports to the page of a `video` or `audio` element what its player does. Returns false if there
/// is no such element.
bool reportMedia(const QWebElement& element, const MediaReport& report);

}  // namespace LARKA
