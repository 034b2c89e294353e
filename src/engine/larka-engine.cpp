// SPDX-License-Identifier: MIT
// larka-engine: the process in which QtWebKit runs for a host that asked for one. The library
// starts it.
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QFile>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <thread>

#include "engine/EngineServer.h"
#include "engine/LockDown.h"
#include "larka/applicationSupportPath.h"

namespace {

const unsigned kSecondsToEnd = 3;

/// Takes the arguments "--name=value" out of a program's arguments.
std::set<std::string> takeValues(const std::string& name, int* count, char** arguments) {
  std::set<std::string> values;
  int left = 1;
  for (int i = 1; i < *count; ++i) {
    if (strncmp(arguments[i], name.c_str(), name.size()) == 0)
      values.insert(arguments[i] + name.size());
    else
      arguments[left++] = arguments[i];
  }
  *count = left;
  arguments[left] = nullptr;
  return values;
}

/// Takes the argument "--name=number" out of a program's arguments. Returns -1 without one.
long takeNumber(const char* name, int* count, char** arguments) {
  const std::set<std::string> values = takeValues(name, count, arguments);
  return values.empty() ? -1 : strtol(values.begin()->c_str(), nullptr, 10);
}

/// Ends this process with its host, however that ends. The main thread notices the end of the
/// channel, too, and saves cookies; a script that doesn't let it gets no more than this time.
void endWithHost(int channel) {
  std::thread([channel] {
    pollfd end = {channel, POLLRDHUP, 0};
    while (poll(&end, 1, -1) < 1) {
    }
    sleep(kSecondsToEnd);
    _exit(1);
  }).detach();
}

bool isSocket(long file) {
  int type = 0;
  socklen_t size = sizeof type;
  return getsockopt(static_cast<int>(file), SOL_SOCKET, SO_TYPE, &type, &size) == 0 &&
         type == SOCK_STREAM;
}

}  // namespace

int main(int count, char** arguments) {
  const long channel = takeNumber("--channel=", &count, arguments);
  const long host = takeNumber("--host=", &count, arguments);
  std::set<std::string> writable = takeValues("--writable=", &count, arguments);
  if (!isSocket(channel)) {
    fprintf(stderr,
            "larka-engine: the library starts this program, for hosts that pass "
            "--engine-process\n");
    return 2;
  }
  if (getppid() != host) return 0;
  fcntl(static_cast<int>(channel), F_SETFD, FD_CLOEXEC);
  close_range(static_cast<unsigned>(channel) + 1, ~0u, 0);

  // GStreamer would run a program to look for its plug-ins.
  setenv("GST_REGISTRY_FORK", "no", 0);
  LARKA::refuseSystemCalls();
  if (!writable.empty()) {
    QCoreApplication::setApplicationName(QStringLiteral("LarkaBrowser"));
    const QByteArray own = QFile::encodeName(LARKA::applicationSupportPath(QString()));
    writable.insert(own.toStdString());
    LARKA::limitWriting(writable);
  }

  endWithHost(static_cast<int>(channel));

  static char keepCookies[] = "--keep-cookies";  // in the place of one that was taken out
  arguments[count++] = keepCookies;
  arguments[count] = nullptr;
  LARKA::BrowserManager manager;
  manager.Initialize(count, arguments);
  LARKA::EngineServer server(LARKA::Channel(static_cast<int>(channel)), &manager,
                             !writable.empty());
  server.run();
  return 0;
}
