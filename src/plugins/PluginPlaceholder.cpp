// SPDX-License-Identifier: MIT
#include "plugins/PluginPlaceholder.h"

#include <QRandomGenerator>
#include <QVariant>
#include <QWebElement>

namespace LARKA {

namespace {

/// Has a meta-object without members and without a base.
class NoMembers {
  Q_GADGET
};

}  // namespace

void PluginPlaceholder::setMark(const QByteArray& name, int mark) { setProperty(name, mark); }

void PluginPlaceholder::removeMark(const QByteArray& name) { setProperty(name, QVariant()); }

QByteArray PluginPlaceholder::newMarkName() {
  return "larka" + QByteArray::number(QRandomGenerator::system()->generate64());
}

int PluginPlaceholder::markOf(QWebElement& element, const QByteArray& name) {
  bool marked = false;
  const QString script = QStringLiteral("this.") + QString::fromLatin1(name);
  const int mark = element.evaluateJavaScript(script).toInt(&marked);
  return marked ? mark : -1;
}

// QtWebKit asks for the kind of its object before it puts it into the scene.
const QMetaObject* PluginPlaceholder::metaObject() const {
  return m_handedOver ? &NoMembers::staticMetaObject : QGraphicsWidget::metaObject();
}

QVariant PluginPlaceholder::itemChange(GraphicsItemChange change, const QVariant& value) {
  if (change == ItemVisibleChange || change == ItemParentHasChanged) m_handedOver = true;
  return QGraphicsWidget::itemChange(change, value);
}

}  // namespace LARKA

#include "PluginPlaceholder.moc"
