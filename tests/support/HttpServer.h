// HttpServer.h: a web server on a free port of the loopback interface, in a thread of its own.
#pragma once

#include <QNetworkProxy>
#include <QSemaphore>
#include <QSslKey>
#include <QSslSocket>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <atomic>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace test {

/// Answers each path as set with answer() or page(), one request a connection, and keeps the
/// requests.
class HttpServer {
 public:
  struct Request {
    std::string method, path, headers, body;
  };

  HttpServer() : m_thread([this] { serve(); }) { m_listens.acquire(); }
  ~HttpServer() {
    m_stopped = true;
    m_thread.join();
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
  struct Answer {
    std::string response = "HTTP/1.1 404 No\r\nConnection: close\r\nContent-Length: 0\r\n\r\n";
    size_t pauseAfter = 0;
  };

  void serve() {
    QTcpServer listener;
    listener.setProxy(QNetworkProxy::NoProxy);
    if (!listener.listen(QHostAddress::LocalHost)) abort();
    m_port = listener.serverPort();
    m_listens.release();
    while (!m_stopped)
      if (listener.hasPendingConnections() || listener.waitForNewConnection(10))
        reply(listener.nextPendingConnection());
  }

  void reply(QTcpSocket* client) {
    QByteArray text;
    int end = 3, length = 0;
    while (end == 3 || text.size() < end + length) {
      if (!client->bytesAvailable() && !client->waitForReadyRead(5000)) return;
      text += client->readAll();
      end = text.indexOf("\r\n\r\n") + 4;
      const int header = text.indexOf("Content-Length: ");
      if (header >= 0 && header < end) length = atoi(text.data() + header + 16);
    }
    const QList<QByteArray> line = text.left(end).split(' ');
    const std::string path = line[1].split('?')[0].toStdString();
    std::unique_lock<std::mutex> lock(m_mutex);
    m_requests.push_back(
        {line[0].toStdString(), path, text.left(end).toStdString(), text.mid(end).toStdString()});
    const Answer answer = m_answers[path];
    lock.unlock();
    if (answer.response.empty()) return;
    client->write(answer.response.data(), static_cast<qint64>(answer.pauseAfter));
    client->flush();
    if (answer.pauseAfter > 0) QThread::msleep(400);
    client->write(answer.response.substr(answer.pauseAfter).c_str());
    client->disconnectFromHost();
    if (client->state() != QAbstractSocket::UnconnectedState) client->waitForDisconnected(2000);
  }

  QSemaphore m_listens;
  std::atomic<bool> m_stopped{false};
  int m_port = 0;
  std::mutex m_mutex;
  std::map<std::string, Answer> m_answers;
  std::vector<Request> m_requests;
  std::thread m_thread;
};

/// Answers every request through TLS, in a thread of its own. Its certificate, of a file in
/// `directory`, is self-signed, has expired and is for another host.
class SecureServer {
 public:
  explicit SecureServer(const std::string& directory, int port = 0)
      : m_directory(directory), m_port(port) {
    changeCertificate();
    m_thread = std::thread([this] { serve(); });
    m_listens.acquire();
  }
  ~SecureServer() {
    m_stopped = true;
    m_thread.join();
  }

  void changeCertificate() {
    const std::string make =
        "cd " + m_directory +
        " && openssl req -x509 -newkey rsa:2048 -nodes -keyout key -out new -subj /CN=x "
        "-addext subjectAltName=DNS:other.example 2>err && "
        "openssl x509 -in new -signkey key -days -1 2>err | cat - key >both.pem";
    if (system(make.c_str()) != 0) abort();
  }
  std::string url() const { return "https://127.0.0.1:" + std::to_string(m_port) + "/page.html"; }

 private:
  struct Listener : QTcpServer {
    QString certificate;
    void incomingConnection(qintptr descriptor) override {
      QSslSocket socket;
      socket.setSocketDescriptor(descriptor);
      socket.setLocalCertificate(certificate);
      socket.setPrivateKey(certificate);
      socket.startServerEncryption();
      if (!socket.waitForEncrypted()) return;
      if (socket.bytesAvailable() == 0 && !socket.waitForReadyRead()) return;
      socket.write("HTTP/1.0 200 OK\r\nContent-Type: text/html\r\n\r\n<title>Secure</title>");
      socket.disconnectFromHost();
      if (socket.state() != QAbstractSocket::UnconnectedState) socket.waitForDisconnected();
    }
  };

  void serve() {
    Listener listener;
    listener.certificate = QString::fromStdString(m_directory + "/both.pem");
    listener.setProxy(QNetworkProxy::NoProxy);
    if (!listener.listen(QHostAddress::LocalHost, static_cast<quint16>(m_port))) abort();
    m_port = listener.serverPort();
    m_listens.release();
    while (!m_stopped) listener.waitForNewConnection(50);
  }

  std::string m_directory;
  std::atomic<int> m_port;
  QSemaphore m_listens;
  std::atomic<bool> m_stopped{false};
  std::thread m_thread;
};

/// A port that nobody listens on.
inline int freePort() { return HttpServer().port(); }

}  // namespace test
