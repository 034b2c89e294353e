// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>
#include <QWebElement>
#include <QWebPluginFactory>
#include <deque>
#include <vector>

class QWebPage;

namespace LARKA {

class PluginPlaceholder;

/// Makes the plug-ins of one page: every `embed`, and each `object` of the media and television
/// types. To QtWebKit a plug-in is a placeholder; the host shows its content.
///
/// QtWebKit asks for a plug-in while it lays the page out, and doesn't name the element. So
/// plug-ins are announced from the event loop, when the layout is complete, in the order in which
/// they were made. QtWebKit asks again whenever it lays an element out again (shown after it was
/// hidden, moved in the page), and also for elements that are gone by then; those are not
/// announced.
class PluginFactory : public QWebPluginFactory {
  Q_OBJECT

 public:
  /// Makes plug-ins for `page`, which owns the factory.
  explicit PluginFactory(QWebPage* page);

  QList<Plugin> plugins() const override;
  QObject* create(const QString& mimeType, const QUrl& url, const QStringList& argumentNames,
                  const QStringList& argumentValues) const override;

  /// Announces the plug-ins made so far, without waiting for the event loop.
  void announce();

  /// Drops the plug-ins made so far without announcing them: their page is being left.
  void forget();

 signals:
  /// Emitted when QtWebKit made a plug-in for `element`, perhaps not for the first time.
  void pluginCreated(const QWebElement& element, void* handle);

 private:
  struct Found {
    QPointer<PluginPlaceholder> placeholder;
    QWebElement element;
  };

  void findElements();

  QWebPage* m_page;
  std::vector<QPointer<PluginPlaceholder>> m_created;  // whose elements are not known yet
  std::deque<Found> m_found;                           // to be announced
};

}  // namespace LARKA
