// The cookie store: its rules, its bytes, and what a damaged file does to it.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDataStream>
#include <QDateTime>
#include <QFile>
#include <QNetworkCookie>
#include <QUrl>

#include "cookies/CookieJar.h"
#include "cookies/Trie.h"

namespace {

using LARKA::Trie;

class Jar : public LARKA::NetworkCookieJar {
 public:
  using NetworkCookieJar::allCookies;
  using NetworkCookieJar::setAllCookies;

  bool set(const QString& url, const QByteArray& header) {
    return setCookiesFromUrl(QNetworkCookie::parseCookies(header), QUrl(url));
  }
  /// "name=value" of each cookie for a request, in order.
  QString sent(const QString& url) const { return describe(cookiesForUrl(QUrl(url))); }
  QString stored() const { return describe(allCookies()); }

  static QString describe(const QList<QNetworkCookie>& cookies) {
    QStringList texts;
    for (const QNetworkCookie& cookie : cookies)
      texts += cookie.toRawForm(QNetworkCookie::NameAndValueOnly);
    return texts.join(' ');
  }
};

const char kFuture[] = "; expires=Fri, 01-Jan-2100 00:00:00 GMT";

struct SetRow {
  const char* name;
  const char* url;
  const char* domain;
  bool accepted;
};

const SetRow kSetRows[] = {
    {"the host itself", "http://shop.example.com/", "shop.example.com", true},
    {"the domain above", "http://shop.example.com/", "example.com", true},
    {"with a dot", "http://shop.example.com/", ".example.com", true},
    {"in capitals", "http://shop.EXAMPLE.com/", ".Example.COM", true},
    {"a subdomain", "http://example.com/", "shop.example.com", false},
    {"another domain", "http://shop.example.com/", "other.com", false},
    {"a name that ends alike", "http://badexample.com/", "example.com", false},
    {"a top-level domain", "http://shop.example.com/", "com", false},
    {"a second-level domain", "http://shop.example.co.uk/", "co.uk", false},
    {"below a second-level domain", "http://shop.example.co.uk/", "example.co.uk", true},
    {"a two-label name elsewhere", "http://shop.example.de/", "example.de", true},
    {"only dots", "http://example.com/", "..", false},
    {"localhost", "http://localhost/", "localhost", true},
    {"localhost, from a file", "file:///a.html", "localhost", true},
    {"localhost, from elsewhere", "http://example.com/", "localhost", false},
    {"a host without a name", "file:///a.html", "example.com", false},
    {"more labels than the host, first alike", "http://a/", "a.b.c", true},
};

TEST(NetworkCookieJarTest, AResponseMaySetCookiesForItsOwnDomains) {
  for (const SetRow& row : kSetRows) {
    Jar jar;
    EXPECT_EQ(jar.set(row.url, QByteArray("a=1; domain=") + row.domain), row.accepted) << row.name;
  }
}

TEST(NetworkCookieJarTest, UnderSomeTopLevelDomainsNamesHaveThreeLabels) {
  const QStringList kListed =
      QString(
          "ao ar arpa bd bn br co cr cy do eg et fj fk gh gn gu id il jm ke kh ki kw kz lb lc "
          "lr ls ml mm mv mw mx my ng ni np nz om pa pe pg pw py qa sa sb sv sy th tn tz uk uy "
          "va ve ye yu za zm zw")
          .split(' ');
  ASSERT_EQ(kListed.size(), 62);
  for (const QString& label : kListed + QStringList{"com", "de", "eu", "us", "aa", "zz"}) {
    Jar jar;
    const QString url = "http://a.b.x." + label + "/";
    EXPECT_NE(jar.set(url, "a=1; domain=x." + label.toLatin1()), kListed.contains(label));
    EXPECT_TRUE(jar.set(url, "a=1; domain=b.x." + label.toLatin1())) << label.toStdString();
  }
}

struct SentRow {
  const char* name;
  const char* url;
  const char* sent;
};

const SentRow kSentRows[] = {
    {"host and domains above, longest path first", "http://a.b.example.com/dir/x", "p=4 s=1 d=2"},
    {"the domain", "http://example.com/", "d=2"},
    {"another host below", "http://z.example.com/", "d=2"},
    {"the path with a slash", "http://a.b.example.com/dir/", "p=4 s=1 d=2"},
    {"the path without one", "http://a.b.example.com/dir", "p=4 s=1 d=2"},
    {"a longer name", "http://a.b.example.com/directory", "s=1 d=2"},
    {"over https", "https://example.com/", "d=2 t=5"},
    {"below a second-level domain", "http://a.shop.co.uk/", "u=6"},
    {"next to it", "http://a.other.co.uk/", ""},
    {"capitals", "http://EXAMPLE.com/", "d=2"},
    {"a file", "file:///page.html", "l=7"},
};

TEST(NetworkCookieJarTest, ARequestCarriesWhatItsHostAndPathMayHave) {
  Jar jar;
  jar.set("http://a.b.example.com/", "s=1");
  jar.set("http://example.com/", "d=2");
  jar.set("http://a.b.example.com/", "p=4; path=/dir");
  jar.set("https://example.com/", "t=5; secure");
  jar.set("http://shop.co.uk/", "u=6; domain=shop.co.uk");
  jar.set("http://localhost/", "l=7");
  QNetworkCookie planted("planted", "8");
  planted.setDomain("co.uk");
  jar.setAllCookies(jar.allCookies() << planted);
  for (const SentRow& row : kSentRows) {
    QStringList sent = jar.sent(row.url).split(' '), expected = QString(row.sent).split(' ');
    EXPECT_EQ(sent.value(0) == "p=4", expected.value(0) == "p=4") << row.name;
    sent.sort();  // the order of equally long paths isn't defined
    expected.sort();
    EXPECT_EQ(sent, expected) << row.name;
  }
}

TEST(NetworkCookieJarTest, NamesakesReplaceEachOtherAndTheDeadGo) {
  Jar jar;
  EXPECT_TRUE(jar.set("http://example.com/dir/page.html", QByteArray("a=1") + kFuture));
  EXPECT_EQ(jar.allCookies().first().path(), "/dir/");
  EXPECT_TRUE(jar.set("http://example.com/dir/x", "a=2"));
  EXPECT_EQ(jar.stored(), "a=2");
  EXPECT_TRUE(jar.set("http://example.com", "a=3; domain=.example.com; path=/dir/"));
  EXPECT_EQ(jar.stored(), "a=2 a=3") << "the domains are written differently";
  EXPECT_FALSE(jar.set("http://example.com/dir/", "a=; expires=Thu, 01-Jan-1970 00:00:01 GMT"));
  EXPECT_EQ(jar.stored(), "a=3");
  EXPECT_TRUE(jar.set("http://example.com", "l=1; path=/" + QByteArray(1023, 'p')));
  EXPECT_FALSE(jar.set("http://example.com", "m=1; path=/" + QByteArray(1024, 'p')));
  EXPECT_FALSE(jar.set("http://example.com/" + QByteArray(1024, 'p') + "/", "m=1"));
  EXPECT_FALSE(jar.set("about:blank", "n=1"));

  QNetworkCookie expired("old", "1");
  expired.setDomain("example.com");
  expired.setExpirationDate(QDateTime::currentDateTimeUtc().addSecs(-1));
  QNetworkCookie lasting(expired);
  lasting.setName("new");
  lasting.setExpirationDate(QDateTime::currentDateTimeUtc().addSecs(100));
  const QList<QNetworkCookie> all = {expired, lasting, QNetworkCookie("session", "1")};
  jar.setAllCookies(all);
  EXPECT_EQ(jar.sent("http://example.com/"), "new=1");
  EXPECT_EQ(jar.stored(), "session=1 new=1");
  jar.setAllCookies(all);
  jar.endSession();
  EXPECT_EQ(jar.stored(), "new=1");
  jar.setSecondLevelDomains({"com", "aa"});
  EXPECT_FALSE(jar.set("http://shop.example.com", "x=1; domain=example.com"));
}

struct LimitRow {
  const char* name;
  const char* hosts;  // of 200 cookies
  const char* last;   // of one more
  int stored;
};

const LimitRow kLimitRows[] = {
    {"a host", "example.com", "example.com", 180},
    {"hosts of a domain", "h%1.example.com", "example.com", 180},
    {"hosts of a third-level domain", "h%1.x.example.co.uk", "www.example.co.uk", 180},
    {"domains", "h%1.com", "www.h0.com", 201},
    {"third-level domains", "h%1.co.uk", "co.uk", 201},
    {"addresses", "%1.2.3.4", "3.4", 201},
    {"an address", "1.2.3.4", "1.2.3.4", 180},
    {"a host without a domain", "localhost", "localhost", 180},
    {"beside its own domains", "h%1.localhost", "localhost", 201},
};

TEST(CookieLimitTest, ADomainKeepsItsNewestCookies) {
  for (const LimitRow& row : kLimitRows) {
    Jar jar;
    for (int i = 0; i < 200; ++i)
      jar.set("http://" + QString(row.hosts).replace("%1", QString::number(i)),
              "c" + QByteArray::number(i) + "=1");
    jar.set(QString("http://") + row.last, "last=1");
    const QStringList stored = jar.stored().split(' ');
    EXPECT_EQ(stored.size(), row.stored) << row.name;
    EXPECT_TRUE(stored.contains("last=1") && stored.contains("c21=1")) << row.name;
    EXPECT_EQ(stored.contains("c20=1"), row.stored > 180) << row.name;
  }
}

/// So many cookies of a domain each, named "c0" and so on.
QList<QNetworkCookie> cookiesOf(const QStringList& domains, int count) {
  QList<QNetworkCookie> cookies;
  for (const QString& domain : domains) {
    for (int i = 0; i < count; ++i) {
      QNetworkCookie cookie("c" + QByteArray::number(i), "1");
      cookie.setDomain(domain);
      cookie.setPath("/");
      cookies.append(cookie);
    }
  }
  return cookies;
}

TEST(CookieLimitTest, ReplacedCookiesAreNewAndExpiredOnesGoFirst) {
  const QUrl url("http://example.com/");
  QList<QNetworkCookie> cookies = cookiesOf({"example.com"}, 180);
  for (int i : {100, 101})
    cookies[i].setExpirationDate(QDateTime::currentDateTimeUtc().addSecs(-1));
  Jar jar;
  jar.setAllCookies(cookies);
  const auto gone = [&jar] {
    QStringList names;
    for (int i = 0; i < 180; ++i)
      if (!(jar.stored() + ' ').contains(QString("c%1=").arg(i))) names += QString::number(i);
    return names.join(' ');
  };
  jar.set(url.toString(), "new1=1");
  EXPECT_EQ(gone(), "100 101");
  jar.set(url.toString(), "new2=1");
  jar.set(url.toString(), "c0=2");
  jar.set(url.toString(), "new3=1");
  EXPECT_EQ(gone(), "1 100 101");
  jar.set(url.toString(), "c2=" + QByteArray(4095, 'x'));
  EXPECT_TRUE(jar.stored().contains("c2=1")) << "too large to replace it";
  EXPECT_TRUE(jar.set(url.toString(), "c2=" + QByteArray(4094, 'x')));
  EXPECT_TRUE(jar.setCookiesFromUrl(jar.cookiesForUrl(url), url));
  EXPECT_EQ(gone(), "1 100 101") << "as all were set once more";
  EXPECT_EQ(jar.allCookies().size(), 180);
}

TEST(CookieLimitTest, TheStoreKeepsItsNewestCookies) {
  QStringList domains;
  for (int i = 0; i < 16; ++i) domains += QString("d%1.com").arg(i);
  Jar jar;
  jar.setCookiesFromUrl(cookiesOf({"old.com"}, 120), QUrl("http://old.com/"));
  for (const QString& domain : domains)
    jar.setCookiesFromUrl(cookiesOf({domain}, 180), QUrl("http://" + domain));
  EXPECT_EQ(jar.allCookies().size(), 3000);
  jar.set("http://new.com/", "new=1");
  EXPECT_EQ(jar.allCookies().size(), 3000);
  EXPECT_EQ(jar.sent("http://old.com/").count("c"), 119);
  EXPECT_FALSE((jar.sent("http://old.com/") + ' ').contains("c0="));

  // Of a file, those first in it are the oldest.
  jar.setAllCookies(cookiesOf(domains + QStringList{"aa.com"}, 200));
  Jar restored;
  ASSERT_TRUE(restored.restoreState(jar.saveState()));
  EXPECT_EQ(restored.allCookies().size(), 3000);
  EXPECT_EQ(restored.sent("http://d7.com/").count("c"), 180);
  EXPECT_FALSE((restored.sent("http://d7.com/") + ' ').contains("c19="));
  EXPECT_EQ(restored.sent("http://aa.com/").count("c"), 120);
  ASSERT_TRUE(restored.restoreState(restored.saveState()));
  restored.set("http://zz.com/", "new=1");
  restored.set("http://zz.com/", "new=2");
  EXPECT_EQ(restored.sent("http://aa.com/").count("c"), 119);
  EXPECT_EQ(restored.allCookies().size(), 3000);
}

QStringList path(const char* labels) { return QString(labels).split('.'); }

TEST(TrieTest, RemovesNodesThatBecomeEmpty) {
  Trie<QNetworkCookie> trie;
  const QNetworkCookie a("a", "1"), b("b", "1");
  trie.insert(path("shop.example.com"), a);
  trie.insert(path("shop.example.com"), a);
  trie.insert(path("mail.example.com"), b);
  EXPECT_EQ(trie.find(path("example.com")).size(), 0);
  EXPECT_EQ(trie.walkTo(path("example.org")), nullptr);
  EXPECT_TRUE(trie.remove(path("shop.example.com"), a));
  EXPECT_EQ(trie.find(path("shop.example.com")).size(), 1);
  EXPECT_TRUE(trie.remove(path("shop.example.com"), a));
  EXPECT_EQ(trie.walkTo(path("shop.example.com")), nullptr);
  EXPECT_EQ(trie.walkTo(path("example.com"))->childrenKeys, QStringList("mail"));
  EXPECT_TRUE(trie.remove(path("mail.example.com"), b));
  EXPECT_TRUE(trie.childrenKeys.isEmpty());
  EXPECT_FALSE(trie.remove(path("no.where"), a));
  EXPECT_NE(trie.walkTo(path("no.where")), nullptr);
  for (const char* host : {"b.org", "a.org", "c.org"}) trie.insert(path(host), b);
  EXPECT_EQ(trie.walkTo(path("org"))->childrenKeys, (QStringList{"a", "b", "c"}));
}

// Written by hand from docs/cookie-file.md: root (no cookies) -> "com" -> "example" with two.
const char kFixture[] =
    "000000ae 00000001"
    "00000000  00000001 00000006 0063006f006d  00000001"
    "00000000  00000001 0000000e 006500780061006d0070006c0065  00000001"
    "00000002"
    "00000046 613d313b20657870697265733d4672692c2030312d4a616e2d323130302030303a30303a303020474d54"
    "3b20646f6d61696e3d6578616d706c652e636f6d3b20706174683d2f"
    "0000001f 623d3b20646f6d61696e3d6578616d706c652e636f6d3b20706174683d2f78"
    "00000000 00000000";

TEST(CookieStateTest, IsTheLayoutToTheByte) {
  const QByteArray fixture = QByteArray::fromHex(kFixture);
  Jar jar;
  ASSERT_TRUE(jar.restoreState(fixture));
  EXPECT_EQ(jar.stored(), "a=1 b=");
  EXPECT_EQ(jar.saveState().toHex(), fixture.toHex());
  jar.setAllCookies({});
  EXPECT_EQ(jar.saveState().toHex(), "000000ae00000001000000000000000000000000");
  EXPECT_FALSE(jar.restoreState(QByteArray()));
  EXPECT_TRUE(jar.restoreState(fixture));
  for (const char* foreign : {"000000af", "000000ae00000002", "000000ae"})
    EXPECT_FALSE(jar.restoreState(QByteArray::fromHex(foreign))) << foreign;
  EXPECT_EQ(jar.stored(), "a=1 b=");
}

/// Whether a jar does its work, whatever it was restored from.
void expectUsable(Jar* jar, const std::string& what) {
  EXPECT_TRUE(jar->set("http://new.example.com/", "fresh=1")) << what;
  EXPECT_TRUE(jar->sent("http://new.example.com/").contains("fresh=1")) << what;
  Jar copy;
  EXPECT_TRUE(copy.restoreState(jar->saveState())) << what;
  EXPECT_EQ(copy.stored(), jar->stored()) << what;
  jar->endSession();
}

TEST(CookieStateTest, AFileCutOffAnywhereKeepsWhatCanBeRead) {
  const QByteArray fixture = QByteArray::fromHex(kFixture);
  const int first = fixture.indexOf("a=1"), second = fixture.indexOf("b=;");
  for (int size = 8; size < fixture.size(); ++size) {
    Jar jar;
    EXPECT_TRUE(jar.restoreState(fixture.left(size))) << size;
    EXPECT_EQ(jar.stored().contains("a=1"), size >= first + 0x46) << size;
    EXPECT_EQ(jar.stored().contains("b="), size >= second + 0x1f) << size;
    expectUsable(&jar, std::to_string(size));
  }
}

QByteArray node(const QList<QByteArray>& cookies, const QStringList& keys,
                const QList<QByteArray>& children) {
  QByteArray bytes;
  QDataStream stream(&bytes, QIODevice::WriteOnly);
  stream << cookies << keys << static_cast<quint32>(children.size());
  return bytes + children.join();
}

TEST(CookieStateTest, DamagedTreesAreReadAndWork) {
  const QByteArray header = QByteArray::fromHex("000000ae00000001");
  const QByteArray org = node({"o=1; domain=org; path=/"}, {}, {});
  const QByteArray com = node({"c=1; domain=com; path=/"}, {}, {});
  const std::pair<QByteArray, const char*> rows[] = {
      {node({}, {"com", "org"}, {com, org}), "c=1 o=1"},
      {node({}, {"org", "com"}, {org, com}), "c=1 o=1"},
      {node({}, {"com", "com"}, {org, com}), "c=1"},
      {node({}, {"com", "com"}, {com, com}), "c=1 c=1"},
      {node({}, {"a", "com", "org"}, {org, com}), "c=1"},  // more keys than children
      {node({}, {"org"}, {org, com}), "o=1"},
  };
  for (const auto& [bytes, expected] : rows) {
    Jar jar;
    ASSERT_TRUE(jar.restoreState(header + bytes));
    EXPECT_EQ(jar.stored(), expected);
    expectUsable(&jar, bytes.toHex().toStdString());
  }
  const QByteArray many = QByteArray::fromHex("ffffffff");
  for (const QByteArray& bytes :
       {many, many + many, QByteArray(8, 0) + many, QByteArray(4, 0) + many, many + com,
        node({"", "=", ";", "x", QByteArray(1, 0)}, {QString()}, {com})}) {
    Jar jar;
    EXPECT_TRUE(jar.restoreState(header + bytes));
    expectUsable(&jar, bytes.toHex().toStdString());
  }
}

TEST(CookieStateTest, CookiesThatMayNotBeInTheirNodeGo) {
  const QByteArray bad = node(
      {"s=1; domain=bank.test; path=/", "u=1; domain=com", "b=1; domain=sub.bad.com",
       "x=1; domain=bad.com; path=/x;domain=bank.test;path=/;y/", "h=2", "d=3; domain=.bad.com",
       "; domain=bad.com", "l=4\nl=5", "f=6; domain=" + QByteArray(300, 'x'),
       QByteArray(1 << 20, 'y') + "=7", "t=" + QByteArray(4096, 'z')},
      {}, {});
  const QByteArray ace = node({"i=1; domain=xn--bcher-kva.de"}, {}, {});
  Jar jar;
  ASSERT_TRUE(jar.restoreState(
      QByteArray::fromHex("000000ae00000001") +
      node({}, {"com", "de"}, {node({}, {"bad"}, {bad}), node({}, {"xn--bcher-kva"}, {ace})})));
  EXPECT_EQ(jar.sent("http://bad.com/"), "h=2 d=3 l=4");
  EXPECT_EQ(jar.sent("http://xn--bcher-kva.de/"), "i=1") << "the same name, written differently";
  EXPECT_EQ(jar.allCookies().size(), 4);
  jar.endSession();
  EXPECT_EQ(jar.allCookies().size(), 0);
}

struct FieldRow {
  QByteArray name, value;
  const char* url;
};

const FieldRow kFieldRows[] = {
    {"a", "1", "http://a.test/x;domain=bank.test;path=/;y/page"},
    {"a", "1", "http://a.test/x%0Ab=2;%20domain=bank.test/page"},
    {"a", "1", "http://a.test/%00;%20secure/%253B/page"},
    {"a", "1", "http://a.test/%C3%A4;%20encoded/page"},
    {"a", "%3B", "http://a.test/%253B/%C3%A4 b/page"},
    {"a b", "\"1,2\" = \xe4", "http://a.test/"},
    {"a", "1; domain=bank.test; path=/", "http://a.test/"},
    {"a", "1; encoded", "http://a.test/"},
    {"a", QByteArray("\0\r\t\x7f\xff", 5), "http://a.test/"},
    {"a", " 1 ", "http://a.test/"},
    {"a=b", "", "http://a.test/"},
    {" a ", "1", "http://[::1]/;/"},
};

TEST(CookieStateTest, WhatPagesAndHostsChooseIsReadBackAsItWas) {
  for (const FieldRow& row : kFieldRows) {
    Jar jar, copy;
    ASSERT_TRUE(jar.setCookiesFromUrl({QNetworkCookie(row.name, row.value)}, QUrl(row.url)));
    ASSERT_TRUE(copy.restoreState(jar.saveState()));
    EXPECT_EQ(copy.allCookies(), jar.allCookies()) << row.url << row.value.toStdString();
    EXPECT_EQ(copy.cookiesForUrl(QUrl(row.url)).size(), 1) << row.url;

    // Whoever doesn't know the last attribute reads one cookie of the same host.
    QByteArray text;
    QDataStream stream(&text, QIODevice::WriteOnly);
    stream << jar.allCookies().first();
    text.remove(0, 4);
    EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](uchar c) {
      return c >= ' ' && c != 0x7f;
    })) << row.url;
    const QList<QNetworkCookie> plain = QNetworkCookie::parseCookies(text);
    if (jar.allCookies().first().domain() == "::1") continue;  // which the toolkit can't read
    ASSERT_EQ(plain.size(), 1) << text.toStdString();
    EXPECT_EQ(plain.first().domain(), "a.test");
    EXPECT_TRUE(plain.first().isSessionCookie() && !plain.first().isSecure());
  }
  Jar jar;
  jar.set("http://a.test/a;b/page", "a%=1");
  EXPECT_TRUE(jar.saveState().contains("a%25=1; domain=a.test; path=/a%3Bb/; encoded"));
  EXPECT_TRUE(jar.setCookiesFromUrl({QNetworkCookie("z", "1")},
                                    QUrl("http://[::1%25;domain=bank.test;]/")));
  Jar copy;
  ASSERT_TRUE(copy.restoreState(jar.saveState()));
  EXPECT_EQ(copy.stored(), "a%=1");
}

TEST(CookieStateTest, ATreeIsNeverTooDeep) {
  QByteArray state = QByteArray::fromHex("000000ae00000001");
  const QByteArray level = QByteArray::fromHex("00000000 00000001 00000002 0061 00000001");
  for (int i = 0; i < 100000; ++i) state += level;
  Jar empty;
  ASSERT_TRUE(empty.restoreState(state + node({}, {}, {})));
  EXPECT_EQ(empty.saveState(), state + node({}, {}, {}));
  state += node({"a=1; domain=example.com; path=/"}, {}, {});
  Jar jar;
  ASSERT_TRUE(jar.restoreState(state));
  EXPECT_EQ(jar.stored(), "");
  expectUsable(&jar, "deep");
  jar.setAllCookies({});
  ASSERT_TRUE(jar.restoreState(state.left(600000)));
  expectUsable(&jar, "deep and cut off");
}

}  // namespace
