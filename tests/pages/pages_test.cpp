// Pages with what a host does on them and what it must see: each .page file here is a test.
//
// A line holds steps, separated by " | ": a word, its arguments and maybe what must come of it,
// "=>" at once or "~>" by and by. Indented lines continue the line above. "word: a | b" is
// "word a | word b", "each x y: a | b" does the steps for each word, which $EACH stands for, and
// "on EVENT: a & b" does them when the event is next heard. $DIR is the test's directory, $HTTP the
// address of its server, \xE4 is a byte, "#" begins a comment.
#include <QImage>
#include <QMap>
#include <QPoint>
#include <QRegularExpression>
#include <random>

#include "Host.h"
#include "HttpServer.h"

namespace {

using namespace LARKA;

// A QString holds bytes here, whatever they mean.
QString fromBytes(const std::string& bytes) {
  return QString::fromLatin1(bytes.data(), static_cast<int>(bytes.size()));
}
std::string toBytes(const QString& text) { return text.toLatin1().toStdString(); }

std::string yes(bool is) { return is ? "yes" : "no"; }

QPoint point(const QString& text) {
  return {text.section(',', 0, 0).toInt(), text.section(',', 1).toInt()};
}

std::string rectangle(int x, int y, int width, int height) {
  return toBytes(QString("%1,%2 %3x%4").arg(x).arg(y).arg(width).arg(height));
}

const auto kKinds = QString(
                        "text textarea label unmapped select submit radio checkbox anchor "
                        "password image embed div object unknown")
                        .split(' ');
const QStringList kDirections = {"down", "up", "right", "left"};  // any other is none
const QMap<QString, int> kModifiers = {{"ctrl+", 1},   {"ctrl2+", 2},   {"alt+", 8},
                                       {"shift+", 16}, {"shift2+", 32}, {"meta+", 64}};
const QMap<QString, int> kKeys = {
    {"backspace", 8}, {"tab", 9},     {"line-feed", 10}, {"return", 13},
    {"escape", 27},   {"space", 32},  {"delete", 127},   {"up", 273},
    {"down", 274},    {"right", 275}, {"left", 276},     {"insert", 277},
    {"home", 278},    {"end", 279},   {"page-up", 280},  {"page-down", 281}};
const char kDone[] = "done";  // no result

std::string ask(LarkaHTMLControl control, const QString& what, const QStringList& more) {
  const std::string name = toBytes(more.value(0)), value = toBytes(more.mid(1).join(' '));
  int x = 0, y = 0, width = 0, height = 0;
  if (what == "rect") control.GetControlRect(&x, &y, &width, &height);
  if (what == "zoom") control.GetZoomRect(&x, &y, &width, &height);
  if (what == "rect" || what == "zoom") return rectangle(x, y, width, height);
  if (what == "kind") return toBytes(kKinds[control.GetControlType()]);
  if (what == "id") return control.GetControlId();
  if (what == "text") return control.GetControlText();
  if (what == "on") return yes(control.IsControlSelected());
  if (what == "focused") return yes(control.HasFocus());
  if (what == "clickable") return yes(control.IsClickable());
  if (what == "style") return control.GetStyleProperty(name);
  if (what == "focus") return control.Focus(), kDone;
  if (what == "caret") return control.SetCaretAtEndOfControl(), kDone;
  if (what == "restyle") return control.SetStyleProperty(name, value), kDone;
  throw std::runtime_error("no control does that");
}

std::string ask(LarkaPluginWidget plugin, const QString& what, const QStringList& more) {
  const std::string name = toBytes(more.value(0)), value = toBytes(more.mid(1).join(' '));
  if (what == "names")
    return plugin.GetTagName() + " " + plugin.GetMimeType() + " " + plugin.GetName();
  if (what == "z-index") return std::to_string(plugin.GetZIndex());
  if (what == "rect")
    return rectangle(plugin.GetX(), plugin.GetY(), plugin.GetWidth(), plugin.GetHeight());
  if (what == "visible") return yes(plugin.IsVisible());
  if (what == "has") return yes(plugin.HasAttribute(name.c_str()));
  if (what == "attribute") return plugin.GetAttribute(name.c_str());
  if (what == "set") return plugin.SetAttribute(name.c_str(), value.c_str()), kDone;
  if (what == "js") return plugin.ExecuteJS((name + " " + value).c_str());
  if (what == "focus") return plugin.SetFocus(name != "no"), kDone;
  if (what == "address") return GetMediaAddress(&plugin);
  if (what == "report") {
    MediaReport report;
    report.status = static_cast<MediaStatus>(name[0] - '0');
    sscanf(value.c_str(), "%lf %lf %dx%d", &report.time, &report.duration, &report.width,
           &report.height);
    return yes(ReportMedia(&plugin, report));
  }
  if (what == "full") return plugin.SetFullScreen(name == "on", value == "painted", false), kDone;
  if (what == "is-full") return yes(plugin.IsFullScreen());
  throw std::runtime_error("no plug-in does that");
}

class PageTest : public test::BrowserTest, public IExtraCallbacks {
 public:
  explicit PageTest(std::string file) : m_file(std::move(file)) {}

