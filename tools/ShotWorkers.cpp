#include "ShotWorkers.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// A process that renders, and the socket to it: page numbers go there, outcomes come back.
struct Worker {
  pid_t process = -1;
  int socket = -1;
  size_t page = 0;  // the one it renders
  Clock::time_point due;
  bool isOverdue = false;
};

int millisecondsUntil(Clock::time_point time) {
  const auto left = time - Clock::now();
  return left <= left.zero() ? 0 : static_cast<int>(left / std::chrono::milliseconds(1)) + 1;
}

bool sendAll(int socket, const void* data, size_t size) {
  const char* next = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t sent = send(socket, next, size, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    next += sent;
    size -= static_cast<size_t>(sent);
  }
  return true;
}

bool receiveAll(int socket, void* data, size_t size) {
  char* next = static_cast<char*>(data);
  while (size > 0) {
    const ssize_t received = recv(socket, next, size, 0);
    if (received < 0 && errno == EINTR) continue;
    if (received <= 0) return false;
    next += received;
    size -= static_cast<size_t>(received);
  }
  return true;
}

bool sendText(int socket, const std::string& text) {
  const size_t size = text.size();
  return sendAll(socket, &size, sizeof(size)) && sendAll(socket, text.data(), size);
}

bool receiveText(int socket, std::string* text) {
  size_t size = 0;
  if (!receiveAll(socket, &size, sizeof(size))) return false;
  text->resize(size);
  return receiveAll(socket, &(*text)[0], size);
}

bool sendOutcome(int socket, const Outcome& outcome) {
  return sendText(socket, outcome.error) && sendText(socket, outcome.doubt) &&
         sendText(socket, outcome.scriptValue) && sendText(socket, outcome.scriptError) &&
         sendAll(socket, &outcome.seconds, sizeof(outcome.seconds));
}

bool receiveOutcome(int socket, Outcome* outcome) {
  return receiveText(socket, &outcome->error) && receiveText(socket, &outcome->doubt) &&
         receiveText(socket, &outcome->scriptValue) && receiveText(socket, &outcome->scriptError) &&
         receiveAll(socket, &outcome->seconds, sizeof(outcome->seconds));
}

/// What the new process does until the socket is closed.
[[noreturn]] void work(int socket, const std::function<RenderPage()>& makeRenderer) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // a page may keep it from looking at the socket
  {
    const RenderPage render = makeRenderer();
    size_t page = 0;
    while (receiveAll(socket, &page, sizeof(page)) && sendOutcome(socket, render(page))) continue;
  }
  exit(0);
}

class Workers {
 public:
  Workers(std::chrono::seconds limit, const std::function<RenderPage()>& makeRenderer)
      : m_limit(limit), m_makeRenderer(makeRenderer) {}
  ~Workers() {
    while (!m_workers.empty()) end(&m_workers.back());
    for (const pid_t process : m_ending)
      while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) continue;
  }
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  size_t size() const { return m_workers.size(); }

  /// Starts a worker with a page. Returns false if the system allows no more processes.
  bool start(size_t page) {
    int sockets[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, sockets) != 0) return false;
    fflush(stdout);
    const pid_t process = fork();
    if (process == 0) {
      for (const Worker& other : m_workers) close(other.socket);
      close(sockets[0]);
      work(sockets[1], m_makeRenderer);
    }
    close(sockets[1]);
    if (process < 0) {
      close(sockets[0]);
      return false;
    }
    m_workers.push_back({process, sockets[0], page, Clock::now(), false});
    give(&m_workers.back(), page);
    return true;
  }

  /// Has a worker render a page.
  void give(Worker* worker, size_t page) const {
    worker->page = page;
    worker->due = Clock::now() + m_limit;
    sendAll(worker->socket, &page, sizeof(page));
  }

  /// Waits until a worker is done with its page, has died or is overdue.
  Worker* wait() {
    std::vector<pollfd> sockets;
    for (const Worker& worker : m_workers) sockets.push_back({worker.socket, POLLIN, 0});
    const auto next = std::min_element(m_workers.begin(), m_workers.end(),
                                       [](auto& a, auto& b) { return a.due < b.due; });
    if (poll(sockets.data(), sockets.size(), millisecondsUntil(next->due)) < 0) return nullptr;
    for (size_t i = 0; i < sockets.size(); ++i)
      if (sockets[i].revents) return &m_workers[i];
    next->isOverdue = Clock::now() >= next->due;
    return next->isOverdue ? &*next : nullptr;
  }

  /// Lets a worker end. The destructor waits for that.
  void end(Worker* worker) {
    close(worker->socket);
    m_ending.push_back(worker->process);
    m_workers.erase(m_workers.begin() + (worker - m_workers.data()));
  }

 private:
  std::chrono::seconds m_limit;
  const std::function<RenderPage()>& m_makeRenderer;
  std::vector<Worker> m_workers;
  std::vector<pid_t> m_ending;
};

}  // namespace

void renderInWorkers(size_t count, size_t workers, std::chrono::seconds limit,
                     const std::function<RenderPage()>& makeRenderer,
                     const std::function<void(size_t index, const Outcome&)>& done) {
  Workers running(limit, makeRenderer);
  size_t next = 0;
  while (next < count || running.size() > 0) {
    while (next < count && running.size() < workers && running.start(next)) ++next;
    if (running.size() == 0) {
      Outcome outcome;
      outcome.error = std::string("can't start a process: ") + strerror(errno);
      done(next++, outcome);
      continue;
    }
    Worker* worker = running.wait();
    if (!worker) continue;
    const size_t page = worker->page;
    Outcome outcome;
    const bool lives = !worker->isOverdue && receiveOutcome(worker->socket, &outcome);
    if (!lives) {
      outcome = Outcome();
      outcome.error = "QtWebKit crashed";
      if (worker->isOverdue)
        outcome.error =
            "ended after " + std::to_string(limit.count()) + " s: its script never ends";
      if (worker->isOverdue) kill(worker->process, SIGKILL);
      running.end(worker);
    } else if (next < count) {
      running.give(worker, next++);
      worker = nullptr;
    }
    done(page, outcome);
    if (lives && worker) running.end(worker);
  }
}
