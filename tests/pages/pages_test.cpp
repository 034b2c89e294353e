// Pages with what a host does on them and what it must see: each .page file here is a test.
//
// A line holds steps, separated by " | ": a word, its arguments and maybe what must come of it,
// "=>" at once or "~>" by and by. Indented lines continue the line above; after a line that ends in
// a colon they are rows that complete it, and the block of `each` is run for each of its words,
// which $EACH stands for. What follows `load`, `page` and `serve` is HTML. $DIR and $HTTP are the
// addresses of the test's directory ($PATH) and of its server, \xE4 is a byte, "#" begins a
// comment.
#include <algorithm>
#include <iomanip>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "Host.h"
#include "HttpServer.h"

namespace {

using namespace LARKA;

struct Line {
  int number;
  std::string text;
};

using Lines = std::vector<Line>;

/// The steps of a block: what is indented belongs to the line above.
std::vector<Lines> stepsOf(const Lines& lines) {
  std::vector<Lines> steps;
  for (const Line& line : lines) {
    if (line.text.empty() || line.text[0] == '#') continue;
    if (line.text.rfind("  ", 0) != 0)
      steps.push_back({line});
    else
      steps.back().push_back({line.number, line.text.substr(2)});
  }
  return steps;
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  for (size_t at = 0; (at = text.find(what, at)) != text.npos; at += with.size())
    text.replace(at, what.size(), with);
  return text;
}

/// Takes what is before a separator away from the front of a text.
std::string take(std::string* text, const std::string& separator = " ") {
  const std::string front = text->substr(0, text->find(separator));
  text->erase(0, front.size() + separator.size());
  return front;
}

template <typename List>
std::string joined(const List& texts, const char* between = " ") {
  std::string all;
  for (const auto& text : texts) all += between + text;
  return all.substr(std::min(all.size(), strlen(between)));
}

std::string rectangle(int x, int y, int width, int height) {
  std::ostringstream text;
  text << x << "," << y << " " << width << "x" << height;
  return text.str();
}

using Texts = std::vector<std::string>;

std::string yes(bool is) { return is ? "yes" : "no"; }

const std::vector<std::string> kKinds = {"text",   "textarea", "label",    "unmapped", "select",
                                         "submit", "radio",    "checkbox", "anchor",   "password",
                                         "image",  "embed",    "div",      "object",   "unknown"};
const std::vector<std::string> kDirections = {"down", "up", "right", "left"};  // none else
const std::map<std::string, int> kModifiers = {
    {"", 0}, {"ctrl", 0x01}, {"alt", 0x08}, {"shift", 0x10}, {"meta", 0x40}};
const std::map<std::string, int> kKeys = {
    {"", 0},        {"backspace", 8}, {"tab", 9},        {"line-feed", 10}, {"return", 13},
    {"escape", 27}, {"space", 32},    {"delete", 127},   {"keypad", 256},   {"up", 273},
    {"down", 274},  {"right", 275},   {"left", 276},     {"insert", 277},   {"home", 278},
    {"end", 279},   {"page-up", 280}, {"page-down", 281}};
const char kDone[] = "done";  // no result

/// The number of a name, or one past the last.
template <typename Number>
Number numberOf(const std::string& name, const std::vector<std::string>& names) {
  return static_cast<Number>(std::find(names.begin(), names.end(), name) - names.begin());
}

std::string ask(LarkaHTMLControl control, const std::string& what, const std::string& name,
                const std::string& value) {
  int x = 0, y = 0, width = 0, height = 0;
  const auto area =
      what == "zoom" ? &LarkaHTMLControl::GetZoomRect : &LarkaHTMLControl::GetControlRect;
  (control.*area)(&x, &y, &width, &height);
  if (what == "rect" || what == "zoom") return rectangle(x, y, width, height);
  if (what == "kind") return kKinds[control.GetControlType()];
  if (what == "id") return control.GetControlId();
  if (what == "text") return control.GetControlText();
  if (what == "on") return yes(control.IsControlSelected());
  if (what == "focused") return yes(control.HasFocus());
  if (what == "clickable") return yes(control.IsClickable());
  if (what == "style") return control.GetStyleProperty(name);
  if (what == "focus") return control.Focus(), kDone;
  if (what == "caret") return control.SetCaretAtEndOfControl(), kDone;
  if (what == "restyle") return control.SetStyleProperty(name, value), kDone;
  throw std::runtime_error("no control does " + what);
}

std::string ask(LarkaPluginWidget plugin, const std::string& what, const std::string& name,
                const std::string& value) {
  if (what == "names")
    return joined(Texts{plugin.GetTagName(), plugin.GetMimeType(), plugin.GetName()});
  if (what == "z-index") return std::to_string(plugin.GetZIndex());
  if (what == "rect")
    return rectangle(plugin.GetX(), plugin.GetY(), plugin.GetWidth(), plugin.GetHeight());
  if (what == "visible") return yes(plugin.IsVisible());
  if (what == "has") return yes(plugin.HasAttribute(name.c_str()));
  if (what == "attribute") return plugin.GetAttribute(name.c_str());
  if (what == "set") return plugin.SetAttribute(name.c_str(), value.c_str()), kDone;
  if (what == "js") return plugin.ExecuteJS((name + (value.empty() ? "" : " ") + value).c_str());
  if (what == "focus") return plugin.SetFocus(name != "no"), kDone;
  if (what == "full") return plugin.SetFullScreen(true, name == "painted", false), kDone;
  if (what == "leave") return plugin.SetFullScreen(false, name == "painted", false), kDone;
  if (what == "remember") return plugin.SetUserData(const_cast<char*>(kDone)), kDone;
  if (what == "remembers") return yes(plugin.GetUserData() == kDone);
  if (what == "has-pixels")
    return yes(plugin.GetPixelData() || plugin.GetPixelRGBA(0, 0) || plugin.GetStride());
  if (what == "is-full") return yes(plugin.IsFullScreen());
  throw std::runtime_error("no plug-in does " + what);
}

class PageTest : public testing::Test {
 public:
  explicit PageTest(std::string file) : m_file(std::move(file)) {}

