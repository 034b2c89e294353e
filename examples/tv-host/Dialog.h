// The host's dialogs: a page's alert, confirm and prompt. To lift: all of it; Host::ask runs it.
#pragma once

#include <string>
#include <vector>

#include "Canvas.h"
#include "Keyboard.h"

namespace tv {

class Dialog {
 public:
  enum class Kind { Alert, Confirm, Prompt };

  // `text` is the page's; `answer` what a prompt begins with.
  Dialog(Kind kind, std::string text, std::string answer = std::string());

  Kind kind() const { return m_kind; }
  const std::string& text() const { return m_text; }
  const std::string& answer() const { return m_answer; }
  bool answered() const { return m_answered; }
  bool accepted() const { return m_accepted; }

  void press(Key key);
  void click(SDL_Point point);
  // Null unless it asks for a text.
  Keyboard* keyboard() { return m_kind == Kind::Prompt ? &m_keyboard : nullptr; }

  void draw(Canvas& canvas) const;

 private:
  void end(bool accepted);
  std::vector<SDL_Rect> buttons() const;
  SDL_Rect panel() const;

  Kind m_kind;
  std::string m_text, m_answer;
  bool m_answered = false, m_accepted = false;
  int m_focus = 0;
  Keyboard m_keyboard;
};

}  // namespace tv
