// Proxies, certificates, cookies and the disk cache, against real servers.
#include <random>

#include "Host.h"
#include "HttpServer.h"
#include "Servers.h"

namespace {

using LARKA::ILarkaBrowser;

class NetworkTest : public test::BrowserTest {
 protected:
  NetworkTest() { server.page("/", "<title>Through</title>"); }

  /// Whether a page comes through a proxy.
  bool comesThrough(LARKA::ProxyType type, int port, const char* user, const char* password) {
    browser->SetProxy("127.0.0.1", port, type, user, password);
    browser->Navigate("about:blank");
    recorder.finished = recorder.ok = false;
    browser->Navigate(server.url("/").c_str());
    EXPECT_TRUE(host.pumpUntil([this] { return recorder.finished; }));
    return recorder.ok && browser->GetTitle() == "Through";
  }

  ILarkaBrowser* secondBrowser(const char* cookiePath = nullptr) {
    second = host.manager->CreateBrowser();
    second->AddListener(&secondRecorder);
    second->Initialize(100, 100, cookiePath, nullptr, false, nullptr);
    return second;
  }
  void TearDown() override {
    if (second) host.manager->DestroyBrowser(second, true);
    BrowserTest::TearDown();
  }

  test::HttpServer server;
  test::Recorder secondRecorder;
  ILarkaBrowser* second = nullptr;
};

TEST_F(NetworkTest, RequestsCarryTheUserAgent) {
  const std::pair<const char*, const char*> rows[] = {
      {"Television/1.0", "User-Agent: Television/1.0\r\n"},
      {"", "User-Agent:  \r\n"},
      {nullptr, "AppleWebKit"}};
  for (const auto& [agent, sent] : rows) {
    browser->SetUserAgent(agent);
    ASSERT_TRUE(visit(server.url("/")));
    const std::string headers = server.requests("/").back().headers;
    EXPECT_NE(headers.find(sent), std::string::npos) << headers;
  }
}

TEST_F(NetworkTest, PagesComeThroughAnHttpProxy) {
  test::TemporaryDirectory directory;
  const int port = test::freePort();
  directory.write("proxy.conf", "Port " + std::to_string(port) +
                                    "\nListen 127.0.0.1\nTimeout 60\nMaxClients 20\n"
                                    "BasicAuth viewer sofa\nAllow 127.0.0.1\n");
  {
    test::Server proxy({"tinyproxy", "-d", "-c", directory.file("proxy.conf")}, port);
    ASSERT_TRUE(proxy.answers());
    EXPECT_FALSE(comesThrough(LARKA::PROXY_HTTP, port, "viewer", "wrong"));
    EXPECT_FALSE(comesThrough(LARKA::PROXY_HTTP, port, nullptr, nullptr));
    EXPECT_TRUE(comesThrough(LARKA::PROXY_HTTP, port, "viewer", "sofa"));
    EXPECT_NE(server.requests("/").back().headers.find("tinyproxy"), std::string::npos);
  }
  EXPECT_FALSE(comesThrough(LARKA::PROXY_HTTP, port, "viewer", "sofa"));
  EXPECT_TRUE(comesThrough(static_cast<LARKA::ProxyType>(2), port, nullptr, nullptr));
}

TEST_F(NetworkTest, PagesComeThroughASocksProxy) {
  const int open = test::freePort(), locked = test::freePort();
  {
    test::Server any({"microsocks", "-i", "127.0.0.1", "-p", std::to_string(open)}, open);
    test::Server some({"microsocks", "-i", "127.0.0.1", "-p", std::to_string(locked), "-u",
                       "viewer", "-P", "sofa"},
                      locked);
    ASSERT_TRUE(any.answers() && some.answers());
    EXPECT_TRUE(comesThrough(LARKA::PROXY_SOCKS5, open, nullptr, nullptr));
    EXPECT_TRUE(comesThrough(LARKA::PROXY_SOCKS5, locked, "viewer", "sofa"));
    EXPECT_FALSE(comesThrough(LARKA::PROXY_SOCKS5, locked, "viewer", "wrong"));
    EXPECT_FALSE(comesThrough(LARKA::PROXY_SOCKS5, locked, nullptr, nullptr));
  }
  EXPECT_FALSE(comesThrough(LARKA::PROXY_SOCKS5, open, nullptr, nullptr));
}

TEST_F(NetworkTest, OfAPortTheLow16BitsCount) {
  test::HttpServer proxy(4464);
  proxy.page(server.url("/"), "<title>Through</title>");
  EXPECT_TRUE(comesThrough(LARKA::PROXY_HTTP, 70000, nullptr, nullptr));
  EXPECT_EQ(proxy.requests(server.url("/")).size(), 1u);
}

struct Certificate {
  const char* name;
  const char* subject;
  const char* days;
  const char* complaints;
};

const Certificate kCertificates[] = {
    {"self-signed", "IP:127.0.0.1", "1", "9 The certificate is self-signed, and untrusted, "},
    {"expired", "IP:127.0.0.1", "-1",
     "9 The certificate is self-signed, and untrusted, 6 The certificate has expired, "},
    {"wrong host", "DNS:other.example", "1",
     "22 The host name did not match any of the valid hosts for this certificate, "
     "9 The certificate is self-signed, and untrusted, "},
};

TEST_F(NetworkTest, CertificateErrorsAreToldAndIgnored) {
  browser->AddListener(&secondRecorder);
  for (const Certificate& certificate : kCertificates) {
    test::TemporaryDirectory directory;
    directory.write("index.html", "<title>Secure</title>");
    const std::string in = "cd " + directory.path() + " && openssl ";
    const std::string make =
        in +
        "req -x509 -newkey rsa:2048 -nodes -keyout key.pem -out new.pem -days 1 -subj /CN=x "
        "-addext subjectAltName=" +
        certificate.subject + " 2>err && " + in +
        "x509 -in new.pem -signkey key.pem -out cert.pem -days " + certificate.days + " 2>err";
    ASSERT_EQ(system(make.c_str()), 0);
    const auto nginx =
        test::startNginx(directory, "ssl",
                         "ssl_certificate " + directory.file("cert.pem") +
                             "; ssl_certificate_key " + directory.file("key.pem") + ";");
    recorder.events.clear();
    secondRecorder.events.clear();
    testing::internal::CaptureStderr();
    const bool loaded = visit(nginx->url("/index.html", "https"));
    const std::string errors = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(loaded && browser->GetTitle() == "Secure") << certificate.name;
    EXPECT_NE(
        errors.find("received SSL errors when loading '" + nginx->url("/index.html", "https") +
                    "' (" + certificate.complaints + ")\n"),
        std::string::npos)
        << certificate.name << "\n"
        << errors;
    EXPECT_EQ(recorder.count("OnRequestError"), 1) << certificate.name;
    EXPECT_EQ(secondRecorder.count("OnRequestError"), 1) << certificate.name;
  }
}

TEST_F(NetworkTest, CookiesAreSharedUnlessABrowserHasItsOwn) {
  server.answer("/set",
                "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nConnection: close\r\n"
                "Set-Cookie: response=1; max-age=100; path=/\r\nContent-Length: 2\r\n\r\nok");
  ASSERT_TRUE(visit(server.url("/set")));
  script("document.cookie='script=2; path=/'");
  EXPECT_EQ(browser->InjectCookie(".127.0.0.1", "injected", "a b", 100), 0);
  browser->InjectCookie("127.0.0.1", "gone", "1", 0);
  browser->InjectCookie("127.0.0.1", nullptr, nullptr, -1);
  browser->InjectCookie(nullptr, "nowhere", "1", -1);
  usleep(2000);  // the moment of "gone" has passed
  const std::vector<std::pair<std::string, std::string>> all = {
      {"response", "1"}, {"script", "2"}, {"injected", "a b"}, {"", ""}};
  for (ILarkaBrowser* any : {browser, secondBrowser()}) {
    if (any == second) {
      ASSERT_TRUE(host.visit(second, &secondRecorder, server.url("/")));
      EXPECT_NE(server.requests("/").back().headers.find("injected=a b"), std::string::npos);
    }
    auto read = any->ReadCookies(), expected = all;
    std::sort(read.begin(), read.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(read, expected);
    EXPECT_EQ(any->ReadCookie("injected"), "a b");
    EXPECT_EQ(any->ReadCookie("gone") + any->ReadCookie("none") + any->ReadCookie(nullptr), "");
    EXPECT_TRUE(any->ClearCookie("script"));
    EXPECT_FALSE(any->ClearCookie("none"));
    EXPECT_EQ(any->ReadCookie("script"), "2") << "kept on purpose";
  }
  host.manager->DestroyBrowser(second, true);
  const std::string jar = host.directory.file("own jar");
  secondBrowser(jar.c_str());
  ASSERT_TRUE(host.visit(second, &secondRecorder, server.url("/")));
  EXPECT_TRUE(second->ReadCookies().empty());
  second->InjectCookie("127.0.0.1", "own", "1", 100);
  EXPECT_EQ(browser->ReadCookie("own"), "");
  browser->ClearAllCookies();
  EXPECT_TRUE(browser->ReadCookies().empty());
  EXPECT_EQ(second->ReadCookie("own"), "1");
  host.manager->DestroyBrowser(second, true);
  secondBrowser(jar.c_str());
  ASSERT_TRUE(host.visit(second, &secondRecorder, server.url("/")));
  EXPECT_EQ(second->ReadCookie("own"), "1");
  second->ClearAllCookies();
  host.manager->DestroyBrowser(second, true);
  second = nullptr;
  EXPECT_EQ(test::readFile(jar).size(), 20u) << "the file of an empty store";
}

TEST_F(NetworkTest, TheCookieWithTheLongerPathIsRead) {
  server.page("/dir/page", "x");
  ASSERT_TRUE(visit(server.url("/dir/page")));
  script("document.cookie='a=short;path=/';document.cookie='a=long;path=/dir'");
  EXPECT_EQ(browser->ReadCookie("a"), "long");
  EXPECT_EQ(server.requests("/dir/page").size(), 1u);
}

std::string cacheable(const std::string& body) {
  return "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nCache-Control: max-age=1000\r\n"
         "Connection: close\r\nContent-Length: " +
         std::to_string(body.size()) + "\r\n\r\n" + body;
}

TEST_F(NetworkTest, BrowsersOfADirectoryShareItsCache) {
  server.answer("/cached", cacheable("<title>Cached</title>"));
  const std::string directory = host.directory.file("disk cache");
  const auto asked = [this] { return server.requests("/cached").size(); };
  browser->ClearCache();  // without a disk cache
  browser->SetCacheParameters(directory.c_str(), 50);
  ASSERT_TRUE(visit(server.url("/cached")));
  secondBrowser()->ClearCache();  // which it has none of yet: only what is in memory
  second->SetCacheParameters(directory.c_str(), -1);
  ASSERT_TRUE(host.visit(second, &secondRecorder, server.url("/cached")));
  EXPECT_EQ(asked(), 1u);
  second->ClearCache();
  ASSERT_TRUE(visit("about:blank"));
  ASSERT_TRUE(visit(server.url("/cached")));
  EXPECT_EQ(asked(), 2u);
  second->SetCacheParameters(host.directory.file("elsewhere").c_str(), 1);
  second->ClearCache();
  ASSERT_TRUE(host.visit(second, &secondRecorder, server.url("/cached")));
  EXPECT_EQ(asked(), 3u) << "another directory, another cache";
  EXPECT_EQ(second->GetTitle(), "Cached");

  server.page("/more", "<title>More</title>");
  second->SetCacheParameters("", 1);
  testing::internal::CaptureStderr();
  ASSERT_TRUE(host.visit(second, &secondRecorder, server.url("/more")));
  const std::string written = testing::internal::GetCapturedStderr();
  EXPECT_NE(written.find("LarkaBrowser::creatingRequest() cannot use cache because cache directory "
                         "is empty"),
            std::string::npos);
  EXPECT_NE(written.find("   when trying to load "), std::string::npos);
}

TEST_F(NetworkTest, TheLimitOfTheCacheHolds) {
  const int kPageBytes = 400000;
  const std::string directory = host.directory.file("cache");
  browser->SetCacheParameters(directory.c_str(), 50);
  secondBrowser()->SetCacheParameters(directory.c_str(), 1);  // the last one decides
  std::mt19937 random(1);
  for (int i = 0; i < 8; ++i) {
    const std::string path = "/large" + std::to_string(i);
    std::string body = "<title>Large</title>";  // the cache compresses what it can
    for (int j = 0; j < kPageBytes; ++j) body += static_cast<char>('0' + random() % 64);
    server.answer(path, cacheable(body));
    ASSERT_TRUE(visit(server.url(path)));
  }
  uintmax_t bytes = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory))
    if (entry.is_regular_file()) bytes += entry.file_size();
  EXPECT_LE(bytes, (1u << 20) + kPageBytes);  // room is made before the last one is added
  EXPECT_GT(bytes, 1u << 18) << "nothing was kept";
  browser->SetCacheParameters(directory.c_str(), 4096);  // wraps to nothing
  bytes = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory))
    if (entry.is_regular_file()) bytes += entry.file_size();
  EXPECT_EQ(bytes, 0u);
}