  void TestBody() override {
    browser->AddListener(nullptr);
    listener("");
    QString steps;
    int number = 0;
    std::ifstream file(m_file);
    for (std::string line; std::getline(file, line);) {
      ++number;
      if (line.empty() || line[0] == '#') continue;
      if (line[0] != ' ') {
        performLine(std::exchange(steps, ""));
        m_line = number;
      }
      steps += (steps.isEmpty() ? "" : " ") + fromBytes(line).trimmed();
    }
    performLine(steps);
    if (browser) RemoveExtraListener(browser, this);
    for (const auto& [event, hooked] : m_hooks) fail(event, "it never came");
    if (!m_expects) fail(steps, "nothing is expected");
  }

 private:
  void fail(const QString& step, const std::string& what) const {
    ADD_FAILURE_AT(m_file.c_str(), m_line) << toBytes(step) << "\n" << what;
  }

  void performLine(QString line) {
    if (line.startsWith("in-process ") && test::hasEngineProcess()) return;
    line.remove(QRegularExpression("^in-process "));
    line.replace("$DIR", fromBytes(host.directory.path()));
    line.replace("$HTTP", fromBytes(m_server.url("")));
    for (int at; (at = line.indexOf("\\x")) >= 0;)
      line.replace(at, 4, QChar(line.mid(at + 2, 2).toInt(nullptr, 16)));
    if (!line.startsWith("each ")) return performAll(line);
    for (const QString& word : line.section(": ", 0, 0).mid(5).split(' '))
      performAll(line.section(": ", 1).replace("$EACH", word));
  }

  void performAll(QString steps) {
    QString start = steps.section(' ', 0, 0);
    if (!start.endsWith(':')) start.clear();
    if (!start.isEmpty()) steps.remove(0, start.size() + 1);
    start.replace(':', " ");
    for (const QString& step : steps.split(" | ", Qt::SkipEmptyParts)) perform(start + step);
  }

  void perform(const QString& step) {
    static const QRegularExpression form("^ *(\\S+)(.*?)(?: ([=~])> ?(.*))?\\z",
                                         QRegularExpression::DotMatchesEverythingOption);
    if (HasFailure()) return;
    if (step.startsWith("on ")) {
      m_hooks.insert(
          {step.mid(3).section(": ", 0, 0), step.section(": ", 1).replace(" & ", " | ")});
      return;
    }
    const QStringList parts = form.match(step).capturedTexts();
    const std::string expected = toBytes(parts.value(4));
    std::string seen;
    const auto fits = [&] {
      seen = result(parts[1], parts[2].mid(1));
      seen.erase(seen.find_last_not_of(' ') + 1);
      return parts.size() == 3 || seen == expected;
    };
    m_expects |= parts.size() > 3;
    try {
      if (!(parts.value(3) == "~" ? host.pumpUntil(fits) : fits()))
        fail(step, "expected: " + expected + "\nseen:     " + seen);
    } catch (const std::exception& error) {
      fail(step, error.what());
    }
    if (parts[1] == "events" || parts[1] == "heard") m_events.clear();
  }

