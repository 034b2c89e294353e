#include "Script.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>

#include "Remote.h"
#include "Utf8.h"

namespace tv {

namespace {

constexpr Uint64 kPatience = 20000;  // for what is expected, in milliseconds
constexpr Uint64 kBetweenKeys = 60;
const std::set<std::string> kVerbs = {"keys", "type",   "point",   "click", "wheel",
                                      "wait", "expect", "picture", "quit"};

void pushKey(SDL_Keycode code) {
  for (const Uint32 type : {SDL_KEYDOWN, SDL_KEYUP}) {
    SDL_Event event = {};
    event.type = type;
    event.key.keysym.sym = code;
    SDL_PushEvent(&event);
  }
}

// One event a character: an event has little room.
void pushText(std::string text) {
  while (!text.empty()) {
    const std::string character = firstOf(text, 1);
    SDL_Event event = {};
    event.type = SDL_TEXTINPUT;
    snprintf(event.text.text, sizeof(event.text.text), "%s", character.c_str());
    SDL_PushEvent(&event);
    text.erase(0, character.size());
  }
}

void pushMotion(int x, int y) {
  SDL_Event event = {};
  event.type = SDL_MOUSEMOTION;
  event.motion.x = x;
  event.motion.y = y;
  SDL_PushEvent(&event);
}

void pushClick(int x, int y) {
  pushMotion(x, y);
  for (const Uint32 type : {SDL_MOUSEBUTTONDOWN, SDL_MOUSEBUTTONUP}) {
    SDL_Event event = {};
    event.type = type;
    event.button.button = SDL_BUTTON_LEFT;
    event.button.x = x;
    event.button.y = y;
    SDL_PushEvent(&event);
  }
}

void pushWheel(int notches) {
  SDL_Event event = {};
  event.type = SDL_MOUSEWHEEL;
  event.wheel.y = -notches;
  SDL_PushEvent(&event);
}

void pushQuit() {
  SDL_Event event = {};
  event.type = SDL_QUIT;
  SDL_PushEvent(&event);
}

// Whether a text is what was expected; a * at either end stands for anything.
bool matches(const std::string& text, std::string wanted) {
  const bool open = !wanted.empty() && wanted.front() == '*';
  if (open) wanted.erase(0, 1);
  const bool goesOn = !wanted.empty() && wanted.back() == '*';
  if (goesOn) wanted.pop_back();
  if (open && goesOn) return text.find(wanted) != std::string::npos;
  if (goesOn) return text.rfind(wanted, 0) == 0;
  if (!open) return text == wanted;
  return text.size() >= wanted.size() &&
         text.compare(text.size() - wanted.size(), wanted.size(), wanted) == 0;
}

std::vector<int> numbers(const std::string& text) {
  std::istringstream stream(text);
  std::vector<int> result;
  for (int number = 0; stream >> number;) result.push_back(number);
  result.resize(2);
  return result;
}

}  // namespace

Script::Script(const std::string& file) : m_file(file) {
  if (file.empty()) return;
  std::ifstream stream(file);
  if (!stream) throw std::runtime_error("can't read " + file);
  std::string text;
  for (int line = 1; std::getline(stream, text); ++line) {
    const std::size_t begin = text.find_first_not_of(' ');
    if (begin == std::string::npos || text[begin] == '#') continue;
    const std::size_t end = std::min(text.find(' ', begin), text.size());
    const std::size_t rest = std::min(text.find_first_not_of(' ', end), text.size());
    add(line, text.substr(begin, end - begin), text.substr(rest));
  }
}

// Each key of "keys" is a step of its own.
void Script::add(int line, const std::string& verb, const std::string& rest) {
  std::string wrong;
  if (kVerbs.count(verb) == 0) wrong = "unknown step: " + verb;
  if (verb == "expect" && (rest + ' ').find(" = ") == std::string::npos)
    wrong = "expect STATE = VALUE";
  std::istringstream stream(verb == "keys" ? rest : std::string());
  for (std::string key; stream >> key; m_steps.push_back({line, verb, key}))
    if (codeOf(key) == SDLK_UNKNOWN) wrong = "unknown key: " + key;
  if (!wrong.empty())
    throw std::runtime_error(m_file + ":" + std::to_string(line).append(": ").append(wrong));
  if (verb != "keys") m_steps.push_back({line, verb, rest});
}

// What a step leads to may run this again, inside it: the step is over before it is performed.
void Script::play(ScriptedHost& host) {
  if (!playing()) return;
  const Uint64 now = SDL_GetTicks64();
  if (m_since == 0) m_since = now;
  const Step step = m_steps[m_next];
  const Uint64 waited = now - m_since;
  if (step.verb == "wait" && waited < std::strtoull(step.rest.c_str(), nullptr, 10)) return;
  if (step.verb == "keys" && waited < kBetweenKeys) return;
  std::string found;
  if (step.verb == "expect" && !met(step, host, found)) {
    if (waited >= kPatience) fail(step, "it is \"" + found + "\"");
    return;
  }
  ++m_next;
  m_since = 0;
  perform(step, host);
}

void Script::perform(const Step& step, ScriptedHost& host) {
  const std::vector<int> at = numbers(step.rest);
  if (step.verb == "keys")
    pushKey(codeOf(step.rest));
  else if (step.verb == "type")
    pushText(step.rest);
  else if (step.verb == "point")
    pushMotion(at[0], at[1]);
  else if (step.verb == "click")
    pushClick(at[0], at[1]);
  else if (step.verb == "wheel")
    pushWheel(at[0]);
  else if (step.verb == "quit")
    pushQuit();
  else if (step.verb == "picture" && !host.takePicture(step.rest))
    fail(step, "can't write it");
}

bool Script::met(const Step& step, ScriptedHost& host, std::string& found) const {
  const std::size_t middle = (step.rest + ' ').rfind(" = ");
  found = host.state(step.rest.substr(0, middle));
  return matches(found, step.rest.substr(std::min(middle + 3, step.rest.size())));
}

void Script::fail(const Step& step, const std::string& why) {
  fprintf(stderr, "%s:%d: %s %s: %s\n", m_file.c_str(), step.line, step.verb.c_str(),
          step.rest.c_str(), why.c_str());
  m_failed = true;
  m_next = m_steps.size();
  pushQuit();
}

}  // namespace tv
