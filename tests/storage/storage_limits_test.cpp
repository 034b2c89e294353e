// What pages keep in a storage directory, and what happens at its limits.
#include "Host.h"
#include "HttpServer.h"

namespace {

namespace fs = std::filesystem;
using LARKA::ILarkaBrowser;

const long long kKilo = 1024, kMega = 1024 * 1024;

// Each puts its outcome into `done`: "kept" or an error.
const char kPage[] = R"(<title>s</title><script>
var done = '';
function local(bytes) {
  try {
    localStorage.setItem('k' + localStorage.length, Array(bytes / 2 + 1).join('x'));
    done = 'kept';
  } catch (e) { done = e.name; }
}
function database(bytes) {
  try {
    openDatabase('d' + Math.random(), '1', 'd', 0).transaction(function (t) {
      t.executeSql('create table t (a)');
      t.executeSql('insert into t values (zeroblob(' + bytes + '))');
    }, function (e) { done = 'error ' + e.code; }, function () { done = 'kept'; });
  } catch (e) { done = e.name; }
}
function indexed(bytes) {
  indexedDB.open('i').onupgradeneeded = function (e) {
    e.target.result.createObjectStore('s').put(Array(bytes + 1).join('x'), 1);
    e.target.transaction.oncomplete = function () { done = 'kept'; };
  };
}
applicationCache.oncached = function () { done = 'kept'; };
applicationCache.onerror = function () { done = 'error'; };
</script>)";

class StorageLimitsTest : public testing::Test {
 protected:
  void SetUp() override {
    fs::current_path(host.directory.path());
    host.initialize();
    for (test::HttpServer& server : servers) server.page("/", kPage);
  }
  void TearDown() override {
    for (ILarkaBrowser* browser : {first, second})
      if (browser) host.manager->DestroyBrowser(browser, true);
    host.manager->Shutdown(true);
    EXPECT_FALSE(fs::exists("Databases.db"));
  }

  ILarkaBrowser* create(const char* directory) {
    return host.createBrowser(&recorder, 320, 180, false, directory);
  }
  /// The outcome of a script that is to set `done`.
  std::string run(ILarkaBrowser* browser, const std::string& script) {
    browser->ExecuteJavascript(("done = ''; " + script).c_str());
    return outcome(browser);
  }
  std::string outcome(ILarkaBrowser* browser) {
    std::string done;
    host.pumpUntil([&] { return !(done = browser->ExecuteJavascript("done")).empty(); }, 5000);
    return done;
  }
  bool comesTo(ILarkaBrowser* browser, const char* expected) {
    return host.pumpUntil([&] { return run(browser, "local(2)") == expected; });
  }
  void visit(ILarkaBrowser* browser, int server, const std::string& path = "/") {
    ASSERT_TRUE(host.visit(browser, &recorder, servers[server].url(path)));
  }

  /// Whether the local storage of an origin is a file that holds something.
  bool isLarge(int server) const {
    const auto port = std::to_string(servers[server].port());
    const std::string file = storage + "/http_127.0.0.1_" + port + ".localstorage";
    return fs::exists(file) && fs::file_size(file) > 100 * kKilo;
  }
  long long bytesKept() const {
    long long bytes = 0;
    for (const auto& entry : fs::recursive_directory_iterator(storage))
      if (entry.is_regular_file()) bytes += static_cast<long long>(entry.file_size());
    return bytes;
  }

  test::Host host;
  test::Recorder recorder;
  test::HttpServer servers[3];
  const std::string storage = host.directory.file("storage");
  ILarkaBrowser *first = nullptr, *second = nullptr;
};

TEST_F(StorageLimitsTest, PagesFindAgainWhatTheyKept) {
  first = create(storage.c_str());
  visit(first, 0);
  EXPECT_EQ(run(first, "local(400 << 10)"), "kept");
  host.manager->DestroyBrowser(first, true);
  EXPECT_TRUE(host.pumpUntil([&] { return isLarge(0); }));
  first = create(storage.c_str());
  visit(first, 0);
  EXPECT_EQ(first->ExecuteJavascript("localStorage.k0.length"), std::to_string(200 * kKilo));
}

TEST_F(StorageLimitsTest, AnOriginKeepsWhatItsLimitAllows) {
  second = create(nullptr);
  first = create(storage.c_str());
  const struct {
    ILarkaBrowser* browser;
    long long perOrigin, inAll;
    const char *script, *outcome;
  } kRows[] = {
      {second, 5, 100, "database(1000)", "SecurityError"},
      {second, 5, 100, "local(1000)", "kept"},
      {first, 5, 100, "local(4 << 20)", "kept"},
      {first, 5, 100, "local(1 << 20)", "QuotaExceededError"},
      {first, 5, 100, "database(3 << 20)", "kept"},
      {first, 5, 100, "database(3 << 20)", "error 4"},
      {first, 5, 100, "database(1 << 20)", "kept"},
      {first, 6, 100, "database(1 << 20)", "kept"},
      {first, 5, 100, "database(1000)", "SecurityError"},
      {first, 5, 100, "indexed(9 << 20)", "kept"},  // in memory
      {first, 0, 100, "local(2)", "QuotaExceededError"},
      {first, 0, 100, "database(2)", "SecurityError"},
      {first, 5, 0, "local(2)", "QuotaExceededError"},
      {first, 5, 100, "local(2)", "kept"},
  };
  for (ILarkaBrowser* browser : {first, second}) visit(browser, 0);
  for (const auto& [browser, perOrigin, inAll, script, outcome] : kRows) {
    LARKA::SetStorageLimits(perOrigin * kMega, inAll * kMega);
    EXPECT_EQ(run(browser, script), outcome) << script << " of " << perOrigin << ", " << inAll;
  }
  EXPECT_TRUE(host.pumpUntil([this] { return bytesKept() > 9 * kMega; })) << bytesKept();
  EXPECT_LT(bytesKept(), 11 * kMega);
}

