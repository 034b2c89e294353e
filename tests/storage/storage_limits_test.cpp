// What pages keep in a storage directory, and what happens at its limits.
#include "Host.h"
#include "HttpServer.h"

namespace {

namespace fs = std::filesystem;
using LARKA::ILarkaBrowser;

// Each puts its outcome into `done`: "kept" or an error.
const char kPage[] = R"(<script>
var done = '';
function local(bytes) {
  localStorage.k = Array(bytes / 2 + 1).join('x');
  done = 'kept';
}
function database(bytes) {
  openDatabase('d' + Math.random(), '1', 'd', 0).transaction(function (t) {
    t.executeSql('create table t (a)');
    t.executeSql('insert into t values (zeroblob(' + bytes + '))');
  }, function (e) { done = 'error ' + e.code; }, function () { done = 'kept'; });
}
applicationCache.oncached = function () { done = 'kept'; };
applicationCache.onerror = function () { done = 'error'; };
</script>)";

class StorageLimitsTest : public test::BrowserTest {
 protected:
  void SetUp() override {
    host.initialize();
    for (test::HttpServer& server : servers) server.page("/", kPage);
  }
  ILarkaBrowser* create() {
    return host.createBrowser(&recorder, 320, 180, false, storage.c_str());
  }
  /// Runs a script, takes what comes to be in `done` and returns it.
  std::string run(ILarkaBrowser* in, const std::string& code) {
    in->ExecuteJavascript(("try { " + code + " } catch (e) { done = e.name; }").c_str());
    std::string done;
    host.pumpUntil([&] { return (done = in->ExecuteJavascript("[done, done = ''][0]")) != ""; });
    return done;
  }
  bool show(ILarkaBrowser* in, int server) {
    recorder.finished = false;
    in->Navigate(servers[server].url("/").c_str());
    return host.pumpUntil([&] { return recorder.finished; });
  }
  /// Whether the local storage of an origin is a file that holds something.
  bool isLarge(int server) const {
    const auto port = std::to_string(servers[server].port());
    const std::string file = storage + "/http_127.0.0.1_" + port + ".localstorage";
    return fs::exists(file) && fs::file_size(file) > 100 << 10;
  }

  test::HttpServer servers[2];
  const std::string storage = host.directory.file("storage");
};

TEST_F(StorageLimitsTest, AnOriginKeepsWhatItsLimitAllows) {
  ILarkaBrowser* without = host.createBrowser(&recorder);
  browser = create();
  const std::tuple<ILarkaBrowser*, long long, long long, const char*, const char*> kRows[] = {
      {without, 5, 100, "database(1000)", "SecurityError"},
      {browser, 5, 100, "local(5 << 20)", "QuotaExceededError"},
      {browser, 5, 100, "local(4 << 20)", "kept"},
      {browser, 5, 100, "database(3 << 20)", "kept"},
      {browser, 5, 100, "database(3 << 20)", "error 4"},
      {browser, 7, 100, "database(3 << 20)", "kept"},
      {browser, 5, 0, "local(2)", "QuotaExceededError"},
      {browser, 5, 100, "local(4 << 20)", "kept"}};
  ASSERT_TRUE(show(browser, 0) && show(without, 0));
  for (const auto& [in, perOrigin, inAll, script, outcome] : kRows) {
    LARKA::SetStorageLimits(perOrigin << 20, inAll << 20);
    EXPECT_EQ(run(in, script), outcome) << script << " of " << perOrigin << ", " << inAll;
  }
  for (ILarkaBrowser* each : {browser, without}) host.manager->DestroyBrowser(each, true);
  EXPECT_TRUE(host.pumpUntil([&] { return isLarge(0); }));
  browser = create();
  ASSERT_TRUE(show(browser, 0));
  EXPECT_EQ(script("localStorage.k.length"), std::to_string(1 << 21));

  LARKA::SetStorageLimits(1 << 20, 100 << 20);
  for (const size_t kilobytes : {1100, 600}) {
    const std::string large = "/large" + std::to_string(kilobytes), manifest = large + ".manifest";
    servers[0].page("/", "<html manifest='" + manifest + "'>" + kPage);
    servers[0].page(manifest, "CACHE MANIFEST\n" + large, "Content-Type: text/cache-manifest\r\n");
    servers[0].page(large, std::string(kilobytes << 10, 'x'));
    ASSERT_TRUE(show(browser, 0));
    EXPECT_EQ(run(browser, ""), kilobytes == 600 ? "kept" : "error");
  }
}

TEST_F(StorageLimitsTest, OriginsThatNoPageShowsMakeRoom) {
  LARKA::SetStorageLimits(5 << 20, 4 << 20);  // 3 MiB without the application caches
  fs::create_directory(storage);
  const std::string old = storage + "/http_old.example_0.localstorage";
  const std::string older = storage + "/http_older.example_0.localstorage";
  std::ofstream(old) << std::string(768 << 10, 'x');
  std::ofstream(older) << std::string(2 << 20, 'x');
  fs::last_write_time(older, fs::file_time_type::clock::now() - std::chrono::hours(5));
  browser = create();
  EXPECT_TRUE(fs::exists(old) && !fs::exists(older));
  ASSERT_TRUE(show(browser, 0));
  EXPECT_EQ(run(browser, "local(1 << 20)"), "kept");
  ASSERT_TRUE(show(browser, 1));
  EXPECT_EQ(run(browser, "local(3 << 19)"), "kept");
  EXPECT_TRUE(host.pumpUntil([&] { return isLarge(0); }));
  EXPECT_TRUE(host.pumpUntil([&] { return isLarge(1) && !isLarge(0); }));
  EXPECT_FALSE(fs::exists(old));
  ASSERT_TRUE(show(browser, 0));
  EXPECT_EQ(script("localStorage.length"), "0");
  EXPECT_EQ(run(browser, "database(2 << 20)"), "error 4") << "1.5 of 3 MiB were kept";
}

}  // namespace
