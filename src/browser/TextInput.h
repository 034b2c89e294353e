// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QWebElement>

#include "input/FocusedField.h"
#include "larka/extras.h"

class QEvent;
class QRegion;
class QWebPage;

namespace LARKA {

class LarkaBrowser;

/// Writes into the focused field of a page for the host, and reports what changes there to its
/// listeners. A child of the page.
class TextInput : public QObject {
  Q_OBJECT

 public:
  TextInput(LarkaBrowser* browser, QWebPage* page);

  /// Returns the focused field.
  TextField field() const;

  /// Types a text, in place of the selection if there is one.
  bool insert(const QString& text);

  /// Types a text in place of all that is there.
  bool replace(const QString& text);

  /// Presses Backspace.
  bool erase(int times);

  /// Reports the focused field if there is one: called for the first listener.
  void reportAll();

  /// Looks whether the field has changed, after these parts of the image were painted. Costs
  /// nothing if none has the focus.
  void painted(const QRegion& parts);

 private:
  FocusedField read() const;
  FocusedField readWritable() const;
  bool hasFocus(const QWebElement& element) const;
  void type(const QWebElement& element, const QString& text);
  void press(const QString& key);
  void pressBackspace();
  void send(QEvent&& event);
  bool hasScene() const;
  bool isHeard() const;
  void lookSoon();
  void look();

  LarkaBrowser* m_browser;
  QWebPage* m_page;
  TextField m_reported;
  QWebElement m_element;  // of m_reported; null without one
  FieldGlimpse m_glimpse;
  bool m_looksSoon = false;
};

}  // namespace LARKA
