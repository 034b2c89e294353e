#include "ShotOptions.h"

#include <getopt.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <fstream>

namespace {

const Size kLargestView{1280, 720};
const int kLargestThumbnail = 8192;
const int kMostJobs = 64;

const char kHelp[] =
    R"(Usage: larka-shot [options] URL... [-o OUT]

Renders web pages without a display, as a television would show them, into PNG or JPEG files.
A URL may also be a local file, or a host name without a scheme.

  -o, --output OUT      the image file; .png, .jpg or .jpeg decides the format. With several pages
                        their numbers go before the extension; a folder (one that exists, or a name
                        that ends in /) is filled with 001.png, 002.png, ...
                        (default: larka-shot.png)
      --size WxH        the size of the view in pixels, at most 1280x720 (default: 1280x720)
      --thumbnail WxH   scale the image to fit into this size, keeping its proportions
      --zoom PERCENT    the zoom, from 10 to 1000 (default: 100)
      --wait MS         wait this long after a page has loaded, and again after --keys and --script
                        (default: 0)
      --keys LIST       press keys in the loaded page, separated by commas or blanks: characters
                        ("h,i"), the names tab, return, escape, space, backspace, delete, insert, up,
                        down, left, right, home, end, page-up, page-down, comma and plus, or key codes
                        of two or more digits; with shift+, ctrl+, alt+ or meta+ before it where wanted
      --script JS       then run script in the page and print its value, as text, on standard output;
                        an empty line for undefined, null and script that fails
      --timeout S       stop waiting for a load that takes longer than S seconds, and for a page that
                        goes on loading for twice that time, and render what there is (default: 30)
      --user-agent TEXT the user agent to ask with
      --cookie NAME=VALUE
                        send this cookie to the host of each page, for a page from the
                        network; may be given several times
      --cookie-jar FILE keep cookies in this file instead of the library's own; the pages are then
                        rendered one after the other
      --cache DIR       keep what is loaded in this folder, and take it from there next time
      --proxy URL       load through a proxy: http://HOST:PORT or socks5://HOST:PORT, with
                        USER:PASSWORD@ before the host where it wants them
      --jobs N          how many pages to render at once, at most 64 (default: 4)
      --list FILE       read more addresses from a file, one a line ("-": standard input);
                        empty lines and lines that begin with # are skipped
      --quiet           say nothing but errors
      --verbose         show the engine's own diagnostics
  -h, --help            show this text
      --version         show the version

Exit status: 0 when every page was rendered, 1 when one or more failed, 3 when every page was rendered
but one or more hadn't loaded completely (each with a line on standard error; the others are
rendered), 2 when the command line makes no sense.

Examples:
  larka-shot example.org
  larka-shot menu.html -o menu.jpg --size 960x540
  larka-shot search.html --keys "l,a,r,k,tab,return" --wait 500
  larka-shot menu.html --script "document.links.length"
  larka-shot --list portals.txt --jobs 8 --thumbnail 320x180 -o thumbs/
)";

bool parseNumber(const char* text, int least, int most, int* number) {
  char* end = nullptr;
  const long value = strtol(text, &end, 10);
  if (end == text || *end != '\0' || value < least || value > most) return false;
  *number = static_cast<int>(value);
  return true;
}

bool parsePercent(const char* text, double* percent) {
  char* end = nullptr;
  *percent = strtod(text, &end);
  return end != text && *end == '\0' && *percent >= 10 && *percent <= 1000;
}

