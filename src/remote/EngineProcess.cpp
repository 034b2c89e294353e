// SPDX-License-Identifier: MIT
#include "remote/EngineProcess.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "host/Diagnostics.h"

namespace LARKA {

namespace {

const int kSocketInEngine = 3;

/// Returns the directory of this library.
std::string libraryDirectory() {
  Dl_info library = {};
  static const int here = 0;
  if (!dladdr(&here, &library) || !library.dli_fname) return ".";
  const std::string file = library.dli_fname;
  const size_t slash = file.rfind('/');
  return slash == std::string::npos ? "." : file.substr(0, slash);
}

std::string program() {
  const char* named = getenv("LARKA_ENGINE");
  if (named && *named) return named;
  const std::string directory = libraryDirectory();
  for (const char* place : {LARKA_ENGINE_PLACE, "engine/larka-engine"}) {
    std::string file = directory + "/" + place;
    if (access(file.c_str(), X_OK) == 0) return file;
  }
  return directory + "/" + LARKA_ENGINE_PLACE;
}

/// Whether a process has ended, which it has not if it isn't a child any more.
bool isReaped(pid_t pid) { return waitpid(pid, nullptr, WNOHANG) != 0; }

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& each : texts) pointers.push_back(each.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// Starts a program, with the host's signals as they are without it, and closes its socket here.
/// Returns -1 if it can't be started.
pid_t spawn(std::vector<std::string> words, std::vector<std::string> variables, int socket) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, socket, kSocketInEngine);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none, all;
  sigemptyset(&none);
  sigfillset(&all);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &all);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  pid_t pid = -1;
  const int error = posix_spawn(&pid, words.front().c_str(), &actions, &attributes,
                                pointersTo(words).data(), pointersTo(variables).data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  close(socket);
  if (error == 0) return pid;
  fprintf(stderr, "cannot start %s: %s\n", words.front().c_str(), strerror(error));
  return -1;
}

}  // namespace

EngineProcess::~EngineProcess() {
  kill();
  for (const pid_t pid : m_killed) waitpid(pid, nullptr, 0);
}

Channel EngineProcess::start(const std::vector<std::string>& arguments) {
  kill();
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0) {
    diagnose("cannot start an engine process: %s\n", strerror(errno));
    return Channel();
  }
  std::vector<std::string> words = {program(), "--channel=" + std::to_string(kSocketInEngine),
                                    "--host=" + std::to_string(getpid())};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables;
  for (char** each = environ; each && *each; ++each) variables.emplace_back(*each);
  m_starting =
      std::async(std::launch::async, spawn, std::move(words), std::move(variables), ends[1]);
  return Channel(ends[0]);
}

void EngineProcess::finishStart() {
  if (m_starting.valid()) m_pid = m_starting.get();
}

void EngineProcess::kill() {
  finishStart();
  reap();
  if (m_pid < 0) return;
  ::kill(m_pid, SIGKILL);
  m_killed.push_back(std::exchange(m_pid, -1));
}

void EngineProcess::awaitEnd(int milliseconds) {
  finishStart();
  const int kStep = 2;
  for (; m_pid >= 0 && milliseconds > 0; milliseconds -= kStep) {
    if (isReaped(m_pid)) m_pid = -1;
    if (m_pid >= 0) usleep(kStep * 1000);
  }
  kill();
}

void EngineProcess::reap() {
  std::vector<pid_t> left;
  for (const pid_t pid : m_killed)
    if (!isReaped(pid)) left.push_back(pid);
  m_killed = left;
}

}  // namespace LARKA