  std::string result(const QString& word, const QString& rest) {
    const QStringList words = rest.split(' ');
    const QString first = words[0], more = rest.section(' ', 1);
    const std::string text = toBytes(rest), end = toBytes(more);
    int x = point(first).x(), y = point(first).y();
    const auto direction = static_cast<Directions>(kDirections.indexOf(first));

    // The host and its listeners.
    if (word == "events" || word == "heard") return events(rest, word == "events");
    if (word == "pump") return host.manager->PumpEvents(), kDone;
    if (word == "shell") return yes(system(text.c_str()) == 0);
    if (word == "settle") return settle(), kDone;
    if (word == "browser")
      return destroy(true), browser = host.createBrowser(&recorder, 640, 360, text == "larka"),
                            kDone;
    if (word == "bare") {
      destroy(true);
      browser = host.manager->CreateBrowser();
      return browser->AddListener(&recorder), kDone;
    }
    if (word == "control") return ask(control(first), words.value(1), words.mid(2));
    if (word == "plugin") return ask(plugin(first), words.value(1), words.mid(2));
    if (!browser) throw std::runtime_error("there is no browser");
    if (word == "initialize")
      return browser->Initialize(640, 360, nullptr, text.c_str(), false, nullptr), kDone;
    if (word == "destroy-later") return destroy(false), kDone;
    if (word == "shutdown") return destroy(true), host.manager->Shutdown(true), kDone;
    if (word == "listen") return browser->AddListener(listener(rest)), kDone;
    if (word == "unlisten") return browser->RemoveListener(listener(rest)), kDone;
    if (word == "listen-more") {
      listener(more)->takesOver = first == "taking";
      return AddExtraListener(browser, listener(more)), kDone;
    }
    if (word == "unlisten-more") return RemoveExtraListener(browser, listener(rest)), kDone;
    if (word == "answer-list") return yes(AnswerList(browser, recorder.question, rest.toInt()));
    if (word == "list-open") return yes(IsListOpen(browser));
    if (word == "close-list") return yes(CloseList(browser));
    if (word == "answer-colour")
      return yes(AnswerColor(browser, recorder.question, text.empty() ? nullptr : text.c_str()));
    if (word == "answer") return answer(listener(first == "-" ? "" : first), end), kDone;

    // Pages.
    if (word == "page") return page(toBytes(first), end);
    if (word == "serve-raw") return m_server.answer("/" + toBytes(first), end), kDone;
    if (word == "load") return go(page("loaded.html", text));
    if (word == "go") return go(text);
    if (word == "finish") return finish(rest);
    if (word == "navigate") return browser->Navigate(text.c_str()), kDone;
    if (word == "back") return browser->Back(), kDone;
    if (word == "forward") return browser->Forward(), kDone;
    if (word == "agent") return browser->SetUserAgent(text.empty() ? nullptr : end.c_str()), kDone;
    if (word == "asked") {
      const QString headers = fromBytes(m_server.requests("/" + toBytes(first)).at(0).headers);
      return toBytes(headers.section(more + ": ", 1).section("\r\n", 0, 0));
    }
    if (word == "requested") return std::to_string(m_server.requests("/" + text).size());
    if (word == "reload") return browser->Reload(), kDone;
    if (word == "stop") return browser->Stop(), kDone;
    if (word == "title") return browser->GetTitle();
    if (word == "location") return browser->GetCurrentLocation();
    if (word == "history")
      return std::to_string(browser->GetHistoryLength()) + " " + browser->GetPrevLocation() + " " +
             browser->GetNextLocation();
    if (word == "meta") return browser->GetMetaTagValue(text.c_str());
    if (word == "js") return browser->ExecuteJavascript(text.c_str());
    if (word == "run") return run(first == "-" ? "" : toBytes(first), end);
    if (word == "at-start") return yes(SetDocumentScript(browser, text.c_str()));
    if (word == "messages") {
      RemoveExtraListener(browser, &recorder);
      AddExtraListener(browser, &recorder);
      return yes(EnableMessages(browser, text == "on"));
    }
    if (word == "post")
      return yes(
          PostMessageToPage(browser, end.c_str(), first == "-" ? "" : toBytes(first).c_str()));
    if (word == "style") return yes(SetStyleSheet(browser, text.c_str()));
    if (word == "hand-over") {
      RemoveExtraListener(browser, &recorder);
      AddExtraListener(browser, &recorder);
      return yes(SetMediaHandedOver(browser, text != "no", text.c_str()));
    }
    if (word == "do") return result("js", rest + ";1"), result("settle", "");

    // Input and scrolling.
    if (word == "keys") return keys(rest), kDone;
    if (word == "move") return browser->MouseMove(x, y, 7), kDone;
    if (word == "down") return browser->MouseDown(x, y, 7), kDone;
    if (word == "up") return browser->MouseUp(x, y, 7), kDone;
    if (word == "click") return clicks(rest), kDone;
    if (word == "wheel") return browser->MouseWheel(x, y, 7), kDone;
    if (word == "turn") return browser->MouseWheel(direction, more.toInt(), 0), kDone;
    if (word == "type") return yes(InsertText(browser, text.c_str()));
    if (word == "retype") return yes(ReplaceText(browser, text.c_str()));
    if (word == "erase") return yes(DeleteText(browser, rest.toInt()));
    if (word == "field") return describe(GetTextField(browser));
    if (word == "field-place") return place(GetTextField(browser));
    if (word == "hear-fields") return AddExtraListener(browser, this), kDone;
    if (word == "unhear-fields") return RemoveExtraListener(browser, this), kDone;
    if (word == "press") return yes(PressFocused(browser));
    if (word == "leave-full-screen") return yes(LeaveFullScreen(browser));
    if (word == "focus-next") return yes(browser->FocusNext());
    if (word == "focus-previous") return yes(browser->FocusPrev());
    if (word == "focus") return focus(words);
    if (word == "image-follows") return yes(SetImageFollowsResize(browser, true));
    if (word == "resize") return browser->Resize(x, y), kDone;
    if (word == "zoom") return browser->SetZoomLevel(strtod(text.c_str(), nullptr)), kDone;
    if (word == "zoomed") return std::to_string(static_cast<int>(browser->GetZoomLevel()));
    if (word == "scroll") return browser->Scroll(x, y), viewPort();
    if (word == "scroll-to") return browser->ScrollToPoint(x, y), viewPort();
    if (word == "step") return browser->Scroll(direction, more.toInt()), viewPort();
    if (word == "content") return browser->GetFrameContentSize(x, y), rectangle(0, 0, x, y);
    if (word == "mash") return mash(first.toInt(), more.split(" & ")), kDone;

    // Elements and pixels.
    if (word == "keep") return m_kept = control(first), kDone;
    if (word == "keep-plugin") return m_keptPlugin = plugin(first), kDone;
    if (word == "plugins") return plugins();
    if (word == "pixel") return pixels(rest);
    if (word == "changed") return m_changed;
    if (word == "save") {
      browser->SaveBrowserImage(host.directory.file("thumb").c_str(), x, y);
      const QImage image(fromBytes(host.directory.file("thumb")));
      return test::readFile(host.directory.file("thumb")).substr(6, 4) + " " +
             rectangle(image.pixelColor(1, 1).red(), 0, image.width(), image.height());
    }
    if (word == "place") return place(plugin(first));
    if (word == "changed") return changed();
    if (word == "ratio") return yes(SetDevicePixelRatio(browser, strtod(text.c_str(), nullptr)));
    if (word == "largest") return yes(SetMaximumImageSize(browser, x, y));
    if (word == "follow") return yes(SetImageFollowsResize(browser, text == "on"));
    if (word == "transparent") return yes(SetTransparent(browser, text == "on"));
    if (word != "image") throw std::runtime_error("an unknown step");
    return browser->GetBrowserImage() ? std::to_string(browser->GetBrowserStride() / 4) : "none";
  }

