// The cookie store: which cookies it takes, gives and drops, and what damage to its bytes does.
#include "cookies/networkcookiejar.h"

#include <gtest/gtest.h>

#include <QNetworkCookie>
#include <QUrl>

#include "Clock.h"

namespace {

class Jar : public LARKA::NetworkCookieJar {
 public:
  using NetworkCookieJar::allCookies;
  bool set(const QString& url, const QByteArray& header) {
    return setCookiesFromUrl(QNetworkCookie::parseCookies(header), QUrl(url));
  }
  /// Sets cookies "c<first>" to "c<last>", each from the host with its number in it.
  void fill(const QString& host, int first, int last) {
    for (int i = first; i <= last; ++i)
      set("http://" + QString(host).replace("%1", QString::number(i)),
          "c" + QByteArray::number(i) + "=1");
  }
  /// "name=value" of each cookie for a request, or of all, in order.
  QString sent(const QString& url) const { return describe(cookiesForUrl(QUrl(url))); }
  QString stored() const { return describe(allCookies()); }

 private:
  static QString describe(const QList<QNetworkCookie>& cookies) {
    QStringList texts;
    for (const QNetworkCookie& cookie : cookies)
      texts += cookie.toRawForm(QNetworkCookie::NameAndValueOnly);
    return texts.join(' ');
  }
};

// From where "a=1" is set, the rest of it, and a request that does or doesn't carry it then.
const std::tuple<QString, QByteArray, QString, bool> kRules[] = {
    {"http://example.com/", "", "http://EXAMPLE.com./", true},
    {"http://example.com/", "", "http://www.example.com/", true},
    {"http://www.example.com/", "", "http://example.com/", false},
    {"http://shop.EXAMPLE.com/", "; domain=.Example.COM", "http://www.example.com/", true},
    {"http://shop.example.com/", "; domain=com", "http://com/", false},
    {"http://example.com/", "; domain=shop.example.com", "http://shop.example.com/", false},
    {"http://badexample.com/", "; domain=example.com", "http://example.com/", false},
    {"http://shop.example.co.uk/", "; domain=co.uk", "http://co.uk/", false},
    {"http://co.uk/", "", "http://www.example.co.uk/", false},
    {"file:///a.html", "; domain=localhost", "http://localhost/", true},
    {"http://a.com/dir/page", "", "http://a.com/", false},
    {"http://a.com/", "; path=/dir", "http://a.com/dir", true},
    {"http://a.com/", "; path=/dir", "http://a.com/directory", false},
    {"http://a.com/", "; path=/" + QByteArray(1023, 'x'), "http://a.com/" + QString(1023, 'x'),
     true},
    {"http://a.com/", "; path=/" + QByteArray(1024, 'x'), "http://a.com/" + QString(1024, 'x'),
     false},
    {"https://a.com/", "; secure", "http://a.com/", false},
    {"http://a.com/", QByteArray(4094, 'x'), "http://a.com/", true},
    {"http://a.com/", QByteArray(4095, 'x'), "http://a.com/", false}};

TEST(CookieStoreTest, RequestsCarryWhatTheirHostAndPathMayHave) {
  for (const auto& [from, rest, to, sent] : kRules) {
    Jar jar;
    jar.set(from, "a=1" + rest);
    EXPECT_NE(jar.sent(to).isEmpty(), sent) << qPrintable(from + ' ' + rest + ' ' + to);
  }
}

// Every top-level domain of two letters under which "co", say, is no name that anybody registers.
TEST(CookieStoreTest, NoCookieIsForAllWhoAreRegisteredUnderASecondLevel) {
  QStringList found;
  for (int i = 0; i < 26 * 26; ++i) {
    const QString label = QChar('a' + i / 26) + QString(QChar('a' + i % 26));
    if (!Jar().set("http://shop.co." + label, "a=1; domain=co." + label.toLatin1())) found += label;
  }
  EXPECT_EQ(found.join(' '),
            "ao ar bd bn br co cr cy do eg et fj fk gh gn gu id il jm ke kh ki kw kz lb lc lr ls "
            "ml mm mv mw mx my ng ni np nz om pa pe pg pw py qa sa sb sv sy th tn tz uk uy va ve "
            "ye yu za zm zw");
}

TEST(CookieStoreTest, NamesakesReplaceEachOtherAndTheDeadGo) {
  test::Clock::stop();
  Jar jar;
  jar.set("http://a.com/dir/page", "a=0; path=/\na=1\na=2");
  jar.set("http://a.com/", "b=1; path=/dir/x; max-age=100\nc=1; max-age=300");
  jar.set("http://b.com/", "d=1; max-age=200");
  test::Clock::skip(99000);
  EXPECT_EQ(jar.sent("http://a.com/dir/x/"), "b=1 a=2 a=0 c=1") << "the longest path first";
  jar.set("http://a.com/dir/", "a=; expires=Thu, 01-Jan-1970 00:00:01 GMT");
  test::Clock::skip(2000);
  EXPECT_EQ(jar.sent("http://a.com/dir/x/"), "a=0 c=1");
  test::Clock::skip(100000);
  jar.endSession();
  EXPECT_EQ(jar.stored(), "c=1");
}

TEST(CookieStoreTest, TheNewestCookiesOfADomainAndOfAllStay) {
  const std::tuple<const char*, const char*, bool> kRows[] = {
      {"h%1.example.com", "example.com", true},
      {"h%1.x.example.co.uk", "www.example.co.uk", true},
      {"h%1.com", "www.h0.com", false},
      {"%1.2.3.4", "3.4", false}};
  for (const auto& [hosts, last, full] : kRows) {
    Jar jar;
    jar.fill(hosts, 0, 199);
    jar.fill(last, 200, 200);
    EXPECT_EQ(jar.allCookies().size(), full ? 180 : 201) << hosts;
    EXPECT_NE(jar.stored().contains("c20="), full) << hosts;
  }
  Jar jar;
  jar.fill("a.com", 0, 179);
  jar.fill("a.com", 0, 0);  // is new then
  jar.fill("a.com", 180, 180);
  EXPECT_TRUE(jar.stored().contains("c0=") && !jar.stored().contains("c1="));
  for (int i = 10; i < 27; ++i) jar.fill("d" + QString::number(i) + ".com", 0, 179);
  EXPECT_EQ(jar.allCookies().size(), 3000);
  EXPECT_EQ(jar.sent("http://d10.com/").count("c"), 120);
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

/// Reads a state into a jar, which must do its work then. Returns the cookies that it had.
QString readFrom(const QByteArray& state) {
  Jar jar;
  EXPECT_TRUE(jar.restoreState(state));
  const QString read = jar.stored();
  jar.set("http://new.example.com/", "fresh=1");
  EXPECT_TRUE(jar.sent("http://new.example.com/").contains("fresh=1"));
  return read;
}

TEST(CookieStateTest, IsTheLayoutToTheByteAndCutOffKeepsWhatCanBeRead) {
  const int first = kFixture.indexOf("a=1") + 0x46, second = kFixture.indexOf("b=;") + 0x1f;
  for (int size = kFixture.size(); size >= 8; --size) {
    const char* expected = size >= second ? "a=1 b=" : size >= first ? "a=1" : "";
    EXPECT_EQ(readFrom(kFixture.left(size)), expected) << size;
  }
  Jar jar;
  jar.restoreState(kFixture);
  for (const char* foreign : {"", "000000af", "000000ae00000002"})
    EXPECT_FALSE(jar.restoreState(QByteArray::fromHex(foreign))) << foreign;
  EXPECT_EQ(jar.saveState(), kFixture);
}

QByteArray node(const QList<QByteArray>& cookies, const QStringList& keys = {},
                const QList<QByteArray>& children = {}) {
  QByteArray bytes;
  QDataStream stream(&bytes, QIODevice::WriteOnly);
  stream << cookies << keys << children.size();
  return bytes + children.join();
}

TEST(CookieStateTest, DamagedTreesAreReadAndWork) {
  const QByteArray org = node({"o=1; domain=org; path=/"}), com = node({"c=1; domain=com; path=/"});
  const QByteArray bad = node({"s=1; domain=bank.test; path=/", "u=1; domain=com", "h=2",
                               "d=3; domain=.com", "b=1; domain=sub.com", "l=4\nl=5"});
  const QByteArray sound = node({"; domain=com", QByteArray(4097, 'n') + "=; domain=com"});
  const QByteArray level = QByteArray::fromHex("00000000 00000001 00000002 0061 00000001");
  for (const auto& [bytes, expected] :
       {std::pair(node({}, {"org", "com"}, {org, com}), "c=1 o=1"),
        {node({}, {"a", "com", "org"}, {org, com}), "c=1"},  // more keys than children
        {node({}, {"com"}, {bad}), "u=1 h=2 d=3 l=4"},
        {node({}, {"com"}, {sound}), ""},
        {level.repeated(100000) + com, ""},
        {QByteArray(12, '\xff'), ""}})
    EXPECT_EQ(readFrom(kHeader + bytes), expected) << bytes.left(100).toHex().data();
}

TEST(CookieStateTest, WhatPagesAndHostsChooseIsReadBackAsItWas) {
  const std::tuple<QByteArray, QByteArray, const char*> kFields[] = {
      {"a", "1", "http://a.test/%00;%20secure/%253B%C3%A4/page"},
      {"a", "1; domain=bank.test; path=/", "http://a.test/"},
      {"a", QByteArray("\0\r\t\x7f\xff", 5), "http://a.test/"},
      {"a=b", " %3B ", "http://a.test/"},
      {" a ", "1", "http://[::1]/;/"}};
  for (const auto& [name, value, url] : kFields) {
    Jar jar, copy;
    jar.setCookiesFromUrl({QNetworkCookie(name, value)}, QUrl(url));
    copy.restoreState(jar.saveState());
    EXPECT_EQ(copy.allCookies(), jar.allCookies()) << url << value.toStdString();
    EXPECT_EQ(copy.cookiesForUrl(QUrl(url)).size(), 1) << url;
  }
}

}  // namespace