bool parseSize(const std::string& text, const Size& most, Size* size) {
  const size_t x = text.find('x');
  return x != std::string::npos &&
         parseNumber(text.substr(0, x).c_str(), 1, most.width, &size->width) &&
         parseNumber(text.substr(x + 1).c_str(), 1, most.height, &size->height);
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
bool parseCache(const char* text, std::string* directory) {
  const QString name = QString::fromLocal8Bit(text);
  *directory = name.toLatin1().toStdString();
  return !name.isEmpty() && QString::fromLatin1(directory->c_str()) == name && QDir().mkpath(name);
}

bool parseProxy(const char* text, ShotProxy* proxy) {
  const QUrl url(QString::fromLocal8Bit(text), QUrl::StrictMode);
  if (url.scheme() != "http" && url.scheme() != "socks5") return false;
  if (url.host().isEmpty() || url.port() <= 0 || url.path().size() > 1) return false;
  proxy->type = url.scheme() == "http" ? LARKA::PROXY_HTTP : LARKA::PROXY_SOCKS5;
  proxy->host = url.host().toStdString();
  proxy->port = url.port();
  proxy->user = url.userName(QUrl::FullyDecoded).toStdString();
  proxy->password = url.password(QUrl::FullyDecoded).toStdString();
  return true;
}

/// Whether there is such a cookie file, or a folder to make it in. The library would write over a
/// file of another kind.
bool canKeepCookies(const char* path) {
  const QFileInfo info(QString::fromLocal8Bit(path));
  if (!info.exists()) return *path && QFileInfo(info.absolutePath()).isWritable();
  QFile file(info.filePath());
  if (!info.isFile() || !info.isWritable() || !file.open(QIODevice::ReadOnly)) return false;
  return file.size() == 0 || file.read(4) == QByteArray::fromHex("000000ae");
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

/// The address meant by what a person typed; empty when it can't be one.
std::string toUrl(const std::string& asked) {
  const QUrl url = QUrl::fromUserInput(QString::fromStdString(asked), QDir::currentPath());
  return url.isValid() ? url.toEncoded().toStdString() : std::string();
}

bool isImageName(const QString& name) {
  const QString suffix = QFileInfo(name).suffix().toLower();
  return suffix == "png" || suffix == "jpg" || suffix == "jpeg";
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

enum LongOption {
  kSize = 256,
  kThumbnail,
  kZoom,
  kScript,
  kKeys,
  kWait,
  kTimeout,
  kUserAgent,
  kCookie,
  kCookieJar,
  kCache,
  kProxy,
  kJobs,
  kList,
  kQuiet,
  kVerbose,
  kVersionOption
};

const option kLongOptions[] = {{"output", required_argument, nullptr, 'o'},
                               {"help", no_argument, nullptr, 'h'},
                               {"size", required_argument, nullptr, kSize},
                               {"thumbnail", required_argument, nullptr, kThumbnail},
                               {"zoom", required_argument, nullptr, kZoom},
                               {"script", required_argument, nullptr, kScript},
                               {"keys", required_argument, nullptr, kKeys},
                               {"wait", required_argument, nullptr, kWait},
                               {"timeout", required_argument, nullptr, kTimeout},
                               {"user-agent", required_argument, nullptr, kUserAgent},
                               {"cookie", required_argument, nullptr, kCookie},
                               {"cookie-jar", required_argument, nullptr, kCookieJar},
                               {"cache", required_argument, nullptr, kCache},
                               {"proxy", required_argument, nullptr, kProxy},
                               {"jobs", required_argument, nullptr, kJobs},
                               {"list", required_argument, nullptr, kList},
                               {"quiet", no_argument, nullptr, kQuiet},
                               {"verbose", no_argument, nullptr, kVerbose},
                               {"version", no_argument, nullptr, kVersionOption},
                               {nullptr, 0, nullptr, 0}};

/// What the options collect before they are made into shots.
struct Asked {
  std::vector<std::string> addresses;
  QString output = QStringLiteral("larka-shot.png");
};

std::string applyOption(int option, const char* given, ShotOptions* options, Asked* asked) {
  const char* value = given ? given : "";
  const std::string quoted = "'" + std::string(value) + "'";
  switch (option) {
    case 'o':
      asked->output = QString::fromLocal8Bit(value);
      return asked->output.isEmpty() ? "--output needs a file name" : "";
    case 'h':
      options->action = ShotOptions::kHelp;
      return "";
    case kVersionOption:
      options->action = ShotOptions::kVersion;
      return "";
    case kSize:
      return parseSize(value, kLargestView, &options->size)
                 ? ""
                 : "--size takes WxH, from 1x1 to 1280x720, not " + quoted;
    case kThumbnail:
      return parseSize(value, {kLargestThumbnail, kLargestThumbnail}, &options->thumbnail)
                 ? ""
                 : "--thumbnail takes WxH, from 1x1 to 8192x8192, not " + quoted;
    case kZoom:
      return parsePercent(value, &options->zoomPercent)
                 ? ""
                 : "--zoom takes a percentage from 10 to 1000, not " + quoted;
    case kScript:
      options->script = value;
      options->hasScript = true;
      return "";
    case kKeys: {
      const std::string word = parseKeys(value, &options->keys);
      if (!word.empty()) return "--keys: no such key: '" + word + "'; see --help";
      return options->keys.empty() ? "--keys names no key" : "";
    }
    case kWait:
      return parseNumber(value, 0, INT_MAX / 2, &options->waitMilliseconds)
                 ? ""
                 : "--wait takes milliseconds, not " + quoted;
    case kTimeout:
      return parseNumber(value, 1, INT_MAX / 2000, &options->timeoutSeconds)
                 ? ""
                 : "--timeout takes whole seconds from 1, not " + quoted;
    case kJobs:
      return parseNumber(value, 1, kMostJobs, &options->jobs)
                 ? ""
                 : "--jobs takes a number from 1 to 64, not " + quoted;
    case kCookie:
      return parseCookie(value, &options->cookies)
                 ? ""
                 : "--cookie takes NAME=VALUE without semicolons, not " + quoted;
    case kCookieJar:
      options->cookieJar = value;
      return canKeepCookies(value) ? "" : "--cookie-jar: can't keep cookies in " + quoted;
    case kCache:
      return parseCache(value, &options->cache) ? "" : "--cache: can't use the folder " + quoted;
    case kProxy:
      return parseProxy(value, &options->proxy)
                 ? ""
                 : "--proxy takes http://HOST:PORT or socks5://HOST:PORT, not " + quoted;
    case kUserAgent:
      options->userAgent = value;
      options->hasUserAgent = true;
      return "";
    case kList:
      return readList(value, &asked->addresses) ? "" : "can't read the list " + quoted;
    case kQuiet:
      options->quiet = true;
      return "";
    case kVerbose:
      options->verbose = true;
      return "";
    default:
      return "unknown option, or one without its value; see --help";
  }
}

std::string makeShots(const Asked& asked, ShotOptions* options) {
  if (!options->cookieJar.empty()) options->jobs = 1;  // each browser has the file to itself
  if (asked.addresses.empty()) return "no address given; see --help";
  if (asked.output.endsWith('/') && !QDir().mkpath(asked.output))
    return "can't make the folder " + asked.output.toStdString();
  const int count = static_cast<int>(asked.addresses.size());
  for (int i = 0; i < count; ++i) {
    const QString output = outputFor(asked.output, i, count);
    if (!isImageName(output)) return "the output's name must end in .png, .jpg or .jpeg";
    const std::string& address = asked.addresses[static_cast<size_t>(i)];
    options->shots.push_back({address, toUrl(address), output.toLocal8Bit().toStdString()});
  }
  return "";
}

}  // namespace

const char* helpText() { return kHelp; }

std::string parseOptions(int argc, char** argv, ShotOptions* options) {
  Asked asked;
  opterr = 0;
  for (int option; (option = getopt_long(argc, argv, "o:h", kLongOptions, nullptr)) != -1;) {
    std::string wrong = applyOption(option, optarg, options, &asked);
    if (!wrong.empty()) return wrong;
  }
  if (options->action != ShotOptions::kRender) return "";
  asked.addresses.insert(asked.addresses.begin(), argv + optind, argv + argc);
  return makeShots(asked, options);
}
