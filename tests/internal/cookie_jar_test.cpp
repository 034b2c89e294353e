// The cookie file: when it is written, and that it is always whole.
#include "cookies/CookieJar.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QNetworkCookie>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>
#include <optional>

namespace {

const QUrl kUrl(QStringLiteral("http://example.com/"));

QNetworkCookie lasting(const QByteArray& name, const QByteArray& value = "1") {
  QNetworkCookie cookie(name, value);
  cookie.setExpirationDate(QDateTime::currentDateTimeUtc().addYears(1));
  return cookie;
}

/// While it lives, this process may write a file, but not the folder that holds it.
class UnwritableFolder {
 public:
  explicit UnwritableFolder(const QString& path)
      : file(QFile::encodeName(path)), folder(QFile::encodeName(QFileInfo(path).path())) {
    const uid_t kNobody = 65534;
    EXPECT_EQ(chmod(folder.constData(), 0555), 0);
    EXPECT_TRUE(!root || (chown(file.constData(), kNobody, -1) == 0 && seteuid(kNobody) == 0));
  }
  ~UnwritableFolder() {
    EXPECT_TRUE(!root || seteuid(0) == 0);
    EXPECT_EQ(chmod(folder.constData(), 0700), 0);
  }

 private:
  const bool root = geteuid() == 0;
  const QByteArray file, folder;
};

class CookieJarTest : public testing::Test {
 protected:
  CookieJarTest() : path(directory.filePath("cookies")) {}

