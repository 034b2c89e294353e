// SPDX-License-Identifier: MIT
#include "channel/Channel.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QtEndian>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace LARKA {

namespace {

// A message begins with its length without this number, its version, its kind, its operation, its
// id and the call that it is within, each in network byte order.
const quint8 kVersion = 1;
const int kHeader = 16;
const quint32 kLongest = 64 << 20;
const size_t kMostFiles = 8;
const size_t kReadAtOnce = 1 << 18;
const int kMostReads = 16;
const int kSendAtOnce = 1 << 22;

QByteArray packed(const Message& message) {
  QByteArray bytes(kHeader, Qt::Uninitialized);
  char* at = bytes.data();
  qToBigEndian<quint32>(static_cast<quint32>(kHeader - 4 + message.content.size()), at);
  at[4] = kVersion;
  at[5] = static_cast<char>(message.kind);
  qToBigEndian<quint16>(message.operation, at + 6);
  qToBigEndian<quint32>(message.id, at + 8);
  qToBigEndian<quint32>(message.within, at + 12);
  return bytes + message.content;
}

/// Reads the message that `bytes` begins with. Returns its length, 0 if not all of it is there, -1
/// if it is none.
int unpack(const char* bytes, int size, Message* message) {
  if (size < kHeader) return 0;
  const quint32 length = qFromBigEndian<quint32>(bytes);
  if (length < kHeader - 4 || length > kLongest || bytes[4] != kVersion ||
      static_cast<quint8>(bytes[5]) > Message::Answer)
    return -1;
  if (static_cast<quint32>(size) < length + 4) return 0;
  message->kind = static_cast<Message::Kind>(bytes[5]);
  message->operation = qFromBigEndian<quint16>(bytes + 6);
  message->id = qFromBigEndian<quint32>(bytes + 8);
  message->within = qFromBigEndian<quint32>(bytes + 12);
  message->content = QByteArray(bytes + kHeader, static_cast<int>(length) + 4 - kHeader);
  return static_cast<int>(length) + 4;
}

}  // namespace

const int Channel::kLongestContent = static_cast<int>(kLongest) - kHeader;

Channel::Channel(int socket) : m_socket(socket) {}

Channel::~Channel() { close(); }

Channel::Channel(Channel&& other) noexcept
    : m_socket(std::exchange(other.m_socket, -1)),
      m_out(std::move(other.m_out)),
      m_sent(std::exchange(other.m_sent, 0)),
      m_partial(std::move(other.m_partial)),
      m_in(std::move(other.m_in)),
      m_files(std::exchange(other.m_files, {})) {}

Channel& Channel::operator=(Channel&& other) noexcept {
  close();
  m_socket = std::exchange(other.m_socket, -1);
  m_out = std::move(other.m_out);
  m_sent = std::exchange(other.m_sent, 0);
  m_partial = std::move(other.m_partial);
  m_in = std::move(other.m_in);
  m_files = std::exchange(other.m_files, {});
  return *this;
}

// What has come stays to be read.
void Channel::close() {
  if (m_socket >= 0) ::close(std::exchange(m_socket, -1));
  for (int file : std::exchange(m_files, {})) ::close(file);
  m_out.clear();
  m_sent = 0;
}

// A file goes with the first byte of its message: the receiver gets the two together.
void Channel::send(const Message& message, int file) {
  if (!isOpen()) return;
  QByteArray bytes = packed(message);
  if (file >= 0) {
    while (isOpen() && unsent() > 0) wait(-1);
    if (!isOpen()) return;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    iovec part = {bytes.data(), 1};
    msghdr header = {};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    cmsghdr* rights = CMSG_FIRSTHDR(&header);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(sizeof(int));
    memcpy(CMSG_DATA(rights), &file, sizeof file);
    while (sendmsg(m_socket, &header, MSG_NOSIGNAL) < 0) {
      if (errno != EAGAIN && errno != EINTR) return close();
      pollfd ready = {m_socket, POLLOUT, 0};
      poll(&ready, 1, -1);
    }
    bytes.remove(0, 1);
  }
  m_out += bytes;
  flush();
}

// What was sent is removed now and then: moving what is left each time could take long.
void Channel::flush() {
  const int end = m_sent + std::min(unsent(), kSendAtOnce);
  while (isOpen() && m_sent < end) {
    const ssize_t sent = ::send(m_socket, m_out.constData() + m_sent,
                                static_cast<size_t>(end - m_sent), MSG_NOSIGNAL);
    if (sent > 0)
      m_sent += static_cast<int>(sent);
    else if (errno == EAGAIN)
      break;
    else if (errno != EINTR)
      return receive(), close();
  }
  if (m_sent < m_out.size() / 2) return;
  m_out.remove(0, m_sent);
  m_sent = 0;
}

void Channel::keepFiles(msghdr& header) {
  for (cmsghdr* each = CMSG_FIRSTHDR(&header); each; each = CMSG_NXTHDR(&header, each)) {
    if (each->cmsg_level != SOL_SOCKET || each->cmsg_type != SCM_RIGHTS) continue;
    const size_t count = (each->cmsg_len - CMSG_LEN(0)) / sizeof(int);
    for (size_t i = 0; i < count; ++i) {
      int file = -1;
      memcpy(&file, CMSG_DATA(each) + i * sizeof file, sizeof file);
      if (m_files.size() < kMostFiles)
        m_files.push_back(file);
      else
        ::close(file);
    }
  }
}

void Channel::receive() {
  static char bytes[kReadAtOnce];
  // One side may send for ever; what is left is read the next time.
  for (int reads = 0; isOpen() && reads < kMostReads; ++reads) {
    alignas(cmsghdr) char control[CMSG_SPACE(kMostFiles * sizeof(int))];
    iovec part = {bytes, sizeof bytes};
    msghdr header = {};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    const ssize_t size = recvmsg(m_socket, &header, MSG_CMSG_CLOEXEC | MSG_DONTWAIT);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0 && errno == EAGAIN) break;
    if (size > 0) {
      keepFiles(header);
      m_partial.append(bytes, static_cast<int>(size));
    }
    if (size <= 0) {
      parse();
      return close();
    }
    if (size < static_cast<ssize_t>(sizeof bytes)) break;
  }
  parse();
}

void Channel::parse() {
  int at = 0;
  for (;;) {
    Message message;
    const int length = unpack(m_partial.constData() + at, m_partial.size() - at, &message);
    if (length < 0) return close();
    if (length == 0) break;
    m_in.push_back(std::move(message));
    at += length;
  }
  m_partial.remove(0, at);
}

void Channel::exchange() {
  flush();
  receive();
}

bool Channel::wait(int milliseconds) {
  if (!isOpen()) return false;
  const short both = POLLIN | POLLOUT;
  pollfd ready = {m_socket, unsent() == 0 ? short(POLLIN) : both, 0};
  if (poll(&ready, 1, milliseconds) <= 0) return false;
  exchange();
  return true;
}

Message Channel::take() {
  Message first = std::move(m_in.front());
  m_in.pop_front();
  return first;
}

int Channel::takeFile() {
  if (m_files.empty()) return -1;
  const int file = m_files.front();
  m_files.pop_front();
  return file;
}

}  // namespace LARKA
