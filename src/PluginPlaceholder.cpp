#include "PluginPlaceholder.h"

#include <QVariant>
#include <QWebElement>

namespace LARKA {

namespace {

const char kMark[] = "larkaPlaceholder";

/// Its meta-object has no members and no base.
class NoMembers {
  Q_GADGET
};

}  // namespace

void PluginPlaceholder::setMark(int mark) { setProperty(kMark, mark); }

void PluginPlaceholder::removeMark() { setProperty(kMark, QVariant()); }

int PluginPlaceholder::markOf(QWebElement& element) {
  bool marked = false;
  const QString script = QLatin1String("this.") + QLatin1String(kMark);
  const int mark = element.evaluateJavaScript(script).toInt(&marked);
  return marked ? mark : -1;
}

// The engine asks what kind of object it was given before it puts it into the scene.
const QMetaObject* PluginPlaceholder::metaObject() const {
  return m_handedOver ? &NoMembers::staticMetaObject : QGraphicsWidget::metaObject();
}

QVariant PluginPlaceholder::itemChange(GraphicsItemChange change, const QVariant& value) {
  if (change == ItemVisibleChange || change == ItemParentHasChanged) m_handedOver = true;
  return QGraphicsWidget::itemChange(change, value);
}

}  // namespace LARKA

#include "PluginPlaceholder.moc"
