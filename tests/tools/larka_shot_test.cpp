// larka-shot as a person types it.
#include <QImage>
#include <QProcess>

#include "Host.h"
#include "HttpServer.h"

namespace {

class LarkaShotTest : public testing::Test {
 protected:
  /// Runs larka-shot in the test's directory.
  void run(const std::string& arguments) {
    setenv("XDG_DATA_HOME", directory.path().c_str(), 1);
    QProcess process;
    process.setWorkingDirectory(QString::fromStdString(directory.path()));
    process.start("/bin/sh", {"-c", QString::fromStdString("exec '" LARKA_SHOT "' " + arguments)});
    EXPECT_TRUE(process.waitForFinished(100000));
    status = process.exitCode();
    output = process.readAllStandardOutput().toStdString();
    errors = process.readAllStandardError().toStdString();
  }
  QImage image(const std::string& name) {
    return QImage(QString::fromStdString(directory.file(name)));
  }

  test::TemporaryDirectory directory;
  test::HttpServer server;
  int status = 0;
  std::string output, errors;
};

// Each page that can be loaded comes to be green all over, after a while.
TEST_F(LarkaShotTest, WritesThePagesOfAListAsTheyAreAtRest) {
  const std::string functions =
      "<body><script>function green(){document.body.style.background='#00ff00'}"
      "function busy(){for(var end=Date.now()+400;Date.now()<end;);green()}"
      "function request(){var r=new XMLHttpRequest;r.onload=green;r.open('GET','/late');r.send()}"
      "</script>";
  const std::pair<const char*, const char*> pages[] = {
      {"/task", "<script>setTimeout(busy,50)</script>"},
      {"/timer", "<script>setTimeout(green,300)</script>"},
      {"/frame", "<iframe hidden id=f></iframe><script>f.setTimeout(green,300)</script>"},
      {"/second", "<script>location='/timer'</script>"},
      {"/request", "<script>onload=function(){request()}</script>"},
      {"/transition",
       "<style>body{-webkit-transition:background .3s}</style><script>onload=green</script>"},
      {"/image", "<img style='position:absolute;top:-9px' src=/silent><script>green()</script>"},
      {"/endless", "<script>for(;;);</script>"}};
  std::string list = "# a comment\n\nmissing.html\n" + server.url("/silent\n");
  for (const auto& [path, body] : pages) {
    server.page(path, functions + body);
    list += server.url(path) + "\n";
  }
  server.answer("/late", "HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\nx", 38);
  server.answer("/silent", "");
  directory.write("list", list);
  run("--list list --jobs 2 --timeout 4 --quiet -o shot.png --cookie 'a=1 2' --cache cache");
  EXPECT_EQ(status, 1);
  EXPECT_NE(server.requests("/task").at(0).headers.find("Cookie: a=1 2\r\n"), std::string::npos);
  EXPECT_FALSE(std::filesystem::is_empty(directory.file("cache")));
  EXPECT_FALSE(std::filesystem::exists(directory.file("LarkaBrowser/cookies")));
  EXPECT_EQ(errors,
            "larka-shot: missing.html: no such file\nlarka-shot: " +
                server.url("/silent: timed out after 4 s\nlarka-shot: ") +
                server.url("/image: timed out after 4 s; the image has what was there\n") +
                "larka-shot: " + server.url("/endless: ended after 4 s: its script never ends\n"));
  EXPECT_FALSE(std::filesystem::exists(directory.file("shot-010.png")));
  QImage green(1280, 720, image("shot-003.png").format());
  green.fill(Qt::green);
  for (int i = 1; i <= 9; ++i)
    EXPECT_EQ(image("shot-00" + std::to_string(i) + ".png"), i > 2 ? green : QImage()) << i;
}

TEST_F(LarkaShotTest, WritesWhatItIsAskedFor) {
  directory.write("f.html", "<form action=g.html><input name=q><input type=submit></form>");
  directory.write("g.html", "<p>found</p>");
  directory.write("jar", "");
  const std::tuple<const char*, const char*, const char*, QSize> rows[] = {
      {"g.html --thumbnail 100x100 --wait 50 --cookie-jar jar", "", "larka-shot.png", {100, 56}},
      {"g.html -o a.JPG --size 320x200", "", "a.JPG", {320, 200}},
      {"g.html --transparent --scale 1.5 --size 1921x1080 --script devicePixelRatio",
       "2\n",
       "larka-shot.png",
       {2881, 1620}},
      {"f.html 'g.html?a#b' -o s/ --script 'q=location;q.search+q.hash'",
       "f.html: \ng.html?a#b: ?a#b\n",
       "s/002.png",
       {1280, 720}},
      {"f.html --keys 'tab,h,shift+I 5 é,comma,273 tab return' --zoom 200 --user-agent TV/2 "
       "--script \"innerWidth+unescape(location.search)+navigator.userAgent+'\\n\\xe4ü'\"",
       "640?q=hI5é,TV/2\näü\n",
       "larka-shot.png",
       {1280, 720}}};
  for (const auto& [arguments, says, file, size] : rows) {
    run(std::string("--quiet ") + arguments);
    EXPECT_EQ(status, 0) << arguments << ": " << errors;
    EXPECT_EQ(output, says);
    EXPECT_EQ(image(file).size(), size) << arguments;
    EXPECT_EQ(qAlpha(image(file).pixel(9, 9)), strstr(arguments, "transp") ? 0 : 255) << arguments;
  }
}

TEST_F(LarkaShotTest, SaysInOneLineWhatIsWrong) {
  directory.write("p.html", "x");
  const std::string nobody = "http://127.0.0.1:" + std::to_string(test::freePort());
  std::vector<std::tuple<int, std::string, const char*>> rows = {
      {2, "", "no address"},
      {2, "p.html -o picture.gif", ".png"},
      {2, "p.html --size 3841x720", "--size"},
      {2, "p.html --scale 3.1", "--scale takes a number"},
      {2, "p.html --scale 2 --size 1921x1080", "--size times --scale"},
      {2, "p.html --transparent -o p.jpg", ".png"},
      {2, "p.html --proxy http://x", "--proxy"},
      {2, "p.html --keys huh", "--keys"},
      {1, "--help >/dev/full", "can't write to the standard output"},
      {1, "p.html -o nowhere/p.png", "p.html: can't write nowhere/p.png"},
      {2, "p.html --foo=1", "option '--foo'"},
      {3, "p.html --script gone.x", "p.html: --script failed: ReferenceError"},
      {1, "gone.html:1", "gone.html:1: no such file"},
      {1, "http://", "not an address"},
      {1, ".", ".: is a folder"},
      {1, nobody, ": connection refused"},
      {1, server.url("") + " --proxy " + nobody,
       "could not be loaded through the proxy: connection refused"}};
  for (const char* value : {"=x", "'a=1;b=2'", "'a=1 '", "a"})
    rows.emplace_back(2, std::string("p.html --cookie ") + value, "--cookie");
  for (const char* value : {"p.html': is a file", ".': is a folder", "no/such': no such folder"})
    rows.emplace_back(2, "p.html --cookie-jar " + std::string(value, strchr(value, '\'')), value);
  for (const auto& [expected, arguments, word] : rows) {
    run(arguments);
    EXPECT_EQ(status, expected) << arguments;
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
    EXPECT_NE(errors.find(word), std::string::npos) << arguments << ": " << errors;
  }
}

}  // namespace
