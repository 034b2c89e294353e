// PluginFactory.h: makes the plug-ins of a page, and finds out which elements they belong to.
#pragma once

#include <QPointer>
#include <QWebElement>
#include <QWebPluginFactory>
#include <deque>
#include <vector>

class QWebPage;

namespace LARKA {

class PluginPlaceholder;

/// The plug-ins of one page: every `embed`, and each `object` of the media and television types. To
/// the engine a plug-in is a placeholder; its content is the host's.
///
/// The engine asks for a plug-in while it lays the page out, without naming the element. What it
/// created is therefore announced from the event loop, when the page is laid out and may be looked
/// at, in the order of creation. It asks again whenever an element is laid out anew (shown after it
/// was hidden, moved to another place in the page), and for elements that are gone by then; those
/// are not announced.
class PluginFactory : public QWebPluginFactory {
  Q_OBJECT

 public:
  /// The plug-ins of `page`, which owns the factory.
  explicit PluginFactory(QWebPage* page);

  QList<Plugin> plugins() const override;
  QObject* create(const QString& mimeType, const QUrl& url, const QStringList& argumentNames,
                  const QStringList& argumentValues) const override;

  /// Announces what was created, which otherwise happens when the event loop turns next.
  void announce();

  /// Announces nothing of what was created so far: its page is being left.
  void forget();

 signals:
  /// The engine created a plug-in for `element`, perhaps not for the first time.
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
