// HttpServer.h: a web server on a free port of the loopback interface, inside the test process.
#pragma once

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace test {

/// Answers each path as it was told to beforehand, one request a connection, and keeps what came
/// in.
class HttpServer {
 public:
  struct Request {
    std::string method, path, query, headers, body;
  };

  explicit HttpServer(int port = 0) : m_socket(socket(AF_INET, SOCK_STREAM, 0)) {
    const int yes = 1;
    setsockopt(m_socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    if (bind(m_socket, reinterpret_cast<sockaddr*>(&address), size) || listen(m_socket, 64) ||
        getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size))
      abort();
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
  }
  ~HttpServer() { stop(); }
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// Refuses every connection from now on.
  void stop() {
    if (!m_thread.joinable()) return;
    shutdown(m_socket, SHUT_RDWR);
    m_thread.join();
    for (int client : m_unanswered) close(client);
    close(m_socket);
  }

  /// What to answer `path` with, to the byte; nothing at all, and never, for the empty text. After
  /// `pauseAfter` bytes, if any, it rests for a while.
  void answer(const std::string& path, const std::string& response, size_t pauseAfter = 0) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_answers[path] = {response, pauseAfter};
  }
  void page(const std::string& path, const std::string& body) {
    answer(path,
           "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nConnection: close\r\nContent-Length: " +
               std::to_string(body.size()) + "\r\n\r\n" + body);
  }

  int port() const { return m_port; }
  std::string url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
  }

  /// The requests for `path` so far.
  std::vector<Request> requests(const std::string& path) {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<Request> found;
    for (const Request& request : m_requests)
      if (request.path == path) found.push_back(request);
    return found;
  }

 private:
  void serve() {
    for (int client; (client = accept(m_socket, nullptr, nullptr)) >= 0; close(client)) {
      std::string text;
      size_t end = std::string::npos, length = 0;
      char buffer[4096];
      while (end == std::string::npos || text.size() < end + length) {
        const ssize_t got = recv(client, buffer, sizeof(buffer), 0);
        if (got <= 0) break;
        text.append(buffer, static_cast<size_t>(got));
        if (end != std::string::npos || (end = text.find("\r\n\r\n")) == std::string::npos)
          continue;
        end += 4;
        const size_t header = text.find("Content-Length: ");
        if (header < end) length = std::stoul(text.substr(header + 16));
      }
      if (end == std::string::npos) continue;
      const Answer given = take(text, end);
      if (given.response.empty()) {
        m_unanswered.push_back(dup(client));
        continue;
      }
      send(client, given.response.data(), given.pauseAfter, MSG_NOSIGNAL);
      if (given.pauseAfter > 0) usleep(kPauseMicroseconds);
      send(client, given.response.data() + given.pauseAfter,
           given.response.size() - given.pauseAfter, MSG_NOSIGNAL);
    }
  }

  struct Answer {
    std::string response;
    size_t pauseAfter = 0;
  };

  Answer take(const std::string& text, size_t end) {
    const size_t space = text.find(' '), stop = text.find(' ', space + 1);
    const std::string target = text.substr(space + 1, stop - space - 1);
    const size_t mark = target.find('?');
    std::lock_guard<std::mutex> lock(m_mutex);
    m_requests.push_back({text.substr(0, space), target.substr(0, mark),
                          mark == std::string::npos ? "" : target.substr(mark + 1),
                          text.substr(0, end), text.substr(end)});
    const auto found = m_answers.find(m_requests.back().path);
    return found != m_answers.end()
               ? found->second
               : Answer{"HTTP/1.1 404 Not Found\r\nConnection: close\r\nContent-Length: 0\r\n\r\n"};
  }

  static constexpr int kPauseMicroseconds = 400000;

  int m_socket;
  int m_port = 0;
  std::thread m_thread;
  std::vector<int> m_unanswered;  // by the thread; connections left open
  std::mutex m_mutex;
  std::map<std::string, Answer> m_answers;
  std::vector<Request> m_requests;
};

}  // namespace test