  // The host and its listeners.

  void destroy(bool immediate) {
    host.manager->DestroyBrowser(std::exchange(browser, nullptr), immediate);
  }

  test::Recorder* listener(const QString& name) {
    test::Recorder& listener = name.isEmpty() ? recorder : m_listeners[name];
    listener.onEvent = [this, name](const std::string& event) {
      hear((name.isEmpty() ? "" : name + ":") + fromBytes(event));
    };
    return &listener;
  }

  void hear(const QString& event) {
    m_events.append(event);
    if (event == "OnDirty") {
      m_changed.clear();
      for (const Rectangle& part : GetChangedRectangles(browser))
        m_changed += rectangle(part.x, part.y, part.width, part.height) + " ";
    }
    for (const auto& [start, steps] : std::exchange(m_hooks, {}))
      if (event.startsWith(start))
        performAll(steps);
      else
        m_hooks.insert({start, steps});
  }

  void OnTextField(ILarkaBrowser*, const TextField& field) override {
    hear("OnTextField " + fromBytes(describe(field)));
  }

  /// The events of these names since the last look, each of them or only how it was first heard.
  /// With one name it is left out.
  std::string events(const QString& names, bool each) const {
    QStringList found;
    for (const QString& event : m_events) {
      const QString name = event.section(' ', 0, 0).section(':', -1);
      if (names.split(' ').contains(name)) found += event;
    }
    if (!each) found.removeDuplicates();
    if (!names.contains(' ')) found.replaceInStrings(QRegularExpression(names + " "), "");
    return toBytes(found.join("; "));
  }

