// SPDX-License-Identifier: MIT
// This file is compiled without type information, because QtWebKit has none of QWebSelectMethod.
#include "elements/SelectPopup.h"
#include "elements/WebElement.h"

#include <qwebkitplatformplugin.h>

#include <QWebFrame>
#include <QWebPage>
#include <QtPlugin>

// The meta-object compiler writes it.
const QStaticPlugin qt_static_plugin_LarkaSelectPlugin();

namespace LARKA {

namespace {

QList<SelectPopup*>& allPopups() {
  static QList<SelectPopup*> popups;
  return popups;
}

// Page script doesn't see the event, unless it listens in the same way.
const char kOpen[] =
    "(function(select, window, document) {"
    "  function hide(event) { event.stopImmediatePropagation(); }"
    "  var press = document.createEvent('MouseEvents');"
    "  press.initMouseEvent('mousedown', true, true, window, 1, 0, 0, 0, 0,"
    "      false, false, false, false, 0, null);"
    "  window.addEventListener('mousedown', hide, true);"
    "  select.dispatchEvent(press);"
    "  window.removeEventListener('mousedown', hide, true);"
    "})(this, window, document); void 0";

}  // namespace

/// QtWebKit's side of a list. QtWebKit owns it, one for each `select` that was opened.
class SelectMethod : public QWebSelectMethod {
 public:
  explicit SelectMethod(SelectPopup* popup) : m_popup(popup) {}
  ~SelectMethod() override {
    if (m_popup) m_popup->hide(this);
  }

  void show(const QWebSelectData& data) override {
    m_data = &data;
    if (m_popup) return m_popup->show(this, m_font);
    emit didHide();
  }

  void hide() override {
    m_data = nullptr;
    const QPointer<SelectMethod> self(this);
    emit didHide();
    if (self && m_popup) m_popup->hide(this);
  }

  void setGeometry(const QRect&) override {}
  void setFont(const QFont& font) override { m_font = font; }

  const QWebSelectData* data() const { return m_data; }

  void close() {
    m_data = nullptr;
    emit didHide();
  }

 private:
  QPointer<SelectPopup> m_popup;
  const QWebSelectData* m_data = nullptr;  // while the list is open
  QFont m_font;
};

/// Where QtWebKit asks for lists. It looks for such plug-ins in files first: a host with one of its
/// own keeps it.
class LarkaSelectPlugin : public QObject, public QWebKitPlatformPlugin {
  Q_OBJECT
  Q_INTERFACES(QWebKitPlatformPlugin)
  Q_PLUGIN_METADATA(IID "org.qt-project.Qt.WebKit.PlatformPlugin/1.9")

 public:
  bool supportsExtension(Extension extension) const override {
    return extension == MultipleSelections;
  }

  // A page that isn't on the stack is not one of ours, but of the host or the inspector. QtWebKit
  // then uses its own list.
  QObject* createExtension(Extension extension) const override {
    SelectPopup* popup = extension == MultipleSelections ? SelectPopup::onStack() : nullptr;
    return popup ? new SelectMethod(popup) : nullptr;
  }
};

SelectPopup::SelectPopup(QWebPage* page, const StackUse& use, QObject* parent)
    : QObject(parent), m_page(page), m_use(use) {
  allPopups().append(this);
}

SelectPopup::~SelectPopup() { allPopups().removeAll(this); }

void SelectPopup::install() {
  static const bool installed = [] {
    qRegisterStaticPluginFunction(qt_static_plugin_LarkaSelectPlugin());
    return true;
  }();
  Q_UNUSED(installed)
}

// With several pages on the stack, the one whose `select` was just given the focus.
SelectPopup* SelectPopup::onStack() {
  SelectPopup* found = nullptr;
  for (SelectPopup* each : qAsConst(allPopups()))
    if (!each->m_use.isIdle() && (!found || !focusedIn(each->m_page).isNull())) found = each;
  return found;
}

QWebElement SelectPopup::focusedIn(QWebPage* page) {
  const QWebElement focused = page->currentFrame()->findFirstElement(QStringLiteral(":focus"));
  const bool isDropDown = focused.tagName().toLower() == QLatin1String("select") &&
                          !focused.hasAttribute(QStringLiteral("multiple")) &&
                          focused.attribute(QStringLiteral("size")).toInt() <= 1;
  return isDropDown ? focused : QWebElement();
}

void SelectPopup::open(QWebElement select) { select.evaluateJavaScript(QLatin1String(kOpen)); }

void SelectPopup::show(QObject* method, const QFont& font) {
  if (m_method != method) close();
  m_method = method;
  m_font = font;
  m_element = focusedIn(m_page);
  m_hidden.clear();
  emit opened();
}

void SelectPopup::hide(QObject* method) {
  if (m_method != method) return;
  m_method = nullptr;
  emit closedByPage();
}

// QtWebKit lists entries that style sheets hide, too.
void SelectPopup::findHidden(int count) {
  if (static_cast<size_t>(count) == m_hidden.size()) return;
  m_hidden.assign(static_cast<size_t>(count), false);
  const QWebElementCollection lines = m_element.findAll(QStringLiteral("option, optgroup, hr"));
  for (int i = 0; i < count && lines.count() == count; ++i)
    m_hidden[static_cast<size_t>(i)] =
        computedStyle(lines.at(i), "display") == QLatin1String("none");
}

// QtWebKit indents the entries of a group by four spaces.
std::vector<ListItem> SelectPopup::items() {
  std::vector<ListItem> items;
  const auto* method = static_cast<SelectMethod*>(m_method.data());
  const QWebSelectData* data = method ? method->data() : nullptr;
  if (data) findHidden(data->itemCount());
  QString group;
  for (int i = 0; data && i < data->itemCount(); ++i) {
    ListItem item;
    item.text = data->itemText(i);
    const bool isGrouped = item.text.startsWith(QLatin1String("    "));
    item.text = item.text.trimmed();
    item.index = i;
    item.enabled = data->itemIsEnabled(i);
    item.selected = data->itemIsSelected(i);
    item.background = data->itemBackgroundColor(i);
    item.foreground = data->itemForegroundColor(i);
    if (data->itemType(i) == QWebSelectData::Group) item.kind = ListItem::Group;
    if (data->itemType(i) == QWebSelectData::Separator) item.kind = ListItem::Separator;
    if (item.kind == ListItem::Group) group = item.text;
    if (item.kind == ListItem::Option && isGrouped) item.group = group;
    if (!m_hidden[static_cast<size_t>(i)]) items.push_back(item);
  }
  return items;
}

void SelectPopup::choose(int index) {
  const QPointer<SelectMethod> method(static_cast<SelectMethod*>(m_method.data()));
  close();
  if (method) emit method->selectItem(index, false, false);
}

void SelectPopup::close() {
  auto* method = static_cast<SelectMethod*>(m_method.data());
  m_method = nullptr;
  if (method) method->close();
}

}  // namespace LARKA

#include "SelectPopup.moc"