  void TestBody() override {
    Lines lines;
    std::ifstream file(m_file);
    for (std::string text; std::getline(file, text);)
      lines.push_back({static_cast<int>(lines.size()) + 1, text});
    m_host.initialize();
    makeBrowser("");
    for (const Lines& step : stepsOf(lines)) run(step[0], {step.begin() + 1, step.end()});
    for (const auto& hook : m_hooks) fail(hook.second, hook.first + " never came");
    if (m_expectations == 0) fail(lines[0], "nothing is expected");
    destroy(true);
    m_host.manager->Shutdown(true);
  }

 private:
  using Hook = std::pair<std::string, Line>;  // an event, and steps when it is heard

  void fail(const Line& line, const std::string& what) const {
    ADD_FAILURE_AT(m_file.c_str(), line.number) << line.text << "\n" << what;
  }

  void run(const Line& head, const Lines& body) {
    std::string rest = head.text;
    const std::string word = take(&rest);
    if (word == "each") {
      for (std::istringstream words(rest); words >> m_each;)
        for (const Lines& step : stepsOf(body)) run(step[0], {step.begin() + 1, step.end()});
    } else if (head.text.back() == ':' && !body.empty()) {
      for (const Line& row : body) performAll(row, head.text.substr(0, head.text.size() - 1) + " ");
    } else {
      const bool isHtml = word == "load" || word == "page" || word == "serve";
      Line whole = head;
      for (const Line& line : body) whole.text += (isHtml ? "\n" : " ") + line.text;
      if (isHtml || word == "on")
        perform(whole, false);
      else
        performAll(whole);
    }
  }

  void performAll(const Line& line, const std::string& start = "") {
    for (std::string rest = line.text; !rest.empty();)
      perform({line.number, start + take(&rest, " | ")}, true);
  }