TEST_F(NetworkTest, ACacheMayChangeInTheMiddleOfALoad) {
  const std::string response = cacheable("<title>Large</title>" + std::string(100000, 'x'));
  for (const std::string& next : {std::string(), host.directory.file("other")}) {
    server.answer("/large", response, response.size() / 2);
    recorder.finished = false;
    browser->SetCacheParameters(host.directory.file("first").c_str(), 10);
    browser->ClearCache();
    const size_t asked = server.requests("/large").size();
    browser->Navigate(server.url("/large").c_str());
    ASSERT_TRUE(host.pumpUntil([&] { return server.requests("/large").size() > asked; }));
    host.pumpFor(200);
    EXPECT_FALSE(recorder.finished);
    browser->SetCacheParameters(next.c_str(), 2048);
    EXPECT_TRUE(host.pumpUntil([this] { return recorder.finished; }));
    EXPECT_EQ(browser->GetTitle(), "Large");
  }
}

TEST_F(NetworkTest, WhateverCanNotBeWrittenChangesNothingElse) {
  const std::string file = host.directory.file("a file"), below = file + "/cookies";
  host.directory.write("a file", "foreign content");
  for (const std::string& jar :
       {std::string("/no/such/folder/jar"), below, host.directory.path()}) {
    secondBrowser(jar.c_str())->SetCacheParameters(below.c_str(), 5);
    EXPECT_TRUE(host.visit(second, &secondRecorder, server.url("/")));
    second->InjectCookie("127.0.0.1", "a", "1", 100);
    EXPECT_EQ(second->ReadCookie("a"), "1");
    host.manager->DestroyBrowser(second, true);
    second = nullptr;
  }
}

}  // namespace
