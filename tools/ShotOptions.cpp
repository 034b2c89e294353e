#include "ShotOptions.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>
#include <algorithm>
#include <climits>
#include <fstream>
#include <functional>

#include "larka/Version.h"

namespace {

const Size kLargestView{3840, 2160};
const Size kLargestThumbnail{8192, 8192};

bool parseText(const std::string& text, std::optional<std::string>* copy) {
  *copy = text;
  return true;
}

bool parseNumber(const std::string& text, int least, int most, int* number) {
  bool isNumber = false;
  *number = QByteArray(text.c_str()).toInt(&isNumber);
  return isNumber && *number >= least && *number <= most;
}

bool parsePercent(const std::string& text, double* percent) {
  bool isNumber = false;
  *percent = QByteArray(text.c_str()).toDouble(&isNumber);
  return isNumber && *percent >= 10 && *percent <= 1000;
}

bool parseScale(const std::string& text, double* scale) {
  bool isNumber = false;
  *scale = QByteArray(text.c_str()).toDouble(&isNumber);
  return isNumber && *scale >= 1 && *scale <= 3;
}

bool parseSize(const std::string& text, const Size& most, Size* size) {
  const size_t x = text.find('x');
  return x != std::string::npos && parseNumber(text.substr(0, x), 1, most.width, &size->width) &&
         parseNumber(text.substr(x + 1), 1, most.height, &size->height);
}

bool parseCookie(const std::string& text,
                 std::vector<std::pair<std::string, std::string>>* cookies) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) return false;
  if (text.front() == ' ' || text.back() == ' ') return false;
  for (const char c : text)
    if (c == ';' || (c >= 0 && c < ' ')) return false;
  cookies->emplace_back(text.substr(0, equals), text.substr(equals + 1));
  return true;
}

/// The library takes the folder's name as Latin-1.
bool parseCache(const std::string& text, std::string* directory) {
  const QString name = QString::fromLocal8Bit(text.c_str());
  *directory = name.toLatin1().toStdString();
  return !name.isEmpty() && QString::fromLatin1(directory->c_str()) == name && QDir().mkpath(name);
}

bool parseProxy(const std::string& text, ShotProxy* proxy) {
  const QUrl url(QString::fromLocal8Bit(text.c_str()), QUrl::StrictMode);
  if (url.scheme() != "http" && url.scheme() != "socks5") return false;
  if (url.host().isEmpty() || url.port() <= 0 || url.path().size() > 1) return false;
  proxy->type = url.scheme() == "http" ? LARKA::PROXY_HTTP : LARKA::PROXY_SOCKS5;
  proxy->host = url.host().toStdString();
  proxy->port = url.port();
  proxy->user = url.userName(QUrl::FullyDecoded).toStdString();
  proxy->password = url.password(QUrl::FullyDecoded).toStdString();
  return true;
}

/// A cookie file, or a name for one in a folder that can be written. The library would write over a
/// file of another kind.
bool parseCookieJar(const std::string& path, std::string* jar, std::string* why) {
  *jar = path;
  const QFileInfo info(QString::fromLocal8Bit(path.c_str()));
  const QFileInfo folder(info.absolutePath());
  QFile file(info.filePath());
  if (path.empty())
    *why = "no name";
  else if (info.isDir())
    *why = "is a folder";
  else if (!info.exists() && !folder.isDir())
    *why = "no such folder";
  else if (!(info.exists() ? info : folder).isWritable())
    *why = "can't be written";
  else if (!info.exists())
    return true;
  else if (!info.isFile() || !file.open(QIODevice::ReadOnly))
    *why = "can't be read";
  else if (file.size() > 0 && file.read(4) != QByteArray::fromHex("000000ae"))
    *why = "is a file, but not a cookie file of Larka's";
  return why->empty();
}

bool parseOutput(const std::string& name, QString* output) {
  *output = QString::fromLocal8Bit(name.c_str());
  return !name.empty();
}

bool readList(const std::string& path, std::vector<std::string>* addresses) {
  const std::string name = path == "-" ? "/dev/stdin" : path;
  std::ifstream file(name);
  if (!file || QFileInfo(QString::fromStdString(name)).isDir()) return false;
  for (std::string line; std::getline(file, line);) {
    const QString address = QString::fromStdString(line).trimmed();
    if (!address.isEmpty() && !address.startsWith('#')) addresses->push_back(address.toStdString());
  }
  return true;
}

