// The cookie store: which cookies it takes, gives and drops, and what damage to its bytes does.
#include "cookies/networkcookiejar.h"

#include <gtest/gtest.h>

#include <QNetworkCookie>
#include <QUrl>
#include <algorithm>

#include "Clock.h"

namespace {

using test::Clock;

class Jar : public LARKA::NetworkCookieJar {
 public:
  using NetworkCookieJar::allCookies;
  using NetworkCookieJar::setAllCookies;

  bool set(const QString& url, const QByteArray& header) {
    return setCookiesFromUrl(QNetworkCookie::parseCookies(header), QUrl(url));
  }
  /// Sets cookies "c<first>" to "c<last>", each from the host with its number in it.
  void fill(const QString& host, int first, int last, const QByteArray& rest = "=1") {
    for (int i = first; i <= last; ++i)
      set("http://" + QString(host).replace("%1", QString::number(i)),
          "c" + QByteArray::number(i) + rest);
  }
  /// "name=value" of each cookie for a request, or of all, in order.
  QString sent(const QString& url) const { return describe(cookiesForUrl(QUrl(url))); }
  QString stored() const { return describe(allCookies()); }
  bool has(const QString& cookie) const { return (stored() + ' ').contains(cookie); }

 private:
  static QString describe(const QList<QNetworkCookie>& cookies) {
    QStringList texts;
    for (const QNetworkCookie& cookie : cookies)
      texts += cookie.toRawForm(QNetworkCookie::NameAndValueOnly);
    return texts.join(' ');
  }
};

// What is being set, from where, the rest of the cookie "a=1", and whether it may be.
const std::tuple<const char*, const char*, QByteArray, bool> kSetRows[] = {
    {"the host itself", "http://shop.example.com/", "; domain=shop.example.com", true},
    {"the domain above", "http://shop.EXAMPLE.com/", "; domain=.Example.COM", true},
    {"a subdomain", "http://example.com/", "; domain=shop.example.com", false},
    {"a name that ends alike", "http://badexample.com/", "; domain=example.com", false},
    {"a top-level domain", "http://shop.example.com/", "; domain=com", false},
    {"a second-level domain", "http://shop.example.co.uk/", "; domain=co.uk", false},
    {"that of the last country", "http://shop.example.co.zw/", "; domain=co.zw", false},
    {"below a second-level domain", "http://shop.example.co.uk/", "; domain=example.co.uk", true},
    {"only dots", "http://example.com/", "; domain=..", false},
    {"localhost, from a file", "file:///a.html", "; domain=localhost", true},
    {"localhost, from elsewhere", "http://example.com/", "; domain=localhost", false},
    {"a host without a name", "file:///a.html", "; domain=example.com", false},
    {"more labels than the host, first alike", "http://a/", "; domain=a.b.c", true},
    {"no host", "about:blank", "", false},
    {"the longest path", "http://a.com/", "; path=/" + QByteArray(1023, 'p'), true},
    {"a longer path", "http://a.com/", "; path=/" + QByteArray(1024, 'p'), false},
    {"the largest cookie", "http://a.com/", QByteArray(4094, 'x'), true},
    {"a larger cookie", "http://a.com/", QByteArray(4095, 'x'), false},
    {"an expired cookie", "http://a.com/", "; expires=Thu, 01-Jan-1970 00:00:01 GMT", false},
};

TEST(CookieStoreTest, AResponseMaySetSomeCookies) {
  for (const auto& [what, url, rest, accepted] : kSetRows) {
    Jar jar;
    EXPECT_EQ(jar.set(url, "a=1" + rest), accepted) << what;
    EXPECT_NE(jar.stored().isEmpty(), accepted) << what;
  }
  Jar jar;
  EXPECT_FALSE(jar.set("http://a.com/" + QString(1024, 'p') + "/page", "a=1"));
  jar.setSecondLevelDomains({"com", "aa"});
  EXPECT_FALSE(jar.set("http://shop.example.com", "x=1; domain=example.com"));
}

TEST(CookieStoreTest, ARequestCarriesWhatItsHostAndPathMayHave) {
  Jar jar;
  jar.set("http://a.b.example.com/", "s=1\np=4; path=/dir");
  jar.set("http://example.com/", "d=2");
  jar.set("https://example.com/", "t=5; secure");
  jar.set("http://shop.co.uk/", "u=6; domain=shop.co.uk");
  jar.set("http://localhost/", "l=7");
  jar.setAllCookies(jar.allCookies() + QNetworkCookie::parseCookies("planted=8; domain=co.uk"));
  for (const auto& [url, expected] : {std::pair("http://a.b.example.com/dir/x", "p=4 d=2 s=1"),
                                      {"http://a.b.example.com/dir", "p=4 d=2 s=1"},
                                      {"http://a.b.example.com/directory", "d=2 s=1"},
                                      {"http://EXAMPLE.com./", "d=2"},
                                      {"http://z.example.com/", "d=2"},
                                      {"https://example.com/", "d=2 t=5"},
                                      {"http://a.shop.co.uk/", "u=6"},
                                      {"http://a.other.co.uk/", ""},
                                      {"file:///page.html", "l=7"}}) {
    QStringList sent = jar.sent(url).split(' ');
    std::sort(sent.begin() + sent.contains("p=4"), sent.end());  // paths of one length: any order
    EXPECT_EQ(sent.join(' '), expected) << url;
  }
}

TEST(CookieStoreTest, NamesakesReplaceEachOtherAndTheDeadGo) {
  Clock::stop();
  Jar jar;
  jar.set("http://a.com/dir/page.html", "a=1");
  jar.set("http://a.com/dir/x", "a=2; path=/dir/");
  EXPECT_EQ(jar.stored(), "a=2");
  jar.set("http://a.com/dir/", "a=0; path=/");
  EXPECT_EQ(jar.sent("http://a.com/dir/"), "a=2 a=0");
  jar.set("http://a.com/", "a=; path=/; max-age=-1");
  jar.set("http://a.com/", "a=3; domain=.a.com; path=/dir/");
  EXPECT_EQ(jar.stored(), "a=2 a=3") << "the domains are written differently";
  jar.set("http://a.com/dir/", "a=; expires=Thu, 01-Jan-1970 00:00:01 GMT");
  jar.set("http://a.com/", "b=1; max-age=100\nc=1; max-age=300");
  jar.set("http://b.com/", "d=1; max-age=200");
  Clock::skip(99000);
  EXPECT_EQ(jar.sent("http://a.com/"), "b=1 c=1");
  Clock::skip(2000);
  EXPECT_EQ(jar.sent("http://a.com/"), "c=1");
  EXPECT_EQ(jar.stored(), "a=3 c=1 d=1");
  Clock::skip(100000);
  jar.endSession();
  EXPECT_EQ(jar.stored(), "c=1");
}

TEST(CookieStoreTest, ADomainKeepsItsNewestCookies) {
  const std::tuple<const char*, const char*, const char*, bool> kRows[] = {
      {"a host", "example.com", "example.com", true},
      {"hosts of a domain", "h%1.example.com", "example.com", true},
      {"hosts of a third-level domain", "h%1.x.example.co.uk", "www.example.co.uk", true},
      {"domains", "h%1.com", "www.h0.com", false},
      {"third-level domains", "h%1.co.uk", "co.uk", false},
      {"addresses", "%1.2.3.4", "3.4", false},
      {"an address", "1.2.3.4", "1.2.3.4", true},
      {"a host beside its own domains", "h%1.localhost", "localhost", false}};
  for (const auto& [what, hosts, last, full] : kRows) {
    Jar jar;
    jar.fill(hosts, 0, 199);
    jar.fill(last, 200, 200);
    EXPECT_EQ(jar.allCookies().size(), full ? 180 : 201) << what;
    EXPECT_TRUE(jar.has("c200=") && jar.has("c21=") && jar.has("c20=") != full) << what;
  }
}

TEST(CookieStoreTest, ReplacedCookiesAreNewAndExpiredOnesGoFirst) {
  Clock::stop();
  Jar jar;
  jar.fill("a.com", 0, 99);
  jar.fill("a.com", 100, 101, "=1; max-age=10");
  jar.fill("a.com", 102, 179);
  Clock::skip(20000);
  jar.fill("a.com", 180, 180);
  EXPECT_TRUE(jar.has("c0=") && !jar.has("c100=") && !jar.has("c101="));
  for (int cookie : {181, 0, 182}) jar.fill("a.com", cookie, cookie, "=2");
  EXPECT_TRUE(jar.has("c0=2") && !jar.has("c1="));
  jar.setCookiesFromUrl(jar.cookiesForUrl(QUrl("http://a.com/")), QUrl("http://a.com/"));
  EXPECT_EQ(jar.allCookies().size(), 180) << "as all were set once more";
}

// Of those that are read, the first are the oldest.
TEST(CookieStoreTest, ItKeepsTheNewestCookiesOfAll) {
  Jar jar, restored;
  for (int i = 10; i < 27; ++i) jar.fill("d" + QString::number(i) + ".com", 0, 179);
  EXPECT_EQ(jar.allCookies().size(), 3000);
  EXPECT_EQ(jar.sent("http://d10.com/").count("c"), 120);
  EXPECT_FALSE(jar.sent("http://d10.com/").contains("c59="));
  QByteArray all;
  for (int i = 0; i < 17 * 200; ++i)
    all +=
        "c" + QByteArray::number(i % 200) + "=1; domain=d" + QByteArray::number(i / 200) + ".com\n";
  jar.setAllCookies(QNetworkCookie::parseCookies(all));
  for (int i = 0; i < 2; ++i)
    ASSERT_TRUE(restored.restoreState(i ? restored.saveState() : jar.saveState()));
  EXPECT_EQ(restored.sent("http://d9.com/").count("c"), 180);
  EXPECT_EQ(restored.sent("http://d0.com/").count("c"), 120);
  restored.fill("zz.com", 0, 0);
  EXPECT_EQ(restored.sent("http://d0.com/").count("c"), 119);
  EXPECT_EQ(restored.allCookies().size(), 3000);
}

const QByteArray kHeader = QByteArray::fromHex("000000ae00000001");

// Written by hand from docs/cookie-file.md: root (no cookies) -> "com" -> "example" with two.
const QByteArray kFixture =
    kHeader +
    QByteArray::fromHex(
        "00000000  00000001 00000006 0063006f006d  00000001"
        "00000000  00000001 0000000e 006500780061006d0070006c0065  00000001  00000002 00000046"
        "613d313b20657870697265733d4672692c2030312d4a616e2d323130302030303a30303a303020474d54"
        "3b20646f6d61696e3d6578616d706c652e636f6d3b20706174683d2f 0000001f"
        "623d3b20646f6d61696e3d6578616d706c652e636f6d3b20706174683d2f78 00000000 00000000");

/// Whether a jar does its work, whatever it was restored from.
void expectUsable(Jar* jar, const QByteArray& what) {
  Jar copy;
  EXPECT_TRUE(jar->set("http://new.example.com/", "fresh=1")) << what.toHex().data();
  EXPECT_TRUE(jar->sent("http://new.example.com/").contains("fresh=1")) << what.toHex().data();
  EXPECT_TRUE(copy.restoreState(jar->saveState())) << what.toHex().data();
  EXPECT_EQ(copy.stored(), jar->stored()) << what.toHex().data();
  jar->endSession();
}

TEST(CookieStateTest, IsTheLayoutToTheByteAndCutOffKeepsWhatCanBeRead) {
  const int first = kFixture.indexOf("a=1") + 0x46, second = kFixture.indexOf("b=;") + 0x1f;
  for (int size = kFixture.size(); size >= 8; --size) {
    Jar jar;
    EXPECT_TRUE(jar.restoreState(kFixture.left(size))) << size;
    EXPECT_EQ(jar.stored(), size >= second ? "a=1 b=" : size >= first ? "a=1" : "") << size;
    EXPECT_TRUE(size < kFixture.size() || jar.saveState() == kFixture);
    expectUsable(&jar, kFixture.left(size));
  }
  Jar jar;
  jar.restoreState(kFixture);
  for (const char* foreign : {"", "000000af", "000000ae00000002", "000000ae"})
    EXPECT_FALSE(jar.restoreState(QByteArray::fromHex(foreign))) << foreign;
  EXPECT_EQ(jar.stored(), "a=1 b=");
  for (const char* cookie : {"a=; path=/", "b=; path=/x"})
    jar.set("http://example.com/", cookie + QByteArray("; domain=example.com; max-age=-1"));
  EXPECT_EQ(jar.saveState(), kHeader + QByteArray(12, 0)) << "empty nodes are kept";
}

QByteArray node(const QList<QByteArray>& cookies, const QStringList& keys,
                const QList<QByteArray>& children) {
  QByteArray bytes;
  QDataStream stream(&bytes, QIODevice::WriteOnly);
  stream << cookies << keys << static_cast<quint32>(children.size());
  return bytes + children.join();
}

TEST(CookieStateTest, DamagedTreesAreReadAndWork) {
  const QByteArray org = node({"o=1; domain=org; path=/"}, {}, {});
  const QByteArray com = node({"c=1; domain=com; path=/"}, {}, {});
  const QByteArray bad = node(
      {"s=1; domain=bank.test; path=/", "u=1; domain=com", "b=1; domain=sub.bad.com",
       "x=1; domain=bad.com; path=/x;domain=bank.test;path=/;y/", "h=2", "d=3; domain=.bad.com",
       "; domain=bad.com", "l=4\nl=5", "\nn=6", "f=6; domain=" + QByteArray(300, 'x'),
       QByteArray(1 << 20, 'y') + "=7", "t=" + QByteArray(4096, 'z')},
      {}, {});
  const QByteArray ace = node({"i=1; domain=xn--bcher-kva.de"}, {}, {}), many(4, '\xff');
  QByteArray deep;
  const QByteArray level = QByteArray::fromHex("00000000 00000001 00000002 0061 00000001");
  for (int i = 0; i < 100000; ++i) deep += level;
  for (const auto& [bytes, expected] : {
           std::pair(node({}, {"org", "com"}, {org, com}), "c=1 o=1"),
           {node({}, {"com", "com"}, {org, com}), "c=1"},
           {node({}, {"com", "com"}, {com, com}), "c=1 c=1"},
           {node({}, {"a", "com", "org"}, {org, com}), "c=1"},  // more keys than children
           {node({}, {"org"}, {org, com}), "o=1"},
           {node({}, {"com"}, {node({}, {"bad"}, {bad})}), "h=2 d=3 l=4"},
           {node({}, {"de"}, {node({}, {"xn--bcher-kva"}, {ace})}), "i=1"},
           {node({"", "=", ";", "x", QByteArray(1, 0)}, {QString()}, {com}), ""},
           {deep + node({"a=1; domain=example.com; path=/"}, {}, {}), ""},
           {deep.left(600000), ""},
           {many, ""},
           {QByteArray(8, 0) + many, ""},
           {QByteArray(4, 0) + many, ""},
           {many + com, ""},
       }) {
    Jar jar;
    ASSERT_TRUE(jar.restoreState(kHeader + bytes));
    EXPECT_EQ(jar.stored(), expected);
    expectUsable(&jar, bytes.left(100));
  }
}

TEST(CookieStateTest, WhatPagesAndHostsChooseIsReadBackAsItWas) {
  const std::tuple<QByteArray, QByteArray, const char*> kFields[] = {
      {"a", "1", "http://a.test/x;domain=bank.test;path=/;y/page"},
      {"a", "1", "http://a.test/%00;%20secure/%253B/page"},
      {"a", "1", "http://a.test/%C3%A4;%20encoded/page"},
      {"a", "%3B", "http://a.test/%253B/%C3%A4 b/page"},
      {"a", "1; domain=bank.test; path=/", "http://a.test/"},
      {"a", "1; encoded", "http://a.test/"},
      {"a", QByteArray("\0\r\t\x7f\xff", 5), "http://a.test/"},
      {"a", " 1 ", "http://a.test/"},
      {"a=b", "", "http://a.test/"},
      {" a ", "1", "http://[::1]/;/"},
  };
  for (const auto& [name, value, url] : kFields) {
    Jar jar, copy;
    jar.setCookiesFromUrl({QNetworkCookie(name, value)}, QUrl(url));
    ASSERT_TRUE(copy.restoreState(jar.saveState()));
    EXPECT_EQ(copy.allCookies(), jar.allCookies()) << url << value.toStdString();
    EXPECT_EQ(copy.cookiesForUrl(QUrl(url)).size(), 1) << url;
  }
  Jar jar;
  jar.set("http://a.test/a;b/page", "a%=1");  // as whoever doesn't know "encoded" reads it
  EXPECT_TRUE(jar.saveState().contains("a%25=1; domain=a.test; path=/a%3Bb/; encoded"));
}

}  // namespace
