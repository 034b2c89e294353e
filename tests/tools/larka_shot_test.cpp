// larka-shot as a person types it.
#include <QImage>
#include <QProcess>

#include "Host.h"
#include "HttpServer.h"

namespace {

class LarkaShotTest : public testing::Test {
 protected:
  struct Outcome {
    int status;
    std::string output, errors;
  };
  using Shot = std::unique_ptr<QProcess>;

  /// Starts larka-shot in the test's directory.
  Shot start(const std::string& arguments) {
    setenv("HOME", directory.path().c_str(), 1);
    setenv("XDG_DATA_HOME", directory.path().c_str(), 1);
    Shot process = std::make_unique<QProcess>();
    process->setWorkingDirectory(QString::fromStdString(directory.path()));
    process->start("/bin/sh", {"-c", QString::fromStdString("exec '" LARKA_SHOT "' " + arguments)});
    return process;
  }
  static Outcome outcome(const Shot& process) {
    EXPECT_TRUE(process->waitForFinished(60000));
    return {process->exitCode(), process->readAllStandardOutput().toStdString(),
            process->readAllStandardError().toStdString()};
  }
  Outcome run(const std::string& arguments) { return outcome(start(arguments)); }

  /// Command lines that are refused with one line, which says a word.
  void expectRefused(int status, const std::string& before,
                     const std::vector<std::pair<std::string, std::string>>& rows) {
    for (const auto& [arguments, word] : rows) {
      const Outcome result = run(before + arguments);
      EXPECT_EQ(result.status, status) << arguments;
      EXPECT_EQ(lines(result.errors), 1) << arguments << ": " << result.errors;
      EXPECT_NE(result.errors.find(word), std::string::npos) << arguments << ": " << result.errors;
    }
  }
  static long lines(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

  QImage image(const std::string& name) {
    return QImage(QString::fromStdString(directory.file(name)));
  }

  test::TemporaryDirectory directory;
  test::HttpServer server;
};

TEST_F(LarkaShotTest, RendersTheRestOfAListWhenSomePagesFail) {
  server.answer("/silent", "");
  std::string list = "# twelve pages\n\n";
  for (int i = 1; i <= 10; ++i) {
    const std::string name = "page " + std::to_string(i) + ".html";
    directory.write(name, "<body style='background:#123456'>" + name);
    list += name + "\n";
    if (i == 4) list += directory.file("missing.html") + "\n" + server.url("/silent") + "\n";
  }
  directory.write("list.txt", list);
  const Outcome shots = run("--list list.txt --jobs 8 --timeout 2 --quiet -o shot.png");
  EXPECT_EQ(shots.status, 1);
  EXPECT_EQ(lines(shots.errors), 2) << shots.errors;
  EXPECT_NE(shots.errors.find("missing.html: could not be loaded\n"), std::string::npos);
  EXPECT_NE(shots.errors.find(server.url("/silent") + ": timed out after 2 s\n"),
            std::string::npos);
  EXPECT_EQ(shots.output, "");
  for (int i = 1; i <= 12; ++i) {
    const std::string name = "shot-0" + std::to_string(i / 10) + std::to_string(i % 10) + ".png";
    EXPECT_EQ(image(name).size(), i == 5 || i == 6 ? QSize(0, 0) : QSize(1280, 720)) << name;
  }
}

// Each page comes to look like a plain green one, after a while.
TEST_F(LarkaShotTest, WritesThePageAsItIsAtRest) {
  server.answer("/silent", "");
  const std::string answer = "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 1\r\n\r\n";
  server.answer("/late", answer + "x", answer.size());
  const std::string refused = "http://127.0.0.1:" + std::to_string(test::freePort()) + "/";
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
      {"an interval", "<script>var n=0;setInterval(function(){if(++n==6)green()},100)</script>"},
      {"animation frames",
       "<script>var n=0;(function f(){++n<12?requestAnimationFrame(f):green()})()</script>"},
      {"a frame's timer", frame + "<script>f.setTimeout(green,300)</script>"},
      {"a second page", "<script>location='" + server.url("/second") + "'</script>"},
      {"a key's timer", "<body onkeyup='setTimeout(green,300)'>", "--keys a"},
      {"a key with modifiers",
       "<body onkeydown='if(event.ctrlKey&&event.shiftKey&&event.keyCode==65)green()'>",
       "--keys ctrl+shift+a"},
      {"a script's timer", "", "--script 'setTimeout(green,300)'"},
      {"a wait that is longer than the timeout",
       "<script>onload=function(){setTimeout(green,1300)}</script>", "--timeout 1 --wait 1400"},
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
  QImage green(1280, 720, QImage::Format_RGB32);
  green.fill(Qt::green);
  std::vector<Shot> shots;
  const size_t kAtOnce = 3, count = std::size(rows);
  for (size_t next = 0; next < count + kAtOnce; ++next) {
    const auto name = [](size_t i) { return std::to_string(i); };
    if (next < count) {
      directory.write(name(next) + ".html", functions + rows[next].page);
      shots.push_back(
          start(name(next) + ".html --quiet -o " + name(next) + ".png " + rows[next].arguments));
    }
    if (next < kAtOnce) continue;
    const auto& row = rows[next - kAtOnce];
    const Outcome shot = outcome(shots[next - kAtOnce]);
    EXPECT_EQ(shot.status, row.status) << row.name << ": " << shot.errors;
    EXPECT_NE(shot.errors.find(row.says), std::string::npos) << row.name;
    const QImage picture = image(name(next - kAtOnce) + ".png");
    EXPECT_TRUE(picture.convertToFormat(green.format()) == green) << row.name;
  }
  // Unless they are watched, a page is given the whole second for timers that have run out.
  EXPECT_EQ(run("0.html --quiet --script 'typeof larkaShotTimers'").output, "function\n");
}

TEST_F(LarkaShotTest, WritesWhatItIsAskedFor) {
  directory.write("p.html",
                  "<title>x</title><script>document.write(navigator.userAgent=='TV/2'?"
                  "'<body bgcolor=#00ff00>':'<body bgcolor=#ff0000>')</script>");
  mkdir(directory.file("shots").c_str(), 0777);
  const struct {
    const char *arguments, *file;
    QSize size;
    Qt::GlobalColor color;
  } rows[] = {
      {"p.html -o a.png --size 320x200 --wait 50", "a.png", {320, 200}, Qt::red},
      {"p.html --thumbnail 100x100", "larka-shot.png", {100, 56}, Qt::red},
      {"p.html p.html -o shots/ --user-agent TV/2 --size 1280x720",
       "shots/002.png",
       {1280, 720},
       Qt::green},
  };
  for (const auto& [arguments, file, size, color] : rows) {
    EXPECT_EQ(run(arguments).status, 0) << arguments;
    EXPECT_EQ(image(file).size(), size);
    EXPECT_EQ(image(file).pixelColor(9, 9), QColor(color)) << arguments;
  }
  const Outcome jpeg = run("./p.html --output b.JPG --verbose");
  EXPECT_EQ(test::readFile(directory.file("b.JPG")).substr(0, 3), "\xff\xd8\xff");
  EXPECT_EQ(jpeg.output.substr(0, 7), "b.JPG (");
  EXPECT_NE(jpeg.errors.find("----browser quitting"), std::string::npos);
  EXPECT_EQ(run("--help").status, 0);
  EXPECT_EQ(run("--version").output.substr(0, 11), "larka-shot ");
  EXPECT_EQ(run("p.html >&- 2>&-").status, 0);
}

TEST_F(LarkaShotTest, SaysInOneLineWhatIsWrong) {
  directory.write("p.html", "x");
  std::vector<std::pair<std::string, std::string>> wrong = {{"-o picture.gif", ".png"},
                                                            {"--list nothing.txt", "nothing.txt"},
                                                            {"--nonsense", "nknown option"}};
  for (const char* arguments : {"--size 1281x720",
                                "--size 12",
                                "--jobs 0",
                                "--timeout 0",
                                "--wait x",
                                "--thumbnail 0x5",
                                "--keys bogus",
                                "--keys tab,hyper+a",
                                "--keys 70000",
                                "--keys shift+",
                                "--keys ,",
                                "--keys ď",
                                "--zoom 5",
                                "--zoom 1e9",
                                "--zoom x",
                                "--cookie x",
                                "--cookie =x",
                                "--cookie 'a=1; path=/'",
                                "--cookie-jar p.html",
                                "--cookie-jar /no/such/folder/jar",
                                "--cookie-jar .",
                                "--cache /dev/null/x",
                                "--proxy 127.0.0.1:80",
                                "--proxy ftp://x:1",
                                "--proxy http://x"})
    wrong.emplace_back(arguments, std::string(arguments, strcspn(arguments, " ")));
  expectRefused(2, "p.html ", wrong);
  expectRefused(2, "", {{"", "no address"}});
  const std::string nobody = "http://127.0.0.1:" + std::to_string(test::freePort()) + "/";
  expectRefused(1, "",
                {{"p.html >/dev/full", "can't write to the standard output"},
                 {"--help >/dev/full", "can't write to the standard output"},
                 {"p.html -o nowhere/p.png", "p.html: can't write nowhere/p.png"},
                 {"'' -o p.png", "not an address"},
                 {nobody + " -o p.png", "could not be loaded"},
                 {nobody + " --proxy http://127.0.0.1:" + std::to_string(server.port()),
                  "could not be loaded"}});
}

TEST_F(LarkaShotTest, PressesKeysAndRunsScript) {
  directory.write("f.html", "<form action=g.html><input name=q><input type=submit></form>");
  directory.write("g.html", "<p>found</p>");
  const Outcome typed =
      run("f.html --keys 'tab,h,shift+I 5 é,comma,273 tab return' --zoom 200 --quiet "
          "--script \"innerWidth+unescape(location.search)+'\\n\\xe4ü'\"");
  EXPECT_EQ(typed.status, 0) << typed.errors;
  EXPECT_EQ(typed.output, "640?q=hI5é,\näü\n");
  const Outcome two = run("f.html g.html --script document.forms.length --quiet --jobs 1");
  EXPECT_EQ(two.output, "f.html: 1\ng.html: 0\n");
}

// Each run is a process of its own.
TEST_F(LarkaShotTest, CookiesAndTheCacheOutliveTheProcess) {
  server.page("/a", "x", "Cache-Control: max-age=99\r\nSet-Cookie: response=1; max-age=99\r\n");
  const std::string page = server.url("/a") + " --quiet ";
  const Outcome first = run(page +
                            "--cookie given=2 --cookie 'more=3 4' --cache cache --script "
                            "\"document.cookie='script=5;max-age=99'\"");
  EXPECT_EQ(first.status, 0) << first.errors;
  EXPECT_NE(server.requests("/a")[0].headers.find("given=2; more=3 4"), std::string::npos);
  const char sorted[] = "--cache cache --script \"document.cookie.split('; ').sort().join()\"";
  EXPECT_EQ(run(page + sorted).output, "response=1,script=5\n");
  EXPECT_EQ(server.requests("/a").size(), 1u);
  directory.write("b.html", "<p>b</p>");
  run(page + "--cookie-jar own --script \"document.cookie='mine=1;max-age=99'\"");
  const Outcome own =
      run(page + "b.html --cookie-jar own --script \"''+/mine/.test(document.cookie)\"");
  EXPECT_NE(own.output.find("/a: true"), std::string::npos) << own.output;
}

}  // namespace
