// Servers.h: programs that serve on the loopback interface while a test runs.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>

#include <cerrno>

#include "Host.h"
#include "HttpServer.h"

namespace test {

/// A port that nobody listens on.
inline int freePort() {
  HttpServer server;
  return server.port();
}

/// A program that serves on a port from its construction to its destruction.
class Server {
 public:
  Server(const std::vector<std::string>& command, int port) : m_port(port) {
    std::vector<char*> arguments;
    for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    m_process = fork();
    if (m_process == 0) {
      const int nowhere = open("/dev/null", O_RDWR);
      for (int stream : {0, 1, 2}) dup2(nowhere, stream);
      execvp(arguments[0], arguments.data());
      _exit(127);
    }
    for (int tries = 0; tries < 500 && !answers(); ++tries) usleep(10000);
  }
  ~Server() {
    kill(m_process, SIGTERM);
    waitpid(m_process, nullptr, 0);
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  /// Whether somebody listens on the port.
  bool answers() const {
    const int probe = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(m_port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool connected =
        connect(probe, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
    close(probe);
    return connected;
  }
  int port() const { return m_port; }
  std::string url(const std::string& path, const std::string& scheme = "http") const {
    return scheme + "://127.0.0.1:" + std::to_string(m_port) + path;
  }

 private:
  int m_port;
  pid_t m_process;
};

/// nginx with one server block, its files in `directory`.
inline std::unique_ptr<Server> startNginx(const TemporaryDirectory& directory,
                                          const std::string& listen, const std::string& block) {
  const int port = freePort();
  const std::string path = directory.path();
  directory.write("nginx.conf",
                  "daemon off; master_process off; pid " + path + "/nginx.pid; error_log " + path +
                      "/error.log; events {} http { access_log " + path +
                      "/access.log; client_body_temp_path " + path + "/t1; proxy_temp_path " +
                      path + "/t2; fastcgi_temp_path " + path + "/t3; uwsgi_temp_path " + path +
                      "/t4; scgi_temp_path " + path +
                      "/t5; server { listen 127.0.0.1:" + std::to_string(port) + " " + listen +
                      "; root " + path + "; default_type text/html; " + block + " } }");
  return std::make_unique<Server>(
      std::vector<std::string>{"/usr/sbin/nginx", "-e", path + "/error.log", "-c",
                               path + "/nginx.conf"},
      port);
}

}  // namespace test
