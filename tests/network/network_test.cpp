// Proxies, certificates, cookies and the disk cache, against real servers.
#include <QProcess>
#include <algorithm>

#include "Host.h"
#include "HttpServer.h"

namespace {

using LARKA::ILarkaBrowser;

class NetworkTest : public test::BrowserTest {
 protected:
  NetworkTest() { server.page("/", "<title>Through</title>"); }
  void TearDown() override {
    host.manager->DestroyBrowser(second, true);
    BrowserTest::TearDown();
  }

  ILarkaBrowser* replaceSecond(const char* jar = nullptr) {
    host.manager->DestroyBrowser(second, true);
    return second = host.createBrowser(&secondRecorder, 100, 100, false, nullptr, jar);
  }
  bool visitSecond(const std::string& path) {
    return host.visit(second, &secondRecorder, server.url(path));
  }
  std::string diagnosticsOf(const std::string& url) {
    testing::internal::CaptureStderr();
    visit(url);
    return testing::internal::GetCapturedStderr();
  }
  /// Starts a program that serves on a port.
  void start(QProcess* program, const std::string& command, int port) {
    program->start("sh", {"-c", QString::fromStdString(command)});
    QTcpSocket probe;
    probe.setProxy(QNetworkProxy::NoProxy);
    EXPECT_TRUE(host.pumpUntil([&] {
      probe.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
      return probe.waitForConnected();
    })) << command;
  }

