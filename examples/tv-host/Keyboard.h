// The on-screen keyboard. To lift: all of it; it types into whatever is a TextTarget.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Canvas.h"
#include "Focus.h"
#include "Remote.h"

namespace tv {

// What the keyboard types into.
class TextTarget {
 public:
  virtual ~TextTarget() = default;
  virtual std::string beforeCaret() const = 0;
  virtual std::string afterCaret() const = 0;
  virtual void insert(const std::string& text) = 0;
  virtual void erase() = 0;
  // The key "Enter".
  virtual void enter() = 0;
};

class Keyboard {
 public:
  Keyboard();

  bool isOpen() const { return m_target != nullptr; }
  void open(std::shared_ptr<TextTarget> target);
  void close() { m_target.reset(); }
  std::string text() const;

  // What the viewer does; only while it is open. Back and "Done" close it.
  void press(Key key);
  void click(SDL_Point point);
  void type(const std::string& text);
  void erase();

  void draw(Canvas& canvas) const;

  // The first row of the screen that the keyboard covers.
  static constexpr int kTop = 350;

 private:
  struct Cap {
    std::string label;
    void (Keyboard::*action)();  // null: types its label
  };

  void lay();
  void add(const SDL_Rect& area, const std::string& label, void (Keyboard::*action)() = nullptr);
  void strike(int index);
  void shift();
  void symbols();
  void greek();
  void space();
  void enter();

  std::shared_ptr<TextTarget> m_target;
  int m_page = 0;
  bool m_shift = false;
  int m_focus = 0;
  std::vector<SDL_Rect> m_areas;
  std::vector<Cap> m_caps;
};

}  // namespace tv