/// Whether what a person typed without a scheme, and what is no file, was meant as one: its first
/// part is no name of a host, or its end is that of a page's file.
bool looksLikeFile(const QString& address) {
  const QString text = QString(address).remove(QRegularExpression("([?#].*|:[0-9]*)$"));
  const QString first = text.section('/', 0, 0);
  if (text.startsWith('.') || text.startsWith('~')) return true;
  if (first != text) return !first.contains('.') && !first.contains(':') && first != "localhost";
  const QStringList pages = {"html", "htm", "xhtml", "shtml", "php", "xml", "svg", "txt", "png",
                             "jpg",  "gif", "jpeg",  "js",    "css", "pdf", "mht", "webp"};
  return pages.contains(text.section('.', 1).section('.', -1).toLower());
}

/// The place in what a person typed at which "?query" or "#place" follows the name of a file, or
/// -1.
int endOfFileName(const QString& text) {
  const int end = text.indexOf(QRegularExpression("[?#]"));
  return end > 0 && !QFileInfo::exists(text) && QFileInfo::exists(text.left(end)) ? end : -1;
}

/// The page meant by what a person typed. Without a scheme that is a file or else a host.
Shot shotOf(const std::string& asked) {
  const QString text = QString::fromStdString(asked);
  if (text.startsWith("javascript:"))
    return {asked, "", "is script, not an address; --script runs script in a page", ""};
  const int end = endOfFileName(text);
  QUrl url = QUrl::fromUserInput(text.left(end), QDir::currentPath());
  if (end > 0) url = url.resolved(QUrl(text.mid(end)));
  const bool guessed = !url.isLocalFile() && !text.startsWith(url.scheme() + ':');
  if (guessed && looksLikeFile(text)) return {asked, "", "no such file", ""};
  const bool needsHost = QStringList{"http", "https", "ftp"}.contains(url.scheme());
  if (!url.isValid() || (needsHost && url.host().isEmpty()) ||
      (text.contains("://") && !QUrl(text).isValid()))
    return {asked, "", "not an address", ""};
  return {asked, url.toEncoded().toStdString(), "", ""};
}

bool isPng(const QString& name) { return QFileInfo(name).suffix().toLower() == "png"; }

bool isImageName(const QString& name) {
  const QString suffix = QFileInfo(name).suffix().toLower();
  return isPng(name) || suffix == "jpg" || suffix == "jpeg";
}

/// The file of page `index` of `count`.
QString outputFor(const QString& output, int index, int count) {
  const QString number =
      QString::number(index + 1).rightJustified(std::max(3, QString::number(count).size()), '0');
  if (output.endsWith('/') || QFileInfo(output).isDir())
    return QDir(output).filePath(number + ".png");
  if (count == 1) return output;
  const QString suffix = '.' + QFileInfo(output).suffix();
  return output.left(output.size() - suffix.size()) + '-' + number + suffix;
}

/// What the options collect before they are made into shots.
struct Asked {
  std::vector<std::string> addresses;
  QString output = QStringLiteral("larka-shot.png");
  std::string why;  // an option's value is wrong, if that isn't plain
};

using namespace std::placeholders;

/// An option with a value. `read` takes the value, or returns false and leaves what is wrong of it.
struct Option {
  QCommandLineOption option;
  std::string complaint;  // before the wrong value
  std::function<bool(std::string& value)> read;
};