  test::HttpServer server;
  test::Recorder secondRecorder;
  ILarkaBrowser* second = nullptr;
};

TEST_F(NetworkTest, PagesComeThroughTheProxyAndNoOtherWay) {
  const int http = test::freePort(), nobody = test::freePort();
  host.directory.write("conf", "Port " + std::to_string(http) +
                                   "\nListen 127.0.0.1\nTimeout 60\nMaxClients 20\n"
                                   "BasicAuth viewer sofa\nAllow 127.0.0.1\n");
  QProcess tinyproxy;
  start(&tinyproxy, "exec tinyproxy -dc " + host.directory.file("conf"), http);
  const struct {
    int type, port;
    const char *user, *password;
    bool through;
  } rows[] = {
      {LARKA::PROXY_HTTP, http, "viewer", "wrong", false},
      {LARKA::PROXY_HTTP, http, "viewer", "sofa", true},
      {2, nobody, nullptr, nullptr, true},
  };
  for (const auto& [type, port, user, password, through] : rows) {
    browser->SetProxy("127.0.0.1", port, static_cast<LARKA::ProxyType>(type), user, password);
    // What fails in a proxy may still be a page: the proxy's own.
    EXPECT_EQ(visit(server.url("/")) && browser->GetTitle() == "Through", through)
        << type << " " << port;
  }
  QTcpServer socks;
  socks.setProxy(QNetworkProxy::NoProxy);
  ASSERT_TRUE(socks.listen(QHostAddress::LocalHost));
  browser->SetProxy("127.0.0.1", socks.serverPort(), LARKA::PROXY_SOCKS5, "viewer", "sofa");
  browser->Navigate(server.url("/").c_str());
  ASSERT_TRUE(host.pumpUntil([&] { return socks.waitForNewConnection(0); }));
  QTcpSocket* client = socks.nextPendingConnection();
  EXPECT_TRUE(client->waitForReadyRead() && client->readAll() == "\5\1\2");
}

TEST_F(NetworkTest, ErrorsAreWrittenAndThoseOfCertificatesIgnoredOrChecked) {
  const int port = test::freePort();
  const std::string url = "https://127.0.0.1:" + std::to_string(port) + "/page.html";
  EXPECT_NE(diagnosticsOf(url).find("Error 1 loading url '" + url + "'\n"), std::string::npos);

  test::SecureServer server(host.directory.path(), port);
  browser->AddListener(&secondRecorder);
  recorder.events.clear();
  const std::string errors = diagnosticsOf(url);
  EXPECT_EQ(browser->GetTitle(), "Secure");
  EXPECT_NE(errors.find("received SSL errors when loading '" + url +
                        "' (22 The host name did not match any of the valid hosts for this "
                        "certificate, 9 The certificate is self-signed, and untrusted, "
                        "6 The certificate has expired, )\n"),
            std::string::npos)
      << errors;
  EXPECT_EQ(recorder.count("OnRequestError") + secondRecorder.count("OnRequestError"), 2);

  EXPECT_TRUE(LARKA::SetCertificateChecks(browser, true) && !LARKA::AcceptCertificate(browser));
  const auto failure = [&] {
    const LARKA::LoadError error = visit(url) ? LARKA::LoadError() : LARKA::GetLoadError(browser);
    return std::to_string(error.kind) + " " + error.text;
  };
  const std::string wrong = "6 its certificate is for another host, has expired and is self-signed";
  EXPECT_EQ(failure(), wrong);
  EXPECT_EQ(LARKA::GetLoadError(browser).certificateErrors, LARKA::CERTIFICATE_SELF_SIGNED |
                                                                LARKA::CERTIFICATE_EXPIRED |
                                                                LARKA::CERTIFICATE_WRONG_HOST);
  EXPECT_EQ(recorder.count("OnRequestError"), 2);
  EXPECT_TRUE(LARKA::AcceptCertificate(browser));
  EXPECT_EQ(failure(), "0 ");
  server.changeCertificate();
  EXPECT_EQ(failure(), wrong) << "another certificate";
  ASSERT_TRUE(load("<iframe src=" + url + "></iframe>"));
  EXPECT_EQ(script("frames[0].document.title"), "") << "a part of a page";
  EXPECT_FALSE(LARKA::AcceptCertificate(browser));
  EXPECT_TRUE(LARKA::SetCertificateChecks(browser, false));
  EXPECT_EQ(failure(), "0 ");
}

TEST_F(NetworkTest, FailedLoadsHaveAReason) {
  server.answer("/silent", "");
  server.answer("/missing", "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
  server.answer("/cut", "HTTP/1.1 200 OK\r\nContent-Length: 9000\r\n\r\n<p>");
  server.answer("/half", "H");
  server.answer("/round", "HTTP/1.1 302 Go\r\nLocation: /round\r\nContent-Length: 0\r\n\r\n");
  server.page("/data", "\1", "Content-Type: application/octet-stream\r\n");
  LARKA::SetLoadTimeLimit(browser, 500);
  const std::string nobody = "http://127.0.0.1:" + std::to_string(test::freePort()) + "/";
  const std::tuple<std::string, LARKA::LoadErrorKind, int> kRows[] = {
      {nobody, LARKA::LOAD_REFUSED, 0},
      {"file:///no/such", LARKA::LOAD_NO_FILE, 0},
      {server.url("/silent"), LARKA::LOAD_TIMED_OUT, 0},
      {server.url("/missing"), LARKA::LOAD_HTTP_STATUS, 404},
      {"http://no-host.invalid/", LARKA::LOAD_NAME_NOT_FOUND, 0},
      {server.url("/cut"), LARKA::LOAD_CONNECTION_LOST, 0},
      {server.url("/half"), LARKA::LOAD_CONNECTION_LOST, 0},
      {server.url("/round"), LARKA::LOAD_OTHER, 0},
      {server.url("/data"), LARKA::LOAD_NOT_SHOWN, 0},
      {"http://127.0.0.1:25/", LARKA::LOAD_BLOCKED, 0},
      {server.url("/"), LARKA::LOAD_OK, 0}};
  for (const auto& [url, kind, status] : kRows) {
    EXPECT_EQ(visit(url), kind == LARKA::LOAD_OK);
    const LARKA::LoadError error = LARKA::GetLoadError(browser);
    EXPECT_EQ(error.kind, kind) << url << ": " << error.text;
    EXPECT_EQ(error.httpStatus, status) << url;
    EXPECT_EQ(error.address, kind == LARKA::LOAD_OK ? "" : url);
  }
  EXPECT_EQ(LARKA::GetLoadError(nullptr).kind, LARKA::LOAD_OK);
  EXPECT_FALSE(LARKA::HasRunningRequests(browser));
  script("document.body.style.background='#0000ff';new Image().src='/silent'");
  EXPECT_TRUE(LARKA::RefreshImage(browser));
  EXPECT_EQ(test::pixel(browser, 99, 99), 0xff0000ff);
  EXPECT_TRUE(host.pumpUntil([this] { return LARKA::HasRunningRequests(browser); }));

  visit(nobody);
  recorder.finished = false;
  browser->Navigate(server.url("/silent").c_str());
  host.manager->PumpEvents();
  browser->Stop();
  EXPECT_TRUE(host.pumpUntil([&] { return recorder.finished; }));
  EXPECT_EQ(LARKA::GetLoadError(browser).kind, LARKA::LOAD_ABORTED);

  // The limit is that of a page's own load, neither of a frame's nor of the next page's.
  const std::string slow = "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n\r\n<title>Slow</title>";
  server.answer("/slow", slow, slow.size() - 8);
  LARKA::SetLoadTimeLimit(browser, 250);
  ASSERT_TRUE(visit(server.url("/")));
  script("document.documentElement.innerHTML = '<iframe src=/slow></iframe>'");
  EXPECT_TRUE(host.pumpUntil([&] { return script("frames[0].document.title") == "Slow"; }, 5000));
  ASSERT_TRUE(visit(server.url("/")));
  LARKA::SetLoadTimeLimit(browser, 0);
  EXPECT_TRUE(visit(server.url("/slow")));
}

TEST_F(NetworkTest, CookiesAreSharedUnlessABrowserHasItsOwn) {
  server.page("/dir/set", "ok", "Set-Cookie: response=1; max-age=100; path=/\r\n");
  ASSERT_TRUE(visit(server.url("/dir/set")));
  script("document.cookie='script=2; path=/';document.cookie='script=long; path=/dir'");
  EXPECT_EQ(browser->ReadCookie("script"), "long");
  EXPECT_EQ(browser->InjectCookie(".127.0.0.1", "injected", "a b", 100), 0);
  browser->InjectCookie("127.0.0.1", "gone", "1", 0);
  browser->InjectCookie("127.0.0.1", nullptr, nullptr, -1);
  browser->InjectCookie(nullptr, "nowhere", "1", -1);
  host.initialize();  // changes nothing
  replaceSecond();
  ASSERT_TRUE(visitSecond("/"));
  EXPECT_NE(server.requests("/").back().headers.find("injected=a b"), std::string::npos);
  using Cookies = std::vector<std::pair<std::string, std::string>>;
  Cookies read = second->ReadCookies();
  std::sort(read.begin(), read.end());
  EXPECT_EQ(read, (Cookies{{"", ""}, {"injected", "a b"}, {"response", "1"}, {"script", "2"}}));
  EXPECT_EQ(second->ReadCookie("gone") + second->ReadCookie(nullptr), "");
  EXPECT_TRUE(second->ClearCookie("script") && !second->ClearCookie("none"));
  EXPECT_EQ(second->ReadCookie("script"), "2") << "kept on purpose";

  const std::string jar = host.directory.file("own jar");
  replaceSecond(jar.c_str())->InjectCookie("127.0.0.1", "own", "1", 100);
  ASSERT_TRUE(visitSecond("/"));
  EXPECT_EQ(second->ReadCookies(), (Cookies{{"own", "1"}}));
  browser->ClearAllCookies();
  EXPECT_TRUE(browser->ReadCookies().empty());
  // Neither a cookie file nor a cache can be where a file is.
  replaceSecond((jar + "/jar").c_str())->SetCacheParameters(jar.c_str(), 5);
  second->InjectCookie("127.0.0.1", "a", "1", 100);
  ASSERT_TRUE(visitSecond("/"));
  EXPECT_EQ(second->ReadCookie("a"), "1");
  replaceSecond(jar.c_str());
  ASSERT_TRUE(visitSecond("/"));
  EXPECT_EQ(second->ReadCookie("own"), "1");
}

TEST_F(NetworkTest, BrowsersOfADirectoryShareItsCacheAndItsLimit) {
  server.page("/cached", "x", "Cache-Control: max-age=1000\r\n");
  const std::string directory = host.directory.file("cache");
  const auto asked = [this] { return server.requests("/cached").size(); };
  browser->ClearCache();  // without a disk cache
  browser->SetCacheParameters(directory.c_str(), 50);
  ASSERT_TRUE(visit(server.url("/cached")));
  replaceSecond()->ClearCache();  // which it has none of yet: only what is in memory
  second->SetCacheParameters(directory.c_str(), -1);
  ASSERT_TRUE(visitSecond("/cached"));
  EXPECT_EQ(asked(), 1u);
  second->ClearCache();
  ASSERT_TRUE(visit("about:blank") && visit(server.url("/cached")));
  EXPECT_EQ(asked(), 2u);
  server.page("/old", "kept", "Cache-Control: must-revalidate\r\nETag: \"1\"\r\n");
  ASSERT_TRUE(visit(server.url("/old")));
  server.answer("/old",
                "HTTP/1.1 304 No\r\nConnection: close\r\nCache-Control: max-age=99\r\n\r\n");
  for (int visits : {1, 2})
    ASSERT_TRUE(visit("about:blank") && visit(server.url("/old"))) << visits;
  EXPECT_EQ(script("document.body.textContent"), "kept");
  EXPECT_EQ(server.requests("/old").size(), 2u) << "it was asked for again and is good for a while";
  second->SetCacheParameters(directory.c_str(), 4096);  // wraps to nothing
  replaceSecond()->ClearCache();
  ASSERT_TRUE(visit("about:blank") && visit(server.url("/cached")));
  EXPECT_EQ(asked(), 3u) << "the last one sets the limit";

  browser->SetCacheParameters("", 1);
  const std::string errors = diagnosticsOf(server.url("/"));
  EXPECT_NE(errors.find("LarkaBrowser::creatingRequest() cannot use cache because cache directory "
                        "is empty\n   when trying to load  \"" +
                        server.url("/") + "\"\n"),
            std::string::npos);
}

}  // namespace
