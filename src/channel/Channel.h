// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QtGlobal>
#include <deque>

struct msghdr;

namespace LARKA {

/// A message between the host and its engine process.
struct Message {
  /// What the receiver owes the sender. The numbers are sent.
  enum Kind : quint8 {
    Call = 0,     ///< an Answer with the same id; the sender waits for it
    Request = 1,  ///< an Answer with the same id; nobody waits for it
    Note = 2,     ///< nothing
    Answer = 3    ///< nothing
  };

  Kind kind = Note;
  quint16 operation = 0;  ///< its place in the list of operations
  quint32 id = 0;         ///< of the Call or Request
  quint32 within = 0;     ///< the Call that the sender is serving; 0 for none
  QByteArray content;     ///< the arguments or the result, as Coder writes them
};

/// One end of a socket pair, with whole messages in both directions. Nothing here waits, except
/// wait(). What the other side sends is checked: the end counts as closed after the first thing
/// that is no message.
class Channel {
 public:
  /// Takes over the end of a stream socket pair; -1 for a closed channel.
  explicit Channel(int socket = -1);
  ~Channel();
  Channel(Channel&& other) noexcept;
  Channel& operator=(Channel&& other) noexcept;

  bool isOpen() const { return m_socket >= 0; }
  int socket() const { return m_socket; }
  void close();

  /// Sends a message, as much of it as the other side's socket takes now; the rest goes with later
  /// calls. `file` goes with it, unless it is -1: a duplicate arrives.
  void send(const Message& message, int file = -1);

  /// How many bytes haven't been taken yet.
  int unsent() const { return m_out.size() - m_sent; }

  /// The longest content that a message can have.
  static const int kLongestContent;

  /// Reads what has come, and sends what waits.
  void exchange();

  /// Waits until something comes, or can be sent, and exchanges it. Returns false if nothing did
  /// for that long.
  bool wait(int milliseconds);

  bool hasMessage() const { return !m_in.empty(); }
  Message take();

  /// Puts a message back that was taken, in front of all others.
  void putBack(Message message) { m_in.push_front(std::move(message)); }

  /// Returns a file that came, the oldest first, for the caller to close; -1 without one.
  int takeFile();

 private:
  void flush();
  void receive();
  void parse();
  void keepFiles(::msghdr& header);

  int m_socket;
  QByteArray m_out;
  int m_sent = 0;  // bytes of m_out
  QByteArray m_partial;
  std::deque<Message> m_in;
  std::deque<int> m_files;
};

}  // namespace LARKA