std::vector<Option> optionsWithValues(ShotOptions* options, Asked* asked) {
  std::vector<Option> all;
  const auto add = [&all](const QStringList& names, const char* value, const char* description,
                          const char* complaint, std::function<bool(std::string&)> read) {
    all.push_back({{names, description, value}, complaint, std::move(read)});
  };
  add({"o", "output"}, "OUT",
      "the image file; .png, .jpg or .jpeg decides the format. With several pages their numbers go "
      "before the extension; a folder (one that exists, or a name that ends in /) is filled with "
      "001.png, 002.png, ... (default: larka-shot.png)",
      "--output takes a file name, not", std::bind(parseOutput, _1, &asked->output));
  add({"size"}, "WxH", "the size of the view in pixels, at most 3840x2160 (default: 1280x720)",
      "--size takes WxH, from 1x1 to 3840x2160, not",
      std::bind(parseSize, _1, kLargestView, &options->size));
  add({"scale"}, "RATIO",
      "how many pixels of the image a pixel of the view is, from 1.0 to 3.0: the layout stays, and "
      "text is sharper; the image may have 3840x2160 pixels (default: 1)",
      "--scale takes a number from 1.0 to 3.0, not", std::bind(parseScale, _1, &options->scale));
  add({"thumbnail"}, "WxH", "scale the image to fit into this size, keeping its proportions",
      "--thumbnail takes WxH, from 1x1 to 8192x8192, not",
      std::bind(parseSize, _1, kLargestThumbnail, &options->thumbnail));
  add({"zoom"}, "PERCENT", "the zoom, from 10 to 1000 (default: 100)",
      "--zoom takes a percentage from 10 to 1000, not",
      std::bind(parsePercent, _1, &options->zoomPercent));
  add({"wait"}, "MS",
      "wait this many milliseconds after a page has loaded, and again after --keys and --script "
      "(default: 0)",
      "--wait takes milliseconds, not",
      std::bind(parseNumber, _1, 0, INT_MAX / 2, &options->waitMilliseconds));
  add({"keys"}, "LIST",
      "press keys in the loaded page, separated by commas or blanks: characters (h,i), the names "
      "tab, return (or ok), escape, space, backspace, delete, insert, up, down, left, right, home, "
      "end, "
      "page-up, page-down, comma and plus, or key codes of two or more digits; with shift+, ctrl+, "
      "alt+ or meta+ before it where wanted",
      "--keys: no such key:", std::bind(parseKeys, _1, &options->keys));
  add({"script"}, "JS",
      "then run script in the page and print its value, as text, on standard output; an empty line "
      "for undefined and null, and for script that fails: why is then on standard error",
      "", std::bind(parseText, _1, &options->script));
  add({"timeout"}, "S",
      "stop waiting for a load that takes longer than this many seconds, and for a page that goes "
      "on loading for twice that time, and render what there is; without an answer, or with only a "
      "few hundred bytes of one, there is no image, nor of a page whose script is still busy then "
      "(default: 30)",
      "--timeout takes whole seconds from 1, not",
      std::bind(parseNumber, _1, 1, INT_MAX / 2000, &options->timeoutSeconds));
  add({"user-agent"}, "TEXT", "the user agent to ask with", "",
      std::bind(parseText, _1, &options->userAgent));
  add({"cookie"}, "NAME=VALUE",
      "send this cookie to the host of each page, for a page from the network; may be given "
      "several times",
      "--cookie takes NAME=VALUE without semicolons, not",
      std::bind(parseCookie, _1, &options->cookies));
  add({"cookie-jar"}, "FILE",
      "read cookies from this file and keep them in it; the pages are then rendered one after the "
      "other (default: each page starts without cookies, and none are kept)",
      "--cookie-jar: can't keep cookies in",
      std::bind(parseCookieJar, _1, &options->cookieJar, &asked->why));
  add({"cache"}, "DIR", "keep what is loaded in this folder, and take it from there next time",
      "--cache: can't use the folder", std::bind(parseCache, _1, &options->cache));
  add({"proxy"}, "URL",
      "load through a proxy: http://HOST:PORT or socks5://HOST:PORT, with USER:PASSWORD@ before "
      "the host where it wants them",
      "--proxy takes http://HOST:PORT or socks5://HOST:PORT, not",
      std::bind(parseProxy, _1, &options->proxy));
  add({"jobs"}, "N",
      "how many pages to render at once, each in a process of its own, at most 64 (default: as "
      "many "
      "as there are processor cores, but at least 4)",
      "--jobs takes a number from 1 to 64, not",
      std::bind(parseNumber, _1, 1, kMostJobs, &options->jobs));
  add({"list"}, "FILE",
      "read more addresses from a file, one a line (\"-\": standard input); names of files count "
      "from "
      "the current folder; empty lines and lines that begin with # are skipped",
      "can't read the list", std::bind(readList, _1, &asked->addresses));
  return all;
}

