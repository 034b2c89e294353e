// Proxies, certificates, cookies and the disk cache, against real servers.
#include <QProcess>
#include <random>

#include "Host.h"
#include "HttpServer.h"

namespace {

using LARKA::ILarkaBrowser;
using test::HttpServer;
namespace fs = std::filesystem;

/// A program that serves on a port from its construction to its destruction.
class Program {
 public:
  Program(const QString& name, const QStringList& arguments, int port) {
    m_process.start(name, arguments);
    for (int tries = 0; tries < 500 && !answers(port); ++tries) usleep(10000);
  }
  ~Program() {
    m_process.kill();
    m_process.waitForFinished();
  }

 private:
  static bool answers(int port) {
    QTcpSocket probe;
    probe.setProxy(QNetworkProxy::NoProxy);
    probe.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
    return probe.waitForConnected();
  }
  QProcess m_process;
};

class NetworkTest : public test::BrowserTest {
 protected:
  NetworkTest() { server.page("/", "<title>Through</title>"); }
  void TearDown() override {
    if (second) host.manager->DestroyBrowser(second, true);
    BrowserTest::TearDown();
  }

  ILarkaBrowser* replaceSecond(const char* jar = nullptr) {
    if (second) host.manager->DestroyBrowser(second, true);
    return second = host.createBrowser(&secondRecorder, 100, 100, false, nullptr, jar);
  }
  bool visitSecond(const std::string& path) {
    return host.visit(second, &secondRecorder, server.url(path));
  }
  static uintmax_t bytesIn(const std::string& directory) {
    uintmax_t bytes = 0;
    for (const auto& entry : fs::recursive_directory_iterator(directory))
      if (entry.is_regular_file()) bytes += entry.file_size();
    return bytes;
  }