  static void answer(test::Recorder* listener, const std::string& text) {
    listener->confirms = text == "yes";
    listener->larkaAnswer = listener->chosenFile = listener->promptAnswer = text;
    listener->answersPrompt = true;
  }

  // Pages.

  std::string page(const std::string& name, const std::string& html) {
    return m_server.page("/" + name, html), host.directory.write(name, html);
  }

  /// Performs a step, and waits for the end of the load that it begins.
  std::string finish(const QString& step) {
    recorder.finished = false;
    perform(step);
    host.pumpUntil([&] { return recorder.finished || HasFailure(); });
    return yes(recorder.ok);
  }

  std::string run(const std::string& frame, const std::string& script) {
    const ScriptResult result = EvaluateScript(browser, script.c_str(), frame.c_str());
    if (result.ok) return result.json;
    return result.message + " @" + std::to_string(result.line) + " " +
           toBytes(fromBytes(result.stack).replace('\n', '/'));
  }

  std::string go(const std::string& url) {
    return visit(url) ? kDone : throw std::runtime_error("can't be loaded");
  }

  // Input.

  /// Names and numbers, "shift+tab", "228", and texts in quotes, which are typed; "space/" goes
  /// down only, "/space" up.
  void keys(const QString& text) {
    static const QRegularExpression form("\"([^\"]*)\"|(/?)(\\w+\\+)?([a-z0-9-]+)(/?)");
    for (auto tokens = form.globalMatch(text); tokens.hasNext();) {
      const QStringList key = tokens.next().capturedTexts();
      std::u32string typed = key[1].toStdU32String();
      if (key.size() > 2) typed += static_cast<char32_t>(kKeys.value(key[4], key[4].toInt()));
      for (const char32_t each : typed) {
        if (key.value(2).isEmpty()) browser->KeyDown(each, kModifiers.value(key.value(3)));
        if (key.value(5).isEmpty()) browser->KeyUp(each, kModifiers.value(key.value(3)));
      }
    }
  }

  /// The ids that the focus gets to in these directions; "-" where it stays.
  std::string focus(const QStringList& directions) {
    QStringList ids;
    for (const QString& each : directions)
      ids += MoveFocus(browser, static_cast<Directions>(kDirections.indexOf(each)))
                 ? fromBytes(run("",
                                 "(function f(d){d=d.activeElement;return d.contentDocument?"
                                 "f(d.contentDocument):d.id})(document)"))
                 : QString("-");
    return toBytes(ids.join(' ').remove('"'));
  }

