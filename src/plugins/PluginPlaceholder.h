// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QGraphicsWidget>

class QWebElement;

namespace LARKA {

/// Takes the place of a plug-in in the page's layout. It paints nothing, so that the page's
/// background shows, and its address is the plug-in's native handle. QtWebKit owns it.
///
/// QtWebKit offers the properties and slots of a plug-in's object to page script, ahead of those of
/// the element. Script would get this item's size instead of the element's, and through its parent
/// the whole view, which it could delete. So once QtWebKit has it, the placeholder says that it has
/// no properties and slots.
class PluginPlaceholder : public QGraphicsWidget {
 public:
  PluginPlaceholder() = default;

  /// Gives the placeholder a property `name` with the value `mark`. Script on the element can read
  /// it: the only way to find out whose placeholder it is. Page script can't guess a name that
  /// comes from newMarkName().
  void setMark(const QByteArray& name, int mark);
  void removeMark(const QByteArray& name);
  static QByteArray newMarkName();

  /// Returns the mark of the placeholder of `element`, or -1.
  static int markOf(QWebElement& element, const QByteArray& name);

  const QMetaObject* metaObject() const override;

 protected:
  QVariant itemChange(GraphicsItemChange change, const QVariant& value) override;

 private:
  bool m_handedOver = false;
};

}  // namespace LARKA
