// What the keyboard types into: a text of the host's, or the page's field.
#pragma once

#include <larka/larka.h>

#include <functional>
#include <string>
#include <utility>

#include "Browser.h"
#include "Keyboard.h"
#include "Utf8.h"

namespace tv {

// A text of the host's, such as its address field.
class HostText : public TextTarget {
 public:
  // `entered` is called for the key "Enter"; `text` must outlive the keyboard's use of it.
  HostText(std::string& text, std::function<void()> entered)
      : m_text(text), m_entered(std::move(entered)) {}

  std::string beforeCaret() const override { return m_text; }
  std::string afterCaret() const override { return std::string(); }
  void insert(const std::string& text) override { m_text += text; }
  void erase() override { dropLast(m_text); }
  void enter() override { m_entered(); }

 private:
  std::string& m_text;
  std::function<void()> m_entered;
};

// The field of a page that has the focus. The page checks what is typed, as with a real keyboard.
class PageText : public TextTarget {
 public:
  explicit PageText(const Browser& browser) : m_browser(browser) {}

  std::string beforeCaret() const override { return shown(before()); }
  std::string afterCaret() const override {
    return shown(m_browser.textField().text.substr(before().size()));
  }
  void insert(const std::string& text) override {
    LARKA::InsertText(m_browser.larka(), text.c_str());
  }
  void erase() override { LARKA::DeleteText(m_browser.larka(), 1); }
  void enter() override { LARKA::InsertText(m_browser.larka(), "\n"); }

 private:
  std::string before() const {
    return firstOf(m_browser.textField().text, m_browser.textField().selectionEnd);
  }
  std::string shown(const std::string& text) const {
    if (m_browser.textField().kind != LARKA::TEXT_PASSWORD) return text;
    std::string dots;
    for (const char byte : text)
      if (!continues(byte)) dots += "•";
    return dots;
  }

  const Browser& m_browser;
};

}  // namespace tv
