// larka-shot as a person types it.
#include <sys/wait.h>

#include "Host.h"
#include "HttpServer.h"
#include "Servers.h"

namespace {

struct Outcome {
  int status;
  std::string output, errors;
};

using test::readFile;

class LarkaShotTest : public testing::Test {
 protected:
  /// Runs larka-shot in the test's directory.
  Outcome run(const std::string& arguments) {
    setenv("HOME", directory.path().c_str(), 1);
    setenv("XDG_DATA_HOME", directory.path().c_str(), 1);
    const int status = system(("cd " + directory.path() + " && >out.txt 2>err.txt </dev/null '" +
                               LARKA_SHOT + "' " + arguments)
                                  .c_str());
    return {WEXITSTATUS(status), readFile(directory.file("out.txt")),
            readFile(directory.file("err.txt"))};
  }

  static long lines(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

  /// The width and height that a PNG file's header names.
  std::pair<int, int> pngSize(const std::string& name) {
    const std::string png = readFile(directory.file(name));
    if (png.size() < 24 || png.compare(0, 8, "\x89PNG\r\n\x1a\n", 8) != 0) return {0, 0};
    const auto number = [&](size_t at) {
      int value = 0;
      for (size_t i = at; i < at + 4; ++i) value = value * 256 + static_cast<unsigned char>(png[i]);
      return value;
    };
    return {number(16), number(20)};
  }

  test::TemporaryDirectory directory;
};

TEST_F(LarkaShotTest, RendersTheRestOfAListWhenSomePagesFail) {
  test::HttpServer server;
  server.answer("/silent", "");
  std::ofstream list(directory.file("list.txt"));
  list << "# fifty pages\n\n";
  for (int i = 1; i <= 48; ++i) {
    const std::string name = "page " + std::to_string(i) + ".html";
    directory.write(name, "<body style='background:#123456'>" + name);
    list << name << "\n";
    if (i == 20) list << directory.file("missing.html") << "\n" << server.url("/silent") << "\n";
  }
  list.close();
  const Outcome shots = run("--list list.txt --jobs 8 --timeout 3 --quiet -o shot.png");
  EXPECT_EQ(shots.status, 1);
  EXPECT_EQ(lines(shots.errors), 2) << shots.errors;
  EXPECT_NE(shots.errors.find("missing.html: could not be loaded\n"), std::string::npos);
  EXPECT_NE(shots.errors.find(server.url("/silent") + ": timed out after 3 s\n"),
            std::string::npos);
  EXPECT_EQ(shots.output, "");
  int images = 0;
  for (int i = 1; i <= 50; ++i) {
    char name[32];
    snprintf(name, sizeof(name), "shot-%03d.png", i);
    images += pngSize(name) == std::make_pair(1280, 720);
  }
  EXPECT_EQ(images, 48);
  EXPECT_FALSE(std::filesystem::exists(directory.file("shot-021.png")));
}

// Each page comes to look like a plain green one, after a while.
TEST_F(LarkaShotTest, WritesThePageAsItIsAtRest) {
  test::HttpServer server;
  server.answer("/silent", "");
  const std::string answer = "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 1\r\n\r\n";
  server.answer("/late", answer + "x", answer.size());
  const std::string refused = "http://127.0.0.1:" + std::to_string(test::freePort()) + "/";
  directory.write("green.html", "<body style='background:#00ff00'>");
  ASSERT_EQ(run("green.html -o green.png").status, 0);
  const std::string green = readFile(directory.file("green.png"));
  const std::string frame = "<iframe style='display:none' id=f></iframe>";
  const std::string late = "setTimeout(function(){f.location='" + refused + "'},20)";
  const struct {
    const char* name;
    std::string page;
    const char* arguments = "";
    int status = 0;
    const char* says = "";
  } rows[] = {
      {"a long task", "<script>setTimeout(busy,50)</script>"},
      {"a long task after the load", "<script>onload=function(){setTimeout(busy,0)}</script>"},
      {"a timer", "<script>setTimeout(green,300)</script>"},
      {"a chain of timers",
       "<script>var n=0;(function f(){++n<9?setTimeout(f,90):green()})()</script>"},
      {"an interval", "<script>var n=0;setInterval(function(){if(++n==8)green()},100)</script>"},
      {"animation frames",
       "<script>var n=0;(function f(){++n<25?requestAnimationFrame(f):green()})()</script>"},
      {"a frame's timer", frame + "<script>f.setTimeout(green,300)</script>"},
      {"a second page",
       "<script>location='http://127.0.0.1:" + std::to_string(server.port()) + "/second'</script>"},
      {"a key's timer", "<body onkeydown='setTimeout(green,300)'>", "--keys a"},
      {"a script's timer", "", "--script 'setTimeout(green,300)'"},
      {"an answer after the load",
       "<script>onload=function(){var r=new XMLHttpRequest;r.onload=green;r.open('GET','" +
           server.url("/late") + "');r.send()}</script>"},
      {"a frame that fails", frame + "<script>green();" + late + "</script>"},
      {"an image that never comes",
       "<img style='position:absolute;top:-9px' src=" + server.url("/silent") +
           "><script>green()</script>",
       "--timeout 1", 3, "timed out after 1 s; the image has what was there"},
  };
  const std::string functions =
      "<body><script>function green(){document.body.style.background='#00ff00'}"
      "function busy(){for(var end=Date.now()+400;Date.now()<end;);green()}</script>";
  server.page("/second", functions + "<script>setTimeout(green,300)</script>");
  for (const auto& row : rows) {
    directory.write("p.html", functions + row.page);
    const Outcome shot = run(std::string("p.html --quiet -o p.png ") + row.arguments);
    EXPECT_EQ(shot.status, row.status) << row.name << ": " << shot.errors;
    EXPECT_NE(shot.errors.find(row.says), std::string::npos) << row.name << ": " << shot.errors;
    EXPECT_TRUE(readFile(directory.file("p.png")) == green) << row.name;
    std::filesystem::remove(directory.file("p.png"));
  }
  // Unless they are watched, a page is given the whole second for timers that have run out.
  EXPECT_EQ(run("p.html --quiet --timeout 1 --script 'typeof larkaShotTimers'").output,
            "function\n");
}

TEST_F(LarkaShotTest, WritesWhatItIsAskedFor) {
  directory.write("p.html",
                  "<title>x</title><script>document.write(navigator.userAgent=='TV/2'?"
                  "'<body bgcolor=#00ff00>':'<body bgcolor=#ff0000>')</script>");
  EXPECT_EQ(run("p.html -o a.png --size 320x200 --wait 50").status, 0);
  EXPECT_EQ(pngSize("a.png"), std::make_pair(320, 200));
  EXPECT_EQ(run("p.html --thumbnail 100x100").status, 0);
  EXPECT_EQ(pngSize("larka-shot.png"), std::make_pair(100, 56));
  const Outcome jpeg = run("./p.html --output b.JPG --user-agent TV/2 --verbose");
  EXPECT_EQ(jpeg.status, 0);
  EXPECT_EQ(readFile(directory.file("b.JPG")).substr(0, 3), "\xff\xd8\xff");
  EXPECT_EQ(jpeg.output.substr(0, 7), "b.JPG (");
  EXPECT_NE(jpeg.errors.find("----browser quitting"), std::string::npos);
  mkdir(directory.file("shots").c_str(), 0777);
  EXPECT_EQ(run("p.html p.html -o shots").status, 0);
  EXPECT_EQ(pngSize("shots/001.png"), std::make_pair(1280, 720));
  EXPECT_EQ(pngSize("shots/002.png"), std::make_pair(1280, 720));
  EXPECT_EQ(run("--help").status, 0);
  EXPECT_EQ(run("--version").output.substr(0, 11), "larka-shot ");
}

TEST_F(LarkaShotTest, SaysInOneLineWhatIsWrong) {
  directory.write("p.html", "x");
  const struct {
    std::string arguments;
    int status;
    const char* says;
  } rows[] = {
      {"", 2, "no address given"},
      {"p.html --size 1281x720", 2, "--size takes WxH"},
      {"p.html --size 12", 2, "--size takes WxH"},
      {"p.html --jobs 0", 2, "--jobs takes"},
      {"p.html --timeout 0", 2, "--timeout takes"},
      {"p.html --wait x", 2, "--wait takes"},
      {"p.html --thumbnail 0x5", 2, "--thumbnail takes"},
      {"p.html --nonsense", 2, "unknown option"},
      {"p.html -o picture.gif", 2, "must end in .png"},
      {"--list nothing.txt", 2, "can't read the list 'nothing.txt'"},
      {"p.html >/dev/full", 1, "can't write to the standard output"},
      {"--help >/dev/full", 1, "can't write to the standard output"},
      {"p.html -o nowhere/p.png", 1, "p.html: can't write nowhere/p.png"},
      {"'' -o p.png", 1, "not an address"},
      {"http://127.0.0.1:" + std::to_string(test::freePort()) + "/ -o p.png", 1,
       "could not be loaded"},
  };
  for (const auto& row : rows) {
    const Outcome result = run(row.arguments);
    EXPECT_EQ(result.status, row.status) << row.arguments;
    EXPECT_EQ(lines(result.errors), 1) << row.arguments << ": " << result.errors;
    EXPECT_NE(result.errors.find(row.says), std::string::npos) << result.errors;
  }
  EXPECT_EQ(run("p.html >&- 2>&-").status, 0);
}

TEST_F(LarkaShotTest, PressesKeysAndRunsScript) {
  directory.write("f.html", "<form action=g.html><input name=q><input type=submit></form>");
  directory.write("g.html", "<p>found</p>");
  const Outcome outcome =
      run("f.html --keys 'tab,h,shift+I 5 é,comma,273 tab return' --zoom 200 --quiet "
          "--timeout 2 --wait 2100 "
          "--script \"innerWidth+unescape(location.search)+'\\n\\xe4ü'\"");
  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(outcome.output, "640?q=hI5é,\näü\n");
  const Outcome two = run("f.html g.html --script document.forms.length --quiet --jobs 1");
  EXPECT_EQ(two.output, "f.html: 1\ng.html: 0\n");
  for (const char* wrong : {"--keys bogus", "--keys tab,hyper+a", "--keys 70000", "--keys shift+",
                            "--keys ,", "--keys ď", "--zoom 5", "--zoom 1e9", "--zoom x"}) {
    const Outcome failed = run(std::string("f.html ") + wrong);
    EXPECT_EQ(failed.status, 2) << wrong;
    EXPECT_EQ(lines(failed.errors), 1) << wrong;
  }
}

// Each run is a process of its own.
TEST_F(LarkaShotTest, CookiesAndTheCacheOutliveTheProcess) {
  test::HttpServer server;
  server.answer("/a",
                "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nCache-Control: max-age=99\r\n"
                "Set-Cookie: response=1; max-age=99\r\nConnection: close\r\n"
                "Content-Length: 1\r\n\r\nx");
  const std::string page = server.url("/a") + " --quiet ";
  const Outcome first = run(page +
                            "--cookie given=2 --cookie 'more=3 4' --cache cache --script "
                            "\"document.cookie='script=5;max-age=99'\"");
  EXPECT_EQ(first.status, 0) << first.errors;
  EXPECT_NE(server.requests("/a")[0].headers.find("given=2; more=3 4"), std::string::npos);
  const Outcome second = run(page + "--cache cache --script document.cookie");
  EXPECT_TRUE(second.output == "response=1; script=5\n" ||
              second.output == "script=5; response=1\n")
      << second.output;
  EXPECT_EQ(server.requests("/a").size(), 1u);
  directory.write("b.html", "<p>b</p>");
  run(page + "--cookie-jar own --script \"document.cookie='mine=1;max-age=99'\"");
  const Outcome own =
      run(page + "b.html --cookie-jar own --script \"''+/mine/.test(document.cookie)\"");
  EXPECT_NE(own.output.find("/a: true"), std::string::npos) << own.output;
  EXPECT_EQ(run(page + "--proxy http://127.0.0.1:" + std::to_string(server.port())).status, 1);
  for (const char* wrong :
       {"--cookie x", "--cookie =x", "--cookie 'a=1; path=/'", "--cookie-jar b.html",
        "--cookie-jar /no/such/folder/jar", "--cookie-jar .", "--cache /dev/null/x",
        "--proxy 127.0.0.1:80", "--proxy ftp://x:1", "--proxy http://x"}) {
    const Outcome failed = run(page + wrong);
    EXPECT_EQ(failed.status, 2) << wrong;
    EXPECT_EQ(lines(failed.errors), 1) << wrong;
  }
}

}  // namespace