  void perform(const Line& line, bool mayExpect) {
    if (m_stopped) return;
    m_line = line.number;
    std::string text = replaced(line.text, "$EACH", m_each), expected, seen;
    const size_t arrow = mayExpect ? std::max(text.rfind(" =>") + 1, text.rfind(" ~>") + 1) : 0;
    const bool waits = text[arrow] == '~';
    if (arrow > 0) {
      expected = bytes(text.substr(std::min(arrow + 3, text.size())));
      text.erase(arrow - 1);
      ++m_expectations;
    }
    for (const auto& [name, value] : names()) text = replaced(text, name, value);
    text = bytes(text);
    const std::string word = take(&text);
    const auto fits = [&] {
      seen = result(word, text);
      for (const auto& [name, value] : names()) seen = replaced(seen, value, name);
      seen.erase(seen.find_last_not_of(' ') + 1);
      return arrow == 0 || seen == expected;
    };
    try {
      if (!(waits ? m_host.pumpUntil(fits) : fits()))
        fail(line, "expected: " + expected + "\nseen:     " + seen);
      if (arrow > 0 && seen == kDone) fail(line, "this step has no result");
    } catch (const std::exception& error) {
      fail(line, error.what());
      m_stopped = true;
    }
    if (word == "events" || word == "heard") m_events.clear();
  }

  std::string result(const std::string& word, const std::string& text) {
    int x = 0, y = 0, width = 0, height = 0;
    sscanf(text.c_str(), "%d%*[,x]%d %dx%d", &x, &y, &width, &height);
    std::string rest = text, first = take(&rest);
    std::string value = rest, second = take(&value), last = value, third = take(&last);

    // The host and its listeners.
    if (word == "events" || word == "heard") return events(text, word == "events");
    if (word == "pump") return m_host.manager->PumpEvents(), kDone;
    if (word == "wait") return m_host.pumpFor(x), kDone;
    if (word == "settle") return settle(), kDone;
    if (word == "browser") return makeBrowser(text), kDone;
    if (word == "kept") return ask(m_kept, first, second, value);
    if (word == "kept-plugin") return ask(m_keptPlugin, first, second, value);
    if (!m_browser) throw std::runtime_error("there is no browser");
    if (word == "destroy-later") return destroy(false), kDone;
    if (word == "shutdown") return destroy(true), m_host.manager->Shutdown(true), kDone;
    if (word == "shutdown-later") return m_host.manager->Shutdown(false), kDone;
    if (word == "listen") return m_browser->AddListener(listener(text)), kDone;
    if (word == "unlisten") return m_browser->RemoveListener(listener(text)), kDone;
    if (word == "answer") return answer(listener(first == "-" ? "" : first), second, value), kDone;
    if (word == "on") return hook(text), kDone;
    if (word == "shell") return yes(system(text.c_str()) == 0);

    // Pages.
    if (word == "page") return m_host.directory.write(first, rest), kDone;
    if (word == "serve") return m_server->page(first, rest), kDone;
    if (word == "serve-raw") return m_server->answer(first, replaced(rest, "\\n", "\r\n")), kDone;
    if (word == "server-stops") return m_server->stop(), kDone;
    if (word == "server-starts")
      return m_server.reset(new test::HttpServer(m_server->port())), kDone;
    if (word == "requests") return requests(text);
    if (word == "load") return go(m_host.directory.write("loaded.html", text)), kDone;
    if (word == "go") return go(text), kDone;
    if (word == "finish") return finish(text);
    if (word == "navigate") return m_browser->Navigate(text.c_str()), kDone;
    if (word == "back") return m_browser->Back(), kDone;
    if (word == "forward") return m_browser->Forward(), kDone;
    if (word == "reload") return m_browser->Reload(), kDone;
    if (word == "stop") return m_browser->Stop(), kDone;
    if (word == "title") return m_browser->GetTitle();
    if (word == "location") return m_browser->GetCurrentLocation();
    if (word == "length") return std::to_string(m_browser->GetHistoryLength());
    if (word == "previous") return m_browser->GetPrevLocation();
    if (word == "next") return m_browser->GetNextLocation();
    if (word == "meta") return m_browser->GetMetaTagValue(text.c_str());
    if (word == "js") return m_browser->ExecuteJavascript(text.c_str());
    if (word == "do") return m_browser->ExecuteJavascript((text + ";1").c_str()), settle(), kDone;
    if (word == "inspect") return m_browser->LaunchInspector(false)->Shutdown(), kDone;

    // Input and scrolling.
    if (word == "keys") return keys(text), kDone;
    if (word == "mouse") return mouse(text), kDone;
    if (word == "focus-next") return yes(m_browser->FocusNext());
    if (word == "focus-previous") return yes(m_browser->FocusPrev());
    if (word == "wheel")
      return m_browser->MouseWheel(numberOf<Directions>(first, kDirections), stoi(rest), 0), kDone;
    if (word == "resize") return m_browser->Resize(x, y), kDone;
    if (word == "zoom") return m_browser->SetZoomLevel(strtod(text.c_str(), nullptr)), kDone;
    if (word == "zoomed") return std::to_string(static_cast<int>(m_browser->GetZoomLevel()));
    if (word == "scroll") return m_browser->Scroll(x, y), viewPort();
    if (word == "scroll-to") return m_browser->ScrollToPoint(x, y), viewPort();
    if (word == "step")
      return m_browser->Scroll(numberOf<Directions>(first, kDirections), stoi(rest)), viewPort();
    if (word == "content") return m_browser->GetFrameContentSize(x, y), rectangle(0, 0, x, y);

    // Elements and pixels.
    if (word == "controls") return controls(text);
    if (word == "control") return ask(control(first), second, third, last);
    if (word == "hit") return ask(m_browser->HitTest(x, y), second, third, last);
    if (word == "keep") return m_kept = m_browser->HitTest(x, y), kDone;
    if (word == "tag")
      return LarkaHTMLControl::ConvertLarkaTypeToQTagAndType(numberOf<ControlType>(text, kKinds),
                                                             first, second)
                 ? first + ":" + second
                 : "none";
    if (word == "keep-control") return m_kept = control(text), kDone;
    if (word == "keep-plugin") return m_keptPlugin = plugin(text), kDone;
    if (word == "plugins") return plugins();
    if (word == "plugin") return ask(plugin(first), second, third, last);
    if (word == "pixel") return pixels(text);
    if (word == "colours") return colours(x, y, width, height);
    if (word != "image") throw std::runtime_error("an unknown step");
    return m_browser->GetBrowserImage() ? std::to_string(m_browser->GetBrowserStride() / 4)
                                        : "none";
  }

