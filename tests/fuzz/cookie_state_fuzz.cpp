// Feeds the reader of the cookie file with whatever libFuzzer comes up with, as a file, as what
// another process has made of the file, and as what a page chooses; see scripts/fuzz.sh.
#include <QNetworkCookie>
#include <QUrl>
#include <cstdlib>

#include "cookies/networkcookiejar.h"

namespace {

void require(bool condition) {
  if (!condition) abort();
}

struct Jar : LARKA::NetworkCookieJar {
  using NetworkCookieJar::merge;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const QByteArray state(reinterpret_cast<const char*>(data), static_cast<int>(size));
  const QUrl url(QStringLiteral("http://shop.example.com/"));
  LARKA::NetworkCookieJar jar;
  jar.restoreState(state);
  jar.cookiesForUrl(url);
  require(jar.setCookiesFromUrl({QNetworkCookie("fresh", "1")}, url));
  require(!jar.cookiesForUrl(url).isEmpty());

  const QByteArray saved = jar.saveState();
  LARKA::NetworkCookieJar copy;
  require(copy.restoreState(saved));
  require(copy.saveState() == saved);
  jar.endSession();

  Jar sharing;
  sharing.setCookiesFromUrl({QNetworkCookie("own", "1")}, url);
  const QNetworkCookie own = sharing.cookiesForUrl(url).first();
  for (const QByteArray& each : {state, saved, state}) sharing.merge(each);
  require(sharing.cookiesForUrl(url).contains(own));
  copy.restoreState(sharing.saveState());
  require(copy.saveState() == sharing.saveState());

  QUrl page(url);
  page.setPath(QLatin1Char('/') + QString::fromUtf8(state.constData(), state.size()));
  const int half = state.size() / 2;
  LARKA::NetworkCookieJar chosen;
  chosen.setCookiesFromUrl({QNetworkCookie("n" + state.left(half), state.mid(half))}, page);
  require(copy.restoreState(chosen.saveState()));
  require(copy.cookiesForUrl(page) == chosen.cookiesForUrl(page));
  require(copy.saveState() == chosen.saveState());
  return 0;
}