TEST_F(StorageLimitsTest, AnApplicationCacheThatIsTooLargeIsNotStored) {
  const struct {
    std::string number;
    long long inAll, bytes;
    const char* outcome;
  } kCaches[] = {{"1", 8, 600 * kKilo, "kept"},
                 {"2", 8, 900 * kKilo, "error"},
                 {"3", 8, 300 * kKilo, "kept"},
                 {"4", 0, 9 * kKilo, "error"}};
  first = create(storage.c_str());
  for (const auto& [number, inAll, bytes, expected] : kCaches) {
    LARKA::SetStorageLimits(kMega, inAll * kMega);
    const std::string manifest = "CACHE MANIFEST\n/big" + number + "\n";
    servers[0].page("/app" + number, "<html manifest='/manifest" + number + "'>" + kPage);
    servers[0].page("/manifest" + number, manifest, "Content-Type: text/cache-manifest\r\n");
    servers[0].page("/big" + number, std::string(static_cast<size_t>(bytes), 'x'));
    visit(first, 0, "/app" + number);
    EXPECT_EQ(outcome(first), expected) << number;
  }
}

TEST_F(StorageLimitsTest, OriginsThatNoPageShowsMakeRoom) {
  LARKA::SetStorageLimits(5 * kMega, 4 * kMega);  // 3 MiB without the application caches
  fs::create_directory(storage);
  const auto leaveBehind = [this](const std::string& host, long long bytes, int hoursAgo) {
    const std::string file = storage + "/http_" + host + "_0.localstorage";
    std::ofstream(file) << std::string(static_cast<size_t>(bytes), 'x');
    fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(hoursAgo));
    return file;
  };
  const std::string oldest = leaveBehind("oldest.example", kMega, 9);
  const std::string older = leaveBehind("older.example", 3 * kMega / 2, 5);
  const std::string old = leaveBehind("old.example", kMega / 2, 1);
  first = create(storage.c_str());
  EXPECT_FALSE(fs::exists(oldest));
  EXPECT_TRUE(fs::exists(older) && fs::exists(old));
  for (int server : {0, 1, 2}) {
    visit(first, server);
    EXPECT_EQ(run(first, "local(1 << 20)"), "kept") << server;
    ASSERT_TRUE(host.pumpUntil([&] { return isLarge(server); }));
  }
  // By now it may be full, until what has been removed is gone from the disk.
  EXPECT_TRUE(host.pumpUntil([&] { return !isLarge(0); }));
  EXPECT_FALSE(fs::exists(older) || fs::exists(old));
  EXPECT_TRUE(comesTo(first, "kept"));
  EXPECT_TRUE(isLarge(1));
  visit(first, 0);
  EXPECT_EQ(first->ExecuteJavascript("localStorage.length"), "0");
  EXPECT_EQ(run(first, "local(800 << 10)"), "kept");  // 2.8 of 3 MiB with the other two

  // What a page shows stays, and nothing new comes to it.
  second = create(storage.c_str());
  visit(first, 2);
  visit(second, 1);
  EXPECT_EQ(run(second, "local(2 << 20)"), "kept");
  EXPECT_TRUE(comesTo(first, "QuotaExceededError"));
  EXPECT_TRUE(host.pumpUntil([&] { return !isLarge(0); }));
  EXPECT_TRUE(isLarge(1) && isLarge(2));
  EXPECT_EQ(run(second, "local(2)"), "QuotaExceededError");
  ILarkaBrowser* third = create(storage.c_str());
  visit(third, 0);
  EXPECT_EQ(run(third, "local(2)"), "QuotaExceededError");
  for (ILarkaBrowser* each : {second, third}) host.manager->DestroyBrowser(each, true);
  second = nullptr;
  EXPECT_TRUE(comesTo(first, "kept"));
  EXPECT_TRUE(isLarge(2));
}

TEST_F(StorageLimitsTest, DatabasesOfAllOriginsShareTheRoom) {
  LARKA::SetStorageLimits(5 * kMega, 4 * kMega);
  for (ILarkaBrowser** browser : {&first, &second}) *browser = create(storage.c_str());
  visit(first, 0);
  visit(second, 1);
  EXPECT_EQ(run(first, "database(2 << 20)"), "kept");
  EXPECT_EQ(run(second, "database(500 << 10)"), "SecurityError");
  EXPECT_GT(bytesKept(), 2 * kMega);
  visit(first, 2);
  EXPECT_TRUE(host.pumpUntil([&] { return run(second, "database(500 << 10)") == "kept"; }));
  EXPECT_TRUE(host.pumpUntil([&] { return bytesKept() < kMega; })) << bytesKept();
}

}  // namespace