  // The host and its listeners.

  std::vector<std::pair<std::string, std::string>> names() const {
    const std::string path = m_host.directory.path();
    return {{"$DIR", "file://" + path}, {"$PATH", path}, {"$HTTP", m_server->url("")}};
  }

  static std::string bytes(std::string text) {
    for (size_t at; (at = text.find("\\x")) != text.npos;)
      text.replace(at, 4, 1, static_cast<char>(std::stoi(text.substr(at + 2, 2), nullptr, 16)));
    return text;
  }

  void makeBrowser(const std::string& options) {
    const auto has = [&](const char* option) { return options.find(option) != options.npos; };
    SystemInfoData info = {};
    const std::string storage = m_host.directory.file("storage");
    destroy(true);
    m_browser = m_host.manager->CreateBrowser();
    m_browser->AddListener(nullptr);
    m_browser->AddListener(listener(""));
    m_browser->Initialize(has("no-size") ? 0 : 640, 360, nullptr,
                          has("storage") ? storage.c_str() : nullptr, has("larka"),
                          has("info") ? &info : nullptr);
  }

  void destroy(bool immediate) {
    m_host.manager->DestroyBrowser(std::exchange(m_browser, nullptr), immediate);
  }

  test::Recorder* listener(const std::string& name) {
    test::Recorder& listener = m_listeners[name];
    listener.onEvent = [this, name](const std::string& event) {
      if (event.rfind("OnLoadFinished", 0) == 0) m_end = event.substr(15);
      m_events.emplace_back(name, event);
      const std::string heard = (name.empty() ? "" : name + ":") + event;
      std::vector<Hook> hooks;
      for (const Hook& hook : std::exchange(m_hooks, {}))
        (heard.rfind(hook.first, 0) == 0 ? hooks : m_hooks).push_back(hook);
      for (const Hook& hook : hooks) performAll(hook.second);
    };
    return &listener;
  }

