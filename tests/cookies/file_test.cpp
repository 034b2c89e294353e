// The cookie file: when it is written, and that it is always whole.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <QDir>
#include <QNetworkCookie>
#include <QTemporaryDir>
#include <QUrl>

#include "Clock.h"
#include "cookies/CookieJar.h"

namespace {

using LARKA::CookieJar;
using test::Clock;

const QUrl kUrl("http://a.com/");

class CookieFileTest : public testing::Test {
 protected:
  static void set(CookieJar* jar, const QByteArray& text) {
    jar->setCookiesFromUrl(QNetworkCookie::parseCookies(text + "; max-age=1000000"), kUrl);
  }
  QByteArray bytes() {
    file.close();
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }
  struct stat status() const {
    struct stat status = {};
    stat(QFile::encodeName(file.fileName()).constData(), &status);
    return status;
  }
  /// The second in which the file is first replaced while cookies are set in each quarter of one.
  double secondOfWrite(CookieJar* jar, double secondsOfChanges) {
    const ino_t before = status().st_ino;
    int time = 0;
    for (; time < 20000 && status().st_ino == before; time += 50, Clock::pass(50))
      if (time % 250 == 0 && time <= secondsOfChanges * 1000)
        set(jar, "c=" + QByteArray::number(time));
    return time / 1000.0;
  }
  /// Saves while no file can grow beyond so many bytes, as on a full disk.
  static void saveInto(CookieJar* jar, int bytes) {
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {static_cast<rlim_t>(bytes), limit.rlim_max};
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    jar->save();
    setrlimit(RLIMIT_FSIZE, &limit);
    signal(SIGXFSZ, handler);
  }
  /// Lets this process write the file, and make others beside it or not.
  void setReplaceable(bool replaceable) const {
    const uid_t kNobody = 65534, user = getuid();
    EXPECT_EQ(seteuid(user), 0);
    EXPECT_EQ(chmod(QFile::encodeName(directory.path()), replaceable ? 0700 : 0555), 0);
    if (user != 0) return;
    EXPECT_EQ(chown(QFile::encodeName(file.fileName()), replaceable ? user : kNobody, -1), 0);
    EXPECT_EQ(seteuid(replaceable ? user : kNobody), 0);
  }

  int argc = 0;
  QCoreApplication application{argc, nullptr};
  QTemporaryDir directory;
  QFile file{directory.filePath("cookies")};
};

TEST_F(CookieFileTest, IsWrittenAfterABurstAndEveryTenSecondsOfASteadyStream) {
  Clock::stop();
  CookieJar jar(file.fileName(), nullptr);
  EXPECT_NEAR(secondOfWrite(&jar, 1), 3, 0.15);
  EXPECT_EQ(status().st_mode & 0777, 0600u);
  EXPECT_NEAR(secondOfWrite(&jar, 20), 10.2, 0.16);  // with the change at 10 s or the next one
  jar.clear();
  Clock::pass(2200);
  EXPECT_EQ(bytes(), LARKA::NetworkCookieJar().saveState());
}

TEST_F(CookieFileTest, KeepsWhatLasts) {
  {
    CookieJar jar(file.fileName(), nullptr);
    set(&jar, "session=1\nkept=1");
    jar.save();
    EXPECT_TRUE(bytes().contains("session"));
  }
  EXPECT_FALSE(bytes().contains("session"));
  CookieJar again(file.fileName(), nullptr);
  again.clear();
  again.load();  // not saved yet
  EXPECT_EQ(again.cookiesForUrl(kUrl).size(), 1);
}

TEST_F(CookieFileTest, WhatIsNoCookieFileChangesNothing) {
  mkfifo(QFile::encodeName(file.fileName()).constData(), 0600);
  set(std::make_unique<CookieJar>(file.fileName(), nullptr).get(), "a=1");  // waits for no writer
  EXPECT_TRUE(S_ISFIFO(status().st_mode)) << "was replaced by a file";
  file.remove();
  file.open(QIODevice::WriteOnly);
  file.write("something else entirely");
  file.close();
  CookieJar jar(file.fileName(), nullptr);
  set(&jar, "a=1");
  jar.load();
  EXPECT_EQ(jar.cookiesForUrl(kUrl).size(), 1);
}

// Where it can only be written over, it stays as it is if there is no room for the new content, and
// is no cookie file until that is complete.
TEST_F(CookieFileTest, StaysTheOldOneWhenItCanNotBeWritten) {
  CookieJar jar(file.fileName(), nullptr);
  jar.save();
  for (const bool replaceable : {true, false}) {
    for (int cookies : {1, 10, 5}) {
      setReplaceable(replaceable);
      const QByteArray old = bytes();
      const ino_t before = status().st_ino;
      jar.clear();
      for (int i = 0; i < cookies; ++i)
        set(&jar, "c" + QByteArray::number(i) + "=" + QByteArray(4000, 'x'));
      const bool cut = !replaceable && jar.saveState().size() < old.size();
      saveInto(&jar, cut || replaceable ? 1000 : old.size());
      EXPECT_EQ(bytes() == old, !cut) << cookies;
      EXPECT_NE(LARKA::NetworkCookieJar().restoreState(bytes()), cut) << cookies;
      jar.save();
      EXPECT_EQ(bytes(), jar.saveState()) << cookies;
      EXPECT_EQ(status().st_ino != before, replaceable);
      EXPECT_EQ(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }
  }
  setReplaceable(true);
}

}  // namespace
