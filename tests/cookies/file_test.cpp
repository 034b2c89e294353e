// The cookie file: when it is written, and that it is always whole.
#include <gtest/gtest.h>
#include <signal.h>
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

}  // namespace
