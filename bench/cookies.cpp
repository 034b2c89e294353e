// Measures what the cookie store costs when it is full, and compares it with Qt's own store.
#include <benchmark/benchmark.h>

#include <QDateTime>
#include <QNetworkCookie>
#include <QUrl>

#include "cookies/networkcookiejar.h"

namespace {

const int kPerDomain = 10;
const int kMostOfADomain = 180;
const int kMostInAll = 3000;
const QUrl kUrl(QStringLiteral("http://www.site0.com/dir/page.html"));

class Jar : public LARKA::NetworkCookieJar {
 public:
  using NetworkCookieJar::allCookies;
  using NetworkCookieJar::merge;
  using NetworkCookieJar::setAllCookies;
  using NetworkCookieJar::setSaved;
};

class QtJar : public QNetworkCookieJar {
 public:
  using QNetworkCookieJar::setAllCookies;
};

QList<QNetworkCookie> cookies(int count) {
  QList<QNetworkCookie> made;
  for (int i = 0; i < count; ++i) {
    QNetworkCookie cookie("name" + QByteArray::number(i % kPerDomain), QByteArray(40, 'v'));
    cookie.setDomain(QStringLiteral("www.site%1.com").arg(i / kPerDomain));
    cookie.setPath(QStringLiteral("/"));
    cookie.setExpirationDate(QDateTime::currentDateTimeUtc().addYears(1));
    made.append(cookie);
  }
  return made;
}

template <typename AnyJar>
void cookiesForUrl(benchmark::State& state) {
  AnyJar jar;
  jar.setAllCookies(cookies(static_cast<int>(state.range(0))));
  for (auto _ : state) {
    const QList<QNetworkCookie> found = jar.cookiesForUrl(kUrl);
    if (found.size() != kPerDomain) state.SkipWithError("found other cookies than those stored");
    benchmark::DoNotOptimize(found);
  }
}
BENCHMARK_TEMPLATE(cookiesForUrl, Jar)->Arg(10)->Arg(kMostInAll);
BENCHMARK_TEMPLATE(cookiesForUrl, QtJar)->Arg(10)->Arg(kMostInAll);

template <typename AnyJar>
void setOneCookie(benchmark::State& state) {
  AnyJar jar;
  jar.setAllCookies(cookies(static_cast<int>(state.range(0))));
  const QList<QNetworkCookie> one = {QNetworkCookie("name3", "new")};
  for (auto _ : state) benchmark::DoNotOptimize(jar.setCookiesFromUrl(one, kUrl));
}
BENCHMARK_TEMPLATE(setOneCookie, Jar)->Arg(10)->Arg(kMostInAll);
BENCHMARK_TEMPLATE(setOneCookie, QtJar)->Arg(10)->Arg(kMostInAll);

// Each cookie has a new name, so the oldest of its domain or of the store has to go.
void setNewCookie(benchmark::State& state, const char* host) {
  Jar jar;
  jar.setAllCookies(cookies(kMostInAll));
  int made = 0;
  const auto setNext = [&] {
    const QByteArray number = QByteArray::number(made++);
    const QUrl url(QString(host).replace(QLatin1Char('#'), QString::fromLatin1(number)));
    return jar.setCookiesFromUrl({QNetworkCookie("new" + number, "v")}, url);
  };
  while (made < kMostOfADomain) setNext();
  for (auto _ : state)
    if (!setNext()) state.SkipWithError("not stored");
  state.counters["stored"] = jar.allCookies().size();
}
BENCHMARK_CAPTURE(setNewCookie, of_a_full_domain, "http://www.site0.com/");
BENCHMARK_CAPTURE(setNewCookie, in_a_full_store, "http://www.new#.com/");

void saveState(benchmark::State& state) {
  Jar jar;
  jar.setAllCookies(cookies(static_cast<int>(state.range(0))));
  for (auto _ : state) benchmark::DoNotOptimize(jar.saveState());
  state.SetComplexityN(state.range(0));
}
BENCHMARK(saveState)
    ->RangeMultiplier(10)
    ->Range(30, kMostInAll)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMillisecond);

void restoreState(benchmark::State& state) {
  Jar jar;
  jar.setAllCookies(cookies(static_cast<int>(state.range(0))));
  const QByteArray saved = jar.saveState();
  for (auto _ : state) {
    LARKA::NetworkCookieJar restored;
    benchmark::DoNotOptimize(restored.restoreState(saved));
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(restoreState)
    ->RangeMultiplier(10)
    ->Range(30, kMostInAll)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMillisecond);

// A full store takes over so many cookies that another process has changed.
void mergeChanges(benchmark::State& state) {
  QList<QNetworkCookie> stored = cookies(kMostInAll);
  QByteArray states[2];
  Jar jar;
  for (QByteArray& each : states) {
    jar.setAllCookies(stored);
    each = jar.saveState();
    jar.setSaved(each);
    for (int i = 0; i < state.range(0); ++i) stored[i].setValue("changed");
  }
  for (int i = 0; state.KeepRunning(); ++i) jar.merge(states[i % 2]);
  if (jar.allCookies().size() != kMostInAll) state.SkipWithError("lost cookies");
}
BENCHMARK(mergeChanges)->Arg(1)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
