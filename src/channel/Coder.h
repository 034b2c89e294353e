// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QDataStream>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "larka/ILarkaBrowser.h"
#include "larka/extras.h"

namespace LARKA {

/// Names the objects that messages speak of, and finds them again. The engine process has the
/// objects; the host has what stands for them.
class Objects {
 public:
  virtual ~Objects() = default;

  virtual qint64 idOf(const LarkaHTMLControl& control) = 0;
  virtual qint64 idOf(const LarkaPluginWidget& plugin) = 0;
  virtual LarkaHTMLControl controlOf(qint64 id) = 0;
  virtual LarkaPluginWidget pluginOf(qint64 id) = 0;
};

/// The members of a record of the interface, in the order in which they are sent.
inline auto membersOf(Rectangle& r) { return std::tie(r.x, r.y, r.width, r.height); }
inline auto membersOf(LoadError& e) {
  return std::tie(e.kind, e.httpStatus, e.certificateErrors, e.address, e.text);
}
inline auto membersOf(FrameStatistics& s) {
  return std::tie(s.notices, s.paints, s.pixels, s.milliseconds);
}
inline auto membersOf(ScriptResult& r) {
  return std::tie(r.ok, r.json, r.message, r.line, r.stack);
}
inline auto membersOf(ListEntry& e) {
  return std::tie(e.text, e.group, e.enabled, e.selected, e.separator);
}
inline auto membersOf(ListRequest& r) { return std::tie(r.id, r.control, r.entries); }
inline auto membersOf(PluginPlace& p) { return std::tie(p.area, p.visible); }
inline auto membersOf(MediaReport& r) {
  return std::tie(r.status, r.time, r.duration, r.width, r.height);
}
inline auto membersOf(TextField& f) {
  return std::tie(f.kind, f.area, f.caret, f.text, f.selectionStart, f.selectionEnd,
                  f.maximumLength, f.readOnly);
}

/// Writes and reads the values of a message, each in a form that is the same on every processor.
/// What can't be read leaves the value as it is, and ok() is false from then on.
class Coder {
 public:
  /// To write.
  Coder(Objects& objects, QByteArray* bytes)
      : m_objects(objects), m_stream(bytes, QIODevice::WriteOnly) {
    m_stream.setVersion(QDataStream::Qt_5_15);
  }
  /// To read.
  Coder(Objects& objects, const QByteArray& bytes) : m_objects(objects), m_stream(bytes) {
    m_stream.setVersion(QDataStream::Qt_5_15);
  }

  Objects& objects() { return m_objects; }
  bool ok() const { return m_stream.status() == QDataStream::Ok; }

  /// Whether everything was read, and there was no more and no less.
  bool isUsedUp() const { return ok() && m_stream.atEnd(); }

  void put(const QByteArray& bytes) { m_stream << bytes; }
  void put(const char* text) {
    put(text ? QByteArray::fromRawData(text, static_cast<int>(qstrlen(text))) : QByteArray());
  }
  void put(const std::string& text) {
    put(QByteArray::fromRawData(text.data(), static_cast<int>(text.size())));
  }
  // An address only distinguishes one object of a page from another; the host never follows it.
  void put(void* address) { put(static_cast<qint64>(reinterpret_cast<quintptr>(address))); }
  void put(const LarkaHTMLControl& control) { put(m_objects.idOf(control)); }
  void put(const LarkaPluginWidget& plugin) { put(m_objects.idOf(plugin)); }
  // The caller of GetControls deletes them.
  void put(const std::vector<LarkaHTMLControl*>& controls) {
    put(static_cast<int>(controls.size()));
    for (LarkaHTMLControl* control : controls) {
      put(*control);
      delete control;
    }
  }
  template <typename A, typename B>
  void put(const std::pair<A, B>& both) {
    put(both.first);
    put(both.second);
  }
  template <typename T>
  void put(const std::vector<T>& values) {
    put(static_cast<int>(values.size()));
    for (const T& value : values) put(value);
  }
  template <typename T>
  void put(const T& value) {
    if constexpr (std::is_class_v<T>)
      std::apply([this](auto&... member) { (put(member), ...); }, membersOf(const_cast<T&>(value)));
    else if constexpr (std::is_same_v<T, bool> || std::is_floating_point_v<T>)
      m_stream << value;
    else if constexpr (sizeof(T) <= sizeof(qint32))
      m_stream << static_cast<qint32>(value);
    else
      m_stream << static_cast<qint64>(value);
  }

  void get(QByteArray& bytes) { m_stream >> bytes; }
  void get(std::string& text) {
    QByteArray bytes;
    get(bytes);
    text.assign(bytes.constData(), static_cast<size_t>(bytes.size()));
  }
  void get(void*& address) {
    qint64 value = 0;
    get(value);
    if (sizeof address < sizeof value) value ^= value >> 32;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): nobody follows it.
    address = reinterpret_cast<void*>(static_cast<quintptr>(value));
  }
  void get(LarkaHTMLControl& control) {
    qint64 id = 0;
    get(id);
    if (ok()) control = m_objects.controlOf(id);
  }
  void get(LarkaPluginWidget& plugin) {
    qint64 id = 0;
    get(id);
    if (ok()) plugin = m_objects.pluginOf(id);
  }
  void get(std::vector<LarkaHTMLControl*>& controls) {
    std::vector<LarkaHTMLControl> read;
    get(read);
    for (const LarkaHTMLControl& control : read) controls.push_back(new LarkaHTMLControl(control));
  }
  template <typename A, typename B>
  void get(std::pair<A, B>& both) {
    get(both.first);
    get(both.second);
  }
  // Whatever the count says, there are no more values than bytes.
  template <typename T>
  void get(std::vector<T>& values) {
    int count = 0;
    get(count);
    for (int i = 0; i < count; ++i) {
      T value{};
      get(value);
      if (!ok()) return;
      values.push_back(std::move(value));
    }
  }
  template <typename T>
  void get(T& value) {
    if constexpr (std::is_class_v<T>)
      std::apply([this](auto&... member) { (get(member), ...); }, membersOf(value));
    else if constexpr (std::is_same_v<T, bool> || std::is_floating_point_v<T>)
      m_stream >> value;
    else if constexpr (sizeof(T) <= sizeof(qint32))
      getNumber<qint32>(value);
    else
      getNumber<qint64>(value);
  }

 private:
  template <typename Number, typename T>
  void getNumber(T& value) {
    Number number = 0;
    m_stream >> number;
    if (ok()) value = static_cast<T>(number);
  }

  Objects& m_objects;
  QDataStream m_stream;
};

}  // namespace LARKA