  void hook(std::string text) {
    const std::string event = take(&text, ": ");
    m_hooks.push_back({event, {m_line, text}});
  }

  /// The events of these names since the last look, each of them or only how it was first heard;
  /// those of other listeners as "2:OnDirty". With one name it is left out.
  std::string events(const std::string& names, bool each) const {
    std::vector<std::string> found;
    for (const auto& [listener, event] : m_events) {
      const std::string name = event.substr(0, event.find(' '));
      if ((" " + names + " ").find(" " + name + " ") == names.npos) continue;
      std::string text = listener.empty() ? "" : listener + ":";
      text += names == name && name != event ? event.substr(name.size() + 1) : event;
      if (each || std::find(found.begin(), found.end(), text) == found.end()) found.push_back(text);
    }
    return joined(found, "; ");
  }

  void answer(test::Recorder* listener, const std::string& what, const std::string& text) const {
    if (what == "confirm") listener->confirms = text == "yes";
    if (what == "larka") listener->larkaAnswer = text;
    if (what == "file") listener->chosenFile = m_host.directory.file(text);
    if (what == "prompt") listener->promptAnswer = text, listener->answersPrompt = true;
  }

  // Pages.

  /// How many requests there were, and the different ones of them.
  std::string requests(const std::string& path) {
    std::set<std::string> found;
    const auto requests = m_server->requests(path);
    for (const auto& each : requests)
      found.insert(each.method + " " + replaced(each.body, "&", " "));
    return std::to_string(requests.size()) + " " + joined(found);
  }

  /// Performs a step, and waits for the end of the load that it begins.
  std::string finish(const std::string& step) {
    m_end.clear();
    performAll({m_line, step});
    m_host.pumpUntil([this] { return !m_end.empty() || m_stopped; });
    return m_end;
  }

  void go(const std::string& url) {
    if (finish("navigate " + url) != "true") throw std::runtime_error("can't be loaded");
    m_host.pumpUntil([this] { return m_browser->GetBrowserImage() || m_browser->GetWidth() == 0; });
    settle();
  }

  /// Pumps until nothing has happened for two frames, however slow the machine is.
  void settle() {
    size_t heard = 0;
    for (int quiet = 0; quiet < 30; ++quiet) {
      if (heard != m_events.size()) quiet = 0;
      heard = m_events.size();
      m_host.pumpFor(1);
    }
  }

  // Input.

  /// Names and numbers, "shift+tab", "keypad12", "228", and texts in quotes, which are typed;
  /// "space/" goes down only, "/space" up.
  void keys(const std::string& text) {
    static const std::regex token("\"([^\"]*)\"|(/?)(?:(\\w+)\\+)?([a-z-]+)?(\\d+)?(/?)");
    for (std::sregex_iterator at(text.begin(), text.end(), token), end; at != end; ++at) {
      const std::smatch& key = *at;
      const int code = kKeys.at(key.str(4)) + atoi(key.str(5).c_str());
      std::vector<int> typed(key[1].first, key[1].second);
      if (code) typed.push_back(code);
      for (const int each : typed) {
        if (!key[2].length()) m_browser->KeyDown(each, kModifiers.at(key.str(3)));
        if (!key[6].length()) m_browser->KeyUp(each, kModifiers.at(key.str(3)));
      }
    }
  }

  /// "move 10,20 down 10,20 up 10,20 click 10,20 wheel 0,120".
  void mouse(const std::string& text) {
    std::string what;
    int x, y;
    char comma;
    for (std::istringstream words(text); words >> what >> x >> comma >> y;) {
      if (what == "move") m_browser->MouseMove(x, y, 7);
      if (what == "down") m_browser->MouseDown(x, y, 7);
      if (what == "up") m_browser->MouseUp(x, y, 7);
      if (what == "click") m_browser->MouseClick(x, y, 7);
      if (what == "wheel") m_browser->MouseWheel(x, y, 7);
    }
  }

