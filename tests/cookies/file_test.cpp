// The cookie file: when it is written, that it is always whole, and what several stores make of it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <QNetworkCookie>
#include <QTemporaryDir>
#include <QUrl>

#include "Clock.h"
#include "cookies/CookieJar.h"

namespace {

class CookieFileTest : public testing::Test {
 protected:
  void set(const QByteArray& cookies) {
    jar->setCookiesFromUrl(QNetworkCookie::parseCookies(cookies + "; max-age=1000000"),
                           QUrl("http://a.com/"));
  }
  QByteArray bytes() const {
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }
  /// Saves while no file can grow beyond so many bytes, as on a full disk.
  void saveInto(int bytes) {
    rlimit limit = {static_cast<rlim_t>(bytes), RLIM_INFINITY};
    signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &limit);
    jar->save();
    limit.rlim_cur = RLIM_INFINITY;
    setrlimit(RLIMIT_FSIZE, &limit);
  }

  int argc = 0;
  QCoreApplication application{argc, nullptr};
  QTemporaryDir directory;
  QString name = directory.filePath("cookies");
  std::unique_ptr<LARKA::CookieJar> jar{new LARKA::CookieJar(name, nullptr)};
};

TEST_F(CookieFileTest, IsWrittenAfterABurstAndEveryTenSecondsOfASteadyStream) {
  test::Clock::stop();
  set("burst=1");
  test::Clock::pass(1850);  // Qt fires a timer up to 5 % early or late
  EXPECT_TRUE(bytes().isEmpty());
  test::Clock::pass(300);
  const QByteArray burst = bytes();
  EXPECT_TRUE(burst.contains("burst"));
  int time = 0;
  for (; time < 20000 && bytes() == burst; time += 250, test::Clock::pass(250)) set("stream=1");
  EXPECT_NEAR(time, 10250, 250);
  jar->clear();
  test::Clock::pass(2200);
  EXPECT_EQ(bytes(), LARKA::NetworkCookieJar().saveState());
}

TEST_F(CookieFileTest, StaysWholeAndKeepsWhatLasts) {
  set("session=1\nkept=1");
  jar->save();
  const QByteArray old = bytes();
  set("large=" + QByteArray(4000, 'x'));
  saveInto(1000);
  EXPECT_EQ(bytes(), old);
  jar.reset();
  EXPECT_TRUE(bytes().contains("kept") && !bytes().contains("session"));
  EXPECT_EQ(QFile::permissions(name) & 0x77, 0) << "for the owner alone";

  // It can only be written over now, and is no cookie file until the new content is complete.
  chmod(directory.path().toLatin1(), 0555);
  ASSERT_TRUE(getuid() != 0 || chown(name.toLatin1(), 65534, 65534) == 0);
  ASSERT_TRUE(getuid() != 0 || seteuid(65534) == 0);
  jar = std::make_unique<LARKA::CookieJar>(name, nullptr);
  for (const int size : {4050, 2000}) {
    const QByteArray before = bytes();
    set("large=" + QByteArray(size, 'x'));
    saveInto(size == 2000 ? 1000 : before.size());
    EXPECT_EQ(bytes() == before, size != 2000);
    EXPECT_EQ(LARKA::NetworkCookieJar().restoreState(bytes()), size != 2000);
    jar->save();
    EXPECT_EQ(bytes(), jar->saveState());
  }
  ASSERT_EQ(seteuid(getuid()), 0);
  chmod(directory.path().toLatin1(), 0700);

  QFile::remove(name);
  mkfifo(name.toLatin1(), 0600);
  jar->load();  // waits for no writer
  jar->save();
  EXPECT_FALSE(QFileInfo(name).isFile());
}

/// Sets cookies of a.com: "#" makes them last, "!" dead.
void change(LARKA::CookieJar* jar, QByteArray headers) {
  headers.replace("#", "; max-age=9999").replace("!", "; max-age=0");
  jar->setCookiesFromUrl(QNetworkCookie::parseCookies(headers), QUrl("http://a.com/"));
}

QString sent(const LARKA::CookieJar& jar) {
  QStringList texts;
  for (const QNetworkCookie& cookie : jar.cookiesForUrl(QUrl("http://a.com/")))
    texts += cookie.toRawForm(QNetworkCookie::NameAndValueOnly);
  texts.sort();
  return texts.join(' ');
}

// Two stores begin with "a=1 b=1" and make changes. The one on the left saves first.
const std::tuple<QByteArray, QByteArray, const char*, const char*> kChanges[] = {
    {"b=2#\nc=1#", "d=1#", "a=1 b=2 c=1 d=1", "a=1 b=2 c=1 d=1"},
    {"a=2#\nb=2#", "a=3#\nb=!", "a=3", "a=3"},
    {"b=!", "a=!", "", ""},
    {"b=!", "b=3#", "a=1 b=3", "a=1 b=3"},
    {"s=1", "s=2\nt=1", "a=1 b=1 s=1", "a=1 b=1 s=2 t=1"},
    {"s=1\nb=1", "s=2#\nb=!", "a=1 b=1 s=2", "a=1 s=2"}};

TEST_F(CookieFileTest, StoresKeepWhatOthersWriteIntoIt) {
  for (const auto& [left, right, leftEnd, rightEnd] : kChanges) {
    jar.reset();
    QFile::remove(name);
    jar = std::make_unique<LARKA::CookieJar>(name, nullptr);
    change(jar.get(), "a=1#\nb=1#");
    jar->save();
    LARKA::CookieJar other(name, nullptr);
    change(jar.get(), left);
    change(&other, right);
    for (auto* each : {jar.get(), &other, jar.get(), &other}) each->save();
    EXPECT_EQ(sent(*jar), leftEnd) << left.data() << ' ' << right.data();
    EXPECT_EQ(sent(other), rightEnd) << left.data() << ' ' << right.data();
  }
}

TEST_F(CookieFileTest, IsSharedWhateverStateItIsIn) {
  change(jar.get(), "session=1\na=1#");
  jar->save();
  LARKA::CookieJar other(name, nullptr);
  change(jar.get(), "b=1#");
  jar->save();
  QFile::resize(name, bytes().size() - 60);  // cut off, it lacks what nobody has removed
  jar->save();
  EXPECT_EQ(sent(*jar), "a=1 b=1 session=1");
  other.clear();  // also of what it has not read
  for (auto* each : {&other, jar.get()}) each->save();
  EXPECT_EQ(sent(*jar), "session=1");

  for (int i = 0; i < 120; ++i) {
    change(jar.get(), "j" + QByteArray::number(i) + "=1#");
    change(&other, "o" + QByteArray::number(i) + "=1#");
  }
  for (auto* each : {&other, jar.get()}) each->save();
  EXPECT_EQ(sent(*jar).count('j'), 120) << "were saved later";
  EXPECT_EQ(sent(*jar).count('='), 180);

  test::Clock::stop();
  const int held = open(name.toLatin1(), O_RDWR);
  flock(held, LOCK_EX);
  change(jar.get(), "late=1#");
  test::Clock::pass(2200);
  EXPECT_FALSE(bytes().contains("late"));
  close(held);
  test::Clock::pass(2200);
  EXPECT_TRUE(bytes().contains("late"));
  flock(open(name.toLatin1(), O_RDWR), LOCK_EX);
  change(jar.get(), "last=1#");
  jar.reset();
  EXPECT_TRUE(bytes().contains("last"));
}

}  // namespace
