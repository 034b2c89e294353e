// PluginPlaceholder.h: the place that a plug-in's element takes in the page.
#pragma once

#include <QByteArray>
#include <QGraphicsWidget>

class QWebElement;

namespace LARKA {

/// What the engine lays out where a page has a plug-in. It paints nothing, so that the page's
/// background shows, and its address is the plug-in's native handle. The engine owns it.
///
/// The engine offers the properties and slots of a plug-in's object to page script, ahead of those
/// of the element itself. That would give script this item's size instead of the element's, and
/// through its parent the whole view, deletion included. So once it has been handed over, the
/// placeholder describes itself as an object without any.
class PluginPlaceholder : public QGraphicsWidget {
 public:
  PluginPlaceholder() = default;

  /// Marks the plug-in's object with a number, as a property of this name. Script on the element
  /// can read it, which is the one way to tell whose placeholder it is. A name that page script
  /// can't guess comes from newMarkName().
  void setMark(const QByteArray& name, int mark);
  void removeMark(const QByteArray& name);
  static QByteArray newMarkName();

  /// The mark of the placeholder that belongs to `element`, or -1.
  static int markOf(QWebElement& element, const QByteArray& name);

  const QMetaObject* metaObject() const override;

 protected:
  QVariant itemChange(GraphicsItemChange change, const QVariant& value) override;

 private:
  bool m_handedOver = false;
};

}  // namespace LARKA
