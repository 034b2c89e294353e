// Plays keys without a person, and checks what they lead to. To lift: for tests of your own host.
#pragma once

#include <SDL.h>

#include <string>
#include <vector>

namespace tv {

// What a script does to a host beyond keys and pointer, which arrive as events of SDL.
class ScriptedHost {
 public:
  virtual ~ScriptedHost() = default;
  // Returns what a script's "expect" compares.
  virtual std::string state(const std::string& name) = 0;
  virtual bool takePicture(const std::string& name) = 0;
};

// A script has one step a line; blank lines and those with # count for nothing:
//   keys right right ok       presses keys of the remote control, one after the other
//   type TEXT                 types on the keyboard
//   point X Y                 moves the pointer
//   click X Y                 presses its button there
//   wheel N                   turns its wheel N notches down
//   wait N                    waits for N milliseconds
//   expect STATE = VALUE      waits until it is so, at most 20 s; a * at either end is any text
//   picture NAME              takes a screenshot
//   quit                      closes the window
class Script {
 public:
  // Without a file there is nothing to play. Throws std::runtime_error for a file that can't be
  // read or has an error.
  explicit Script(const std::string& file);

  // Does what is due. Call it once for each pass of the host's loop.
  void play(ScriptedHost& host);
  bool failed() const { return m_failed; }
  // Whether it still has something to do: the host's loop then doesn't rest.
  bool playing() const { return m_next < m_steps.size(); }

 private:
  struct Step {
    int line;
    std::string verb, rest;
  };

  void add(int line, const std::string& verb, const std::string& rest);
  void perform(const Step& step, ScriptedHost& host);
  bool met(const Step& step, ScriptedHost& host, std::string& found) const;
  void fail(const Step& step, const std::string& why);

  std::string m_file;
  std::vector<Step> m_steps;
  std::size_t m_next = 0;
  Uint64 m_since = 0;  // when the present step began to wait
  bool m_failed = false;
};

}  // namespace tv
