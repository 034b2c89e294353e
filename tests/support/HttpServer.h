// HttpServer.h: a web server on a free port of the loopback interface, in a thread of its own.
#pragma once

#include <QNetworkProxy>
#include <QSemaphore>
#include <QSslKey>
#include <QSslSocket>
#include <QTcpServer>
#include <QThread>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace test {

/// Answers each path as it was told to beforehand, one request a connection, and keeps what came
/// in. With a file of a certificate and its key, through TLS.
class HttpServer {
 public:
  struct Request {
    std::string method, path, query, headers, body;
  };

  explicit HttpServer(int port = 0, const std::string& certificate = "") {
    m_thread.reset(QThread::create([this, port, certificate] { serve(port, certificate); }));
    m_thread->start();
    m_listens.acquire();
  }
  ~HttpServer() { stop(); }

  /// Refuses every connection from now on.
  void stop() {
    m_stopped = true;
    m_thread->wait();
  }

  /// What to answer `path` with, to the byte; nothing at all, and never, for the empty text. After
  /// `pauseAfter` bytes, if any, it rests for a while.
  void answer(const std::string& path, const std::string& response, size_t pauseAfter = 0) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_answers[path] = {response, pauseAfter};
  }
  void page(const std::string& path, const std::string& body, const std::string& headers = "") {
    const bool typed = headers.find("Content-Type") != std::string::npos;
    answer(path, "HTTP/1.1 200 OK\r\nConnection: close\r\n" + headers +
                     (typed ? "" : "Content-Type: text/html\r\n") +
                     "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
  }

  int port() const { return m_port; }
  std::string url(const std::string& path, const std::string& scheme = "http") const {
    return scheme + "://127.0.0.1:" + std::to_string(m_port) + path;
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
  struct Answer {
    std::string response;
    size_t pauseAfter = 0;
  };
  struct Listener : QTcpServer {
    std::string certificate;
    void incomingConnection(qintptr descriptor) override {
      auto* socket = new QSslSocket(this);
      socket->setSocketDescriptor(descriptor);
      if (!certificate.empty()) {
        socket->setLocalCertificate(QString::fromStdString(certificate));
        socket->setPrivateKey(QString::fromStdString(certificate));
        socket->startServerEncryption();
        socket->waitForEncrypted();
      }
      addPendingConnection(socket);
    }
  };

  void serve(int port, const std::string& certificate) {
    Listener listener;
    listener.certificate = certificate;
    listener.setProxy(QNetworkProxy::NoProxy);
    if (!listener.listen(QHostAddress::LocalHost, static_cast<quint16>(port))) abort();
    m_port = listener.serverPort();
    m_listens.release();
    while (!m_stopped)
      if (listener.hasPendingConnections() || listener.waitForNewConnection(10))
        reply(listener.nextPendingConnection());
  }

  void reply(QTcpSocket* client) {
    std::string text;
    size_t end = 0, length = 0;
    while (end == 0 || text.size() < end + length) {
      if (!client->bytesAvailable() && !client->waitForReadyRead(5000)) return;
      text += client->readAll().toStdString();
      if (text.find("\r\n\r\n") != std::string::npos) end = text.find("\r\n\r\n") + 4;
      const size_t header = text.find("Content-Length: ");
      if (header < end) length = std::stoul(text.substr(header + 16));
    }
    const Answer answer = take(text, end);
    if (answer.response.empty()) return;
    client->write(answer.response.data(), static_cast<qint64>(answer.pauseAfter));
    client->flush();
    if (answer.pauseAfter > 0) QThread::msleep(400);
    client->write(answer.response.substr(answer.pauseAfter).c_str());
    client->disconnectFromHost();
    if (client->state() != QAbstractSocket::UnconnectedState) client->waitForDisconnected(2000);
  }

  Answer take(const std::string& text, size_t end) {
    const size_t space = text.find(' '), stop = text.find(' ', space + 1);
    const std::string target = text.substr(space + 1, stop - space - 1);
    const std::string path = target.substr(0, target.find('?'));
    std::lock_guard<std::mutex> lock(m_mutex);
    m_requests.push_back({text.substr(0, space), path,
                          path == target ? "" : target.substr(path.size() + 1), text.substr(0, end),
                          text.substr(end)});
    const auto found = m_answers.find(path);
    if (found != m_answers.end()) return found->second;
    return {"HTTP/1.1 404 Not Found\r\nConnection: close\r\nContent-Length: 0\r\n\r\n"};
  }

  std::unique_ptr<QThread> m_thread;
  QSemaphore m_listens;
  std::atomic<bool> m_stopped{false};
  int m_port = 0;
  std::mutex m_mutex;
  std::map<std::string, Answer> m_answers;
  std::vector<Request> m_requests;
};

/// A port that nobody listens on.
inline int freePort() { return HttpServer().port(); }

}  // namespace test