  void clicks(const QString& points) {
    for (const QString& each : points.split(' '))
      browser->MouseClick(point(each).x(), point(each).y(), 7);
  }

  /// Steps at random, but always the same, with a number for each "?".
  void mash(int times, const QStringList& steps) {
    std::mt19937 random(20);
    for (; times > 0; --times) {
      QString step = steps[random() % steps.size()];
      for (int at; (at = step.indexOf('?')) >= 0;)
        step.replace(at, 1, QString::number(static_cast<int>(random()) >> random() % 32));
      perform(step);
    }
  }

  std::string viewPort() {
    int x = 0, y = 0, width = 0, height = 0;
    browser->GetViewPort(&x, &y, &width, &height);
    return rectangle(x, y, width, height);
  }

  /// Its kind, text and selection, and its limit.
  static std::string describe(const TextField& field) {
    const QString form = "%1 [%2] %3-%4%5%6";
    const int maximum = field.maximumLength;
    return toBytes(form.arg(field.kind)
                       .arg(fromBytes(field.text).replace("\n", "/"))
                       .arg(field.selectionStart)
                       .arg(field.selectionEnd)
                       .arg(maximum < 0 ? "" : QString(" of %1").arg(maximum))
                       .arg(field.readOnly ? " read-only" : ""));
  }

  /// Its rectangle, and where in it the caret is.
  static std::string place(const TextField& field) {
    const LARKA::Rectangle &area = field.area, &caret = field.caret;
    return rectangle(area.x, area.y, area.width, area.height) + " " +
           std::to_string(caret.x - area.x) + "," + std::to_string(caret.y - area.y);
  }

  // Elements and pixels.

  /// The element with an id, at a point, or the kept one.
  LarkaHTMLControl control(const QString& name) {
    if (name == "kept") return m_kept;
    if (name.contains(',')) return browser->HitTest(point(name).x(), point(name).y());
    for (int kind = 0; kind <= CONTROL_UNKNOWN; ++kind) {
      LarkaHTMLControl found;
      for (LarkaHTMLControl* each : browser->GetControls(static_cast<ControlType>(kind))) {
        if (each->GetControlId() == toBytes(name)) found = *each;
        delete each;
      }
      if (!found.GetControlId().empty()) return found;
    }
    throw std::runtime_error("there is no such control");
  }

  LarkaPluginWidget plugin(const QString& id) {
    if (id == "kept") return m_keptPlugin;
    for (LarkaPluginWidget& plugin : browser->GetPluginWidgets())
      if (plugin.GetID() == toBytes(id)) return plugin;
    throw std::runtime_error("there is no such plug-in");
  }

  /// Where it is in the image, and what is seen of it.
  std::string place(LarkaPluginWidget plugin) {
    std::string found;
    const PluginPlace place = GetPluginPlace(browser, &plugin);
    for (const auto& each : {place.area, place.visible})
      found += rectangle(each.x, each.y, each.width, each.height) + " ";
    return found;
  }

  std::string changed() {
    std::string found;
    for (const auto& each : GetChangedRectangles(browser))
      found += rectangle(each.x, each.y, each.width, each.height) + " ";
    return found;
  }

  /// How many there are, and their ids.
  std::string plugins() {
    auto plugins = browser->GetPluginWidgets();
    std::string found = std::to_string(plugins.size());
    for (LarkaPluginWidget& plugin : plugins) found += " " + plugin.GetID();
    return found;
  }

  std::string pixels(const QString& points) {
    QStringList colours;
    for (const QString& each : points.split(' '))
      colours += QString::number(test::pixel(browser, point(each).x(), point(each).y()), 16);
    return toBytes(colours.join(' '));
  }

  std::string m_file;
  int m_line = 0;
  bool m_expects = false;
  test::HttpServer m_server;
  std::map<QString, test::Recorder> m_listeners;
  QStringList m_events;                     // "2:OnDirty" is one of another listener
  std::multimap<QString, QString> m_hooks;  // events, and steps when they are heard
  std::string m_changed;                    // of the image, with the last notice
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