  std::string viewPort() {
    int x = 0, y = 0, width = 0, height = 0;
    m_browser->GetViewPort(nullptr, nullptr, nullptr, nullptr);
    m_browser->GetViewPort(&x, &y, &width, &height);
    return rectangle(x, y, width, height);
  }

  // Elements and pixels.

  std::vector<LarkaHTMLControl> ofKind(ControlType kind) {
    std::vector<LarkaHTMLControl> found;
    for (LarkaHTMLControl* control : m_browser->GetControls(kind)) {
      found.push_back(*control);
      delete control;
    }
    return found;
  }

  LarkaHTMLControl control(const std::string& id) {
    for (int kind = 0; kind <= CONTROL_UNKNOWN; ++kind)
      for (LarkaHTMLControl& control : ofKind(static_cast<ControlType>(kind)))
        if (control.GetControlId() == id) return control;
    throw std::runtime_error("there is no control " + id);
  }

  std::string controls(const std::string& kind) {
    std::vector<std::string> ids;
    for (LarkaHTMLControl& each : ofKind(numberOf<ControlType>(kind, kKinds)))
      ids.push_back(each.GetControlId());
    return joined(ids);
  }

  LarkaPluginWidget plugin(const std::string& id) {
    for (LarkaPluginWidget& plugin : m_browser->GetPluginWidgets())
      if (plugin.GetID() == id) return plugin;
    throw std::runtime_error("there is no plug-in " + id);
  }

  /// How many different ones there are, and their ids.
  std::string plugins() {
    std::set<void*> handles;
    std::vector<std::string> ids;
    for (LarkaPluginWidget& plugin : m_browser->GetPluginWidgets()) {
      if (plugin.GetHandle()) handles.insert(plugin.GetHandle());
      if (!plugin.GetID().empty()) ids.push_back(plugin.GetID());
    }
    ids.insert(ids.begin(), std::to_string(handles.size()));
    return joined(ids);
  }

  std::string colour(int x, int y) {
    std::ostringstream text;
    text << std::hex << std::setfill('0') << std::setw(8) << test::pixel(m_browser, x, y);
    return text.str();
  }

  std::string pixels(const std::string& points) {
    std::vector<std::string> colours;
    int x, y;
    char comma;
    for (std::istringstream in(points); in >> x >> comma >> y;) colours.push_back(colour(x, y));
    return joined(colours);
  }

  /// The colours within a rectangle, darkest first.
  std::string colours(int left, int top, int width, int height) {
    std::set<std::string> found;
    for (int i = 0; i < width * height; ++i)
      found.insert(colour(left + i % width, top + i / width));
    return found.size() > 4 ? "many" : joined(found);
  }

  std::string m_file, m_each, m_end;
  int m_expectations = 0, m_line = 0;
  bool m_stopped = false;
  test::Host m_host;
  ILarkaBrowser* m_browser = nullptr;
  std::unique_ptr<test::HttpServer> m_server = std::make_unique<test::HttpServer>();
  std::map<std::string, test::Recorder> m_listeners;
  std::vector<std::pair<std::string, std::string>> m_events;  // with their listener
  std::vector<Hook> m_hooks;
  LarkaHTMLControl m_kept;
  LarkaPluginWidget m_keptPlugin{nullptr, true};
};

const bool kRegistered = [] {
  for (const auto& entry : std::filesystem::directory_iterator(LARKA_SOURCE_DIR "/tests/pages")) {
    const std::string file = entry.path().string();
    if (entry.path().extension() != ".page") continue;
    testing::RegisterTest("Pages", entry.path().stem().c_str(), nullptr, nullptr, file.c_str(), 1,
                          [file]() -> testing::Test* { return new PageTest(file); });
  }
  return true;
}();

}  // namespace