  QByteArray bytes() const {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }
  /// Changes with every write: each makes a new file.
  ino_t identity() const {
    struct stat status = {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_ino : 0;
  }
  /// Handles events for so long, sets a cookie each `every`, and returns when the file was written.
  std::vector<qint64> writesWhile(LARKA::CookieJar* jar, qint64 milliseconds, qint64 every,
                                  qint64 until) {
    std::vector<qint64> writes;
    QElapsedTimer clock;
    clock.start();
    ino_t last = identity();
    for (qint64 next = 0; clock.elapsed() < milliseconds; QThread::msleep(2)) {
      if (clock.elapsed() >= next && next <= until) {
        jar->setCookiesFromUrl({lasting("c" + QByteArray::number(next))}, kUrl);
        next += every;
      }
      QCoreApplication::processEvents();
      if (identity() == last) continue;
      last = identity();
      writes.push_back(clock.elapsed());
    }
    return writes;
  }

  int argc = 1;
  char name[5] = "test";
  char* argv[2] = {name, nullptr};
  QCoreApplication application{argc, argv};
  QTemporaryDir directory;
  QString path;
};

TEST_F(CookieJarTest, ABurstIsWrittenOnceAfterItsEnd) {
  LARKA::CookieJar jar(path, nullptr);
  const auto writes = writesWhile(&jar, 4000, 250, 1000);
  ASSERT_EQ(writes.size(), 1u);
  EXPECT_NEAR(static_cast<double>(writes[0]), 3000, 400);
  struct stat status = {};
  stat(QFile::encodeName(path).constData(), &status);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  jar.clear();
  EXPECT_EQ(writesWhile(&jar, 2500, 1, -1).size(), 1u);
  EXPECT_EQ(bytes(), LARKA::NetworkCookieJar().saveState());
}

TEST_F(CookieJarTest, ASteadyStreamIsWrittenEveryTenSeconds) {
  LARKA::CookieJar jar(path, nullptr);
  const auto writes = writesWhile(&jar, 12000, 500, 12000);
  ASSERT_EQ(writes.size(), 1u);
  EXPECT_GE(writes[0], 10000);  // the change at 10 s or the one after it
  EXPECT_LE(writes[0], 10900);
}

TEST_F(CookieJarTest, ItsEndKeepsWhatLasts) {
  {
    LARKA::CookieJar jar(path, nullptr);
    QObject::connect(&jar, &LARKA::CookieJar::changed, [] { ADD_FAILURE() << "nothing emits it"; });
    jar.setCookiesFromUrl({lasting("kept", QByteArray(4000, 'x')), QNetworkCookie("session", "1")},
                          kUrl);
    jar.save();
    EXPECT_TRUE(bytes().contains("session"));
  }
  EXPECT_TRUE(bytes().contains("kept"));
  EXPECT_FALSE(bytes().contains("session"));
  LARKA::CookieJar again(path, nullptr);
  EXPECT_EQ(again.cookiesForUrl(kUrl).size(), 1);
  again.clear();
  again.load();
  EXPECT_EQ(again.cookiesForUrl(kUrl).size(), 1) << "not saved yet";
}

TEST_F(CookieJarTest, CookiesOfNumericHostsAreKeptToo) {
  for (const char* host : {"http://[::1]/", "http://127.0.0.1/", "http://localhost/"}) {
    for (int start = 0; start < 3; ++start) {
      LARKA::CookieJar jar(path, nullptr);
      EXPECT_EQ(jar.cookiesForUrl(QUrl(host)).size(), start > 0) << host;
      jar.setCookiesFromUrl({lasting("a", "1")}, QUrl(host));
      ASSERT_EQ(jar.cookiesForUrl(QUrl(host)).size(), 1) << host;
      EXPECT_EQ(jar.cookiesForUrl(QUrl(host)).first().name(), "a") << host;
    }
  }
}

TEST_F(CookieJarTest, AFileThatIsNoneChangesNothing) {
  struct stat status = {};
  mkfifo(QFile::encodeName(path).constData(), 0600);
  {
    LARKA::CookieJar pipe(path, nullptr);  // waits for no writer
    pipe.setCookiesFromUrl({lasting("a")}, kUrl);
  }
  EXPECT_EQ(stat(QFile::encodeName(path).constData(), &status), 0);
  EXPECT_TRUE(S_ISFIFO(status.st_mode)) << "was replaced by a file";
  QFile::remove(path);
  QFile foreign(path);
  ASSERT_TRUE(foreign.open(QIODevice::WriteOnly));
  foreign.write("something else entirely");
  foreign.close();
  LARKA::CookieJar jar(path, nullptr);
  EXPECT_TRUE(jar.setCookiesFromUrl({lasting("a")}, kUrl));
  jar.load();
  EXPECT_EQ(jar.cookiesForUrl(kUrl).size(), 1);
  jar.save();
  EXPECT_EQ(bytes().left(8), QByteArray::fromHex("000000ae00000001"));
}

// As on a full disk: writing fails in the middle, whether the toolkit buffers the data or not.
// Where the old file can only be written over, it stays if there is no room, and else is no cookie
// file.
TEST_F(CookieJarTest, AWriteThatFailsLeavesTheOldFile) {
  LARKA::CookieJar jar(path, nullptr);
  jar.setCookiesFromUrl({lasting("old")}, kUrl);
  jar.save();
  for (const bool replaceable : {true, false}) {
    for (int cookies : {1, 10, 5}) {
      std::optional<UnwritableFolder> unwritable;
      if (!replaceable) unwritable.emplace(path);
      const QByteArray old = bytes();
      const ino_t before = identity();
      jar.clear();
      for (int i = 0; i < cookies; ++i)
        jar.setCookiesFromUrl({lasting("c" + QByteArray::number(i), QByteArray(4000, 'x'))}, kUrl);
      const QByteArray state = jar.saveState();
      const bool grows = state.size() > old.size();
      rlimit limit = {};
      getrlimit(RLIMIT_FSIZE, &limit);
      const rlim_t room = grows && !replaceable ? static_cast<rlim_t>(old.size()) : 1000;
      const rlimit small = {room, limit.rlim_max};
      const auto handler = signal(SIGXFSZ, SIG_IGN);
      setrlimit(RLIMIT_FSIZE, &small);
      jar.save();
      setrlimit(RLIMIT_FSIZE, &limit);
      signal(SIGXFSZ, handler);
      if (grows || replaceable)
        EXPECT_EQ(bytes(), old) << cookies;
      else
        EXPECT_FALSE(LARKA::NetworkCookieJar().restoreState(bytes())) << cookies;
      EXPECT_EQ(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
      jar.save();
      EXPECT_EQ(bytes(), state) << cookies;
      EXPECT_EQ(identity() != before, replaceable);
    }
  }
}

// Saves in a loop until it is killed: the file is the old one or the new one, never a part.
TEST_F(CookieJarTest, AProcessThatIsKilledLeavesAWholeFile) {
  const int kCookies = 150;
  for (int kill = 0; kill < 500; ++kill) {
    const pid_t process = fork();
    if (process == 0) {
      LARKA::CookieJar jar(path, nullptr);
      for (int round = 0;; ++round) {
        QList<QNetworkCookie> cookies;
        for (int i = 0; i < kCookies; ++i)
          cookies += lasting("c" + QByteArray::number(i), QByteArray::number(round));
        jar.NetworkCookieJar::setCookiesFromUrl(cookies, kUrl);
        jar.save();
      }
    }
    QThread::usleep(2000 + static_cast<unsigned long>(kill) * 7919 % 9000);
    ::kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    const QByteArray state = bytes();
    if (state.isEmpty()) continue;  // killed before the first save
    LARKA::NetworkCookieJar restored;
    ASSERT_TRUE(restored.restoreState(state)) << kill;
    const QList<QNetworkCookie> cookies = restored.cookiesForUrl(kUrl);
    ASSERT_EQ(cookies.size(), kCookies) << kill;
    for (const QNetworkCookie& cookie : cookies)
      ASSERT_EQ(cookie.value(), cookies.first().value()) << "of two different saves";
  }
  EXPECT_FALSE(bytes().isEmpty()) << "never saved before it was killed";
}

}  // namespace