  HttpServer server;
  test::Recorder secondRecorder;
  ILarkaBrowser* second = nullptr;
};

TEST_F(NetworkTest, RequestsCarryTheUserAgent) {
  const struct {
    const char *agent, *sent, *seen;
  } rows[] = {{"Television/1.0", "User-Agent: Television/1.0\r\n", "Television/1.0"},
              {"", "User-Agent:  \r\n", ""},
              {nullptr, "AppleWebKit", "AppleWebKit"}};
  for (const auto& [agent, sent, seen] : rows) {
    browser->SetUserAgent(agent);
    ASSERT_TRUE(visit(server.url("/")));
    const std::string headers = server.requests("/").back().headers;
    EXPECT_NE(headers.find(sent), std::string::npos) << headers;
    const std::string known = script("navigator.userAgent");
    EXPECT_TRUE(*seen ? known.find(seen) != std::string::npos : known.empty()) << known;
  }
}

TEST_F(NetworkTest, PagesComeThroughTheProxyAndNoOtherWay) {
  const int http = test::freePort(), open = test::freePort(), locked = test::freePort();
  const QString conf = QString::fromStdString(host.directory.file("proxy.conf"));
  host.directory.write("proxy.conf", "Port " + std::to_string(http) +
                                         "\nListen 127.0.0.1\nTimeout 60\nMaxClients 20\n"
                                         "BasicAuth viewer sofa\nAllow 127.0.0.1\n");
  Program tinyproxy("tinyproxy", {"-d", "-c", conf}, http);
  Program any("microsocks", {"-i", "127.0.0.1", "-p", QString::number(open)}, open);
  Program some("microsocks",
               {"-i", "127.0.0.1", "-p", QString::number(locked), "-u", "viewer", "-P", "sofa"},
               locked);
  HttpServer low(4464);  // the low 16 bits of 70000
  low.page(server.url("/"), "<title>Through</title>");
  const struct {
    LARKA::ProxyType type;
    int port;
    const char *user, *password;
    bool through;
  } rows[] = {
      {LARKA::PROXY_HTTP, http, "viewer", "wrong", false},
      {LARKA::PROXY_HTTP, http, nullptr, nullptr, false},
      {LARKA::PROXY_HTTP, http, "viewer", "sofa", true},
      {LARKA::PROXY_HTTP, test::freePort(), "viewer", "sofa", false},
      {static_cast<LARKA::ProxyType>(2), test::freePort(), nullptr, nullptr, true},
      {LARKA::PROXY_SOCKS5, open, nullptr, nullptr, true},
      {LARKA::PROXY_SOCKS5, locked, "viewer", "sofa", true},
      {LARKA::PROXY_SOCKS5, locked, "viewer", "wrong", false},
      {LARKA::PROXY_SOCKS5, locked, nullptr, nullptr, false},
      {LARKA::PROXY_SOCKS5, test::freePort(), nullptr, nullptr, false},
      {LARKA::PROXY_HTTP, 70000, nullptr, nullptr, true},
  };
  for (const auto& [type, port, user, password, through] : rows) {
    browser->SetProxy("127.0.0.1", port, type, user, password);
    recorder.finished = false;
    browser->Navigate(server.url("/").c_str());
    ASSERT_TRUE(host.pumpUntil([this] { return recorder.finished; }));
    EXPECT_EQ(recorder.ok && browser->GetTitle() == "Through", through) << type << " " << port;
    if (through && port == http) {
      EXPECT_NE(server.requests("/").back().headers.find("tinyproxy"), std::string::npos);
    }
  }
  EXPECT_EQ(low.requests(server.url("/")).size(), 1u);
}

TEST_F(NetworkTest, CertificateErrorsAreToldAndIgnored) {
  const char untrusted[] = "9 The certificate is self-signed, and untrusted, ";
  const struct {
    const char *subject, *days;
    std::string complaints;
  } rows[] = {
      {"IP:127.0.0.1", "1", untrusted},
      {"IP:127.0.0.1", "-1", std::string(untrusted) + "6 The certificate has expired, "},
      {"DNS:other.example", "1",
       std::string("22 The host name did not match any of the valid hosts for this certificate, ") +
           untrusted},
  };
  browser->AddListener(&secondRecorder);
  for (const auto& [subject, days, complaints] : rows) {
    const std::string make =
        "cd " + host.directory.path() +
        " && openssl req -x509 -newkey rsa:2048 -nodes -keyout key.pem -out new.pem -subj /CN=x "
        "-addext subjectAltName=" +
        subject + " 2>err && openssl x509 -in new.pem -signkey key.pem -out cert.pem -days " +
        days + " 2>err && cat cert.pem key.pem >both.pem";
    ASSERT_EQ(system(make.c_str()), 0);
    HttpServer secure(0, host.directory.file("both.pem"));
    secure.page("/", "<title>Secure</title>");
    recorder.events.clear();
    secondRecorder.events.clear();
    testing::internal::CaptureStderr();
    EXPECT_TRUE(visit(secure.url("/", "https")) && browser->GetTitle() == "Secure");
    const std::string errors = testing::internal::GetCapturedStderr();
    EXPECT_NE(errors.find("received SSL errors when loading '" + secure.url("/", "https") + "' (" +
                          complaints + ")\n"),
              std::string::npos)
        << errors;
    EXPECT_EQ(recorder.count("OnRequestError"), 1) << complaints;
    EXPECT_EQ(secondRecorder.count("OnRequestError"), 1) << complaints;
  }
}

TEST_F(NetworkTest, CookiesAreSharedUnlessABrowserHasItsOwn) {
  server.page("/dir/set", "ok", "Set-Cookie: response=1; max-age=100; path=/\r\n");
  ASSERT_TRUE(visit(server.url("/dir/set")));
  script("document.cookie='script=2; path=/';document.cookie='script=long; path=/dir'");
  EXPECT_EQ(browser->ReadCookie("script"), "long");
  ASSERT_TRUE(visit(server.url("/")));
  EXPECT_EQ(browser->InjectCookie(".127.0.0.1", "injected", "a b", 100), 0);
  browser->InjectCookie("127.0.0.1", "gone", "1", 0);
  browser->InjectCookie("127.0.0.1", nullptr, nullptr, -1);
  browser->InjectCookie(nullptr, "nowhere", "1", -1);
  usleep(2000);       // the moment of "gone" has passed
  host.initialize();  // changes nothing
  using Cookies = std::vector<std::pair<std::string, std::string>>;
  for (ILarkaBrowser* any : {browser, replaceSecond()}) {
    if (any == second) {
      ASSERT_TRUE(visitSecond("/"));
      EXPECT_NE(server.requests("/").back().headers.find("injected=a b"), std::string::npos);
    }
    Cookies read = any->ReadCookies();
    std::sort(read.begin(), read.end());
    EXPECT_EQ(read, (Cookies{{"", ""}, {"injected", "a b"}, {"response", "1"}, {"script", "2"}}));
    EXPECT_EQ(any->ReadCookie("injected"), "a b");
    EXPECT_EQ(any->ReadCookie("gone") + any->ReadCookie("none") + any->ReadCookie(nullptr), "");
    EXPECT_TRUE(any->ClearCookie("script"));
    EXPECT_FALSE(any->ClearCookie("none"));
    EXPECT_EQ(any->ReadCookie("script"), "2") << "kept on purpose";
  }
  const std::string jar = host.directory.file("own jar");
  replaceSecond(jar.c_str());
  ASSERT_TRUE(visitSecond("/"));
  EXPECT_TRUE(second->ReadCookies().empty());
  second->InjectCookie("127.0.0.1", "own", "1", 100);
  EXPECT_EQ(browser->ReadCookie("own"), "");
  browser->ClearAllCookies();
  EXPECT_TRUE(browser->ReadCookies().empty());
  replaceSecond(jar.c_str());
  ASSERT_TRUE(visitSecond("/"));
  EXPECT_EQ(second->ReadCookie("own"), "1");
  second->ClearAllCookies();
  replaceSecond();
  EXPECT_EQ(test::readFile(jar).size(), 20u) << "the file of an empty store";
}

const char kCacheable[] = "Cache-Control: max-age=1000\r\n";

TEST_F(NetworkTest, BrowsersOfADirectoryShareItsCache) {
  server.page("/cached", "<title>Cached</title>", kCacheable);
  const std::string directory = host.directory.file("disk cache");
  const auto asked = [this] { return server.requests("/cached").size(); };
  browser->ClearCache();  // without a disk cache
  browser->SetCacheParameters(directory.c_str(), 50);
  ASSERT_TRUE(visit(server.url("/cached")));
  replaceSecond()->ClearCache();  // which it has none of yet: only what is in memory
  second->SetCacheParameters(directory.c_str(), -1);
  ASSERT_TRUE(visitSecond("/cached"));
  EXPECT_EQ(asked(), 1u);
  second->ClearCache();
  ASSERT_TRUE(visit("about:blank"));
  ASSERT_TRUE(visit(server.url("/cached")));
  EXPECT_EQ(asked(), 2u);
  second->SetCacheParameters(host.directory.file("elsewhere").c_str(), 1);
  second->ClearCache();
  ASSERT_TRUE(visitSecond("/cached"));
  EXPECT_EQ(asked(), 3u) << "another directory, another cache";
  EXPECT_EQ(second->GetTitle(), "Cached");

  second->SetCacheParameters("", 1);
  testing::internal::CaptureStderr();
  ASSERT_TRUE(visitSecond("/"));
  EXPECT_NE(
      testing::internal::GetCapturedStderr().find(
          "LarkaBrowser::creatingRequest() cannot use cache because cache directory is empty\n"
          "   when trying to load  \"" +
          server.url("/") + "\"\n"),
      std::string::npos);
}

TEST_F(NetworkTest, TheLimitOfTheCacheHolds) {
  const int kPageBytes = 600000;
  const std::string directory = host.directory.file("cache");
  browser->SetCacheParameters(directory.c_str(), 50);
  replaceSecond()->SetCacheParameters(directory.c_str(), 1);  // the last one decides
  std::mt19937 random(1);
  for (const std::string path : {"/1", "/2", "/3", "/4"}) {
    std::string body = "<title>Large</title>";  // the cache compresses what it can
    for (int j = 0; j < kPageBytes; ++j) body += static_cast<char>('0' + random() % 64);
    server.page(path, body, kCacheable);
    ASSERT_TRUE(visit(server.url(path)));
  }
  EXPECT_LE(bytesIn(directory), (1u << 20) + kPageBytes);  // room is made before the last is added
  EXPECT_GT(bytesIn(directory), 1u << 18) << "nothing was kept";
  browser->SetCacheParameters(directory.c_str(), 4096);  // wraps to nothing
  EXPECT_EQ(bytesIn(directory), 0u);
}

TEST_F(NetworkTest, ACacheMayChangeInTheMiddleOfALoad) {
  const std::string body(100000, 'x'), length = std::to_string(body.size() + 20);
  server.answer("/",
                "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nConnection: close\r\n" +
                    (kCacheable + ("Content-Length: " + length)) + "\r\n\r\n<title>Large</title>" +
                    body,
                body.size() / 2);
  for (const std::string& next : {std::string(), host.directory.file("other")}) {
    recorder.finished = false;
    recorder.events.clear();
    browser->SetCacheParameters(host.directory.file("first").c_str(), 10);
    browser->ClearCache();
    browser->Navigate(server.url("/").c_str());
    ASSERT_TRUE(host.pumpUntil([&] { return recorder.count("OnTitleChanged Large") > 0; }));
    browser->SetCacheParameters(next.c_str(), 2048);
    EXPECT_TRUE(host.pumpUntil([this] { return recorder.finished; }));
    EXPECT_EQ(script("document.body.textContent.length"), "100000");
  }
}

TEST_F(NetworkTest, WhateverCanNotBeWrittenChangesNothingElse) {
  host.directory.write("file", "foreign content");
  const std::string below = host.directory.file("file/cookies");
  for (const std::string& jar :
       {std::string("/no/such/folder/jar"), below, host.directory.path()}) {
    replaceSecond(jar.c_str())->SetCacheParameters(below.c_str(), 5);
    EXPECT_TRUE(visitSecond("/"));
    second->InjectCookie("127.0.0.1", "a", "1", 100);
    EXPECT_EQ(second->ReadCookie("a"), "1");
  }
  EXPECT_EQ(test::readFile(host.directory.file("file")), "foreign content");
}

}  // namespace