std::string makeShots(const Asked& asked, ShotOptions* options) {
  if (options->size.width * options->scale > kLargestView.width ||
      options->size.height * options->scale > kLargestView.height)
    return "--size times --scale is more than 3840x2160";
  // Each browser has the cookie file to itself.
  if (!options->cookieJar.empty() || options->inProcess) options->jobs = 1;
  if (asked.addresses.empty()) return "no address given; see --help";
  for (const std::string& address : asked.addresses)
    if (address.empty()) return "an address is empty; see --help";
  if (asked.output.endsWith('/') && !QDir().mkpath(asked.output))
    return "can't make the folder " + asked.output.toStdString();
  const int count = static_cast<int>(asked.addresses.size());
  for (int i = 0; i < count; ++i) {
    const QString output = outputFor(asked.output, i, count);
    if (!isImageName(output)) return "the output's name must end in .png, .jpg or .jpeg";
    if (options->transparent && !isPng(output)) return "--transparent needs an output in .png";
    const std::string& address = asked.addresses[static_cast<size_t>(i)];
    Shot shot = shotOf(address);
    shot.output = output.toLocal8Bit().toStdString();
    options->shots.push_back(std::move(shot));
  }
  return "";
}

/// QCommandLineParser asks the application object for the program's name.
std::string helpText(const QCommandLineParser& parser) {
  char name[] = "larka-shot";
  char* arguments[] = {name, nullptr};
  int count = 1;
  const QCoreApplication application(count, arguments);
  return parser.helpText().toStdString();
}

/// "Unknown option 'x'." as the end of a line, with the dashes of what was typed.
std::string whatIsWrong(const QCommandLineParser& parser, const QStringList& arguments) {
  std::string text = parser.errorText().chopped(1).toLatin1().toStdString();
  for (const QString& name : parser.unknownOptionNames()) {
    const QRegularExpression isLong("--" + QRegularExpression::escape(name) + "(=.*)?");
    const char* dashes = arguments.indexOf(isLong) >= 0 ? "--" : "-";
    return "unknown option '" + (dashes + name).toLatin1().toStdString() + "'; see --help";
  }
  text[0] = static_cast<char>(tolower(text[0]));
  return text + "; see --help";
}

}  // namespace

std::string parseOptions(int argc, char** argv, ShotOptions* options) {
  QCommandLineParser parser;
  parser.setApplicationDescription(
      "Renders web pages without a display, as a television would show them, into PNG or JPEG "
      "files.");
  parser.addPositionalArgument(
      "URL", "a page: its address, a local file, or a host name without a scheme", "URL...");
  Asked asked;
  const std::vector<Option> withValues = optionsWithValues(options, &asked);
  for (const Option& option : withValues) parser.addOption(option.option);
  parser.addOptions(
      {{"transparent", "leave the image transparent where the page has no background; for PNG"},
       {"quiet", "say nothing but errors"},
       {"verbose", "show QtWebKit's own diagnostics"},
       {"in-process",
        "run QtWebKit in larka-shot's own process, one page after the other; for debuggers: a page "
        "that crashes or never ends takes larka-shot along"},
       {{"h", "help"}, "show this text"},
       {"version", "show the version"}});

  QStringList arguments;
  for (int i = 0; i < argc; ++i) arguments << QString::fromLatin1(argv[i]);  // keeps all bytes
  if (!parser.parse(arguments)) return whatIsWrong(parser, arguments);
  if (parser.isSet("help")) options->answer = helpText(parser);
  if (parser.isSet("version")) options->answer = "larka-shot " LARKA_VERSION_STRING "\n";
  if (!options->answer.empty()) return "";

  options->transparent = parser.isSet("transparent");
  options->quiet = parser.isSet("quiet");
  options->verbose = parser.isSet("verbose");
  options->inProcess = parser.isSet("in-process");
  for (const QString& address : parser.positionalArguments())
    asked.addresses.push_back(address.toLatin1().toStdString());
  for (const Option& option : withValues) {
    for (const QString& given : parser.values(option.option)) {
      std::string value = given.toLatin1().toStdString();
      if (!option.read(value))
        return option.complaint + (" '" + value + "'") +
               (asked.why.empty() ? "" : ": " + asked.why);
    }
  }
  return makeShots(asked, options);
}
