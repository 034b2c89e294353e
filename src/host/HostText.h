// HostText.h: text between the host (8-bit) and the toolkit (UTF-16).
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <string>

namespace LARKA {

/// Text from the host, read as Latin-1. Null stays a null string.
inline QString fromHost(const char* text) { return QString::fromLatin1(text); }

/// Text that a listener returned, read as UTF-8 over its full length.
inline QString fromListener(const std::string& text) {
  return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

/// A result for the host, as UTF-8.
inline std::string toHost(const QString& text) {
  const QByteArray utf8 = text.toUtf8();
  return std::string(utf8.constData(), static_cast<size_t>(utf8.size()));
}

/// An address for the host, in its readable form.
inline std::string toHost(const QUrl& url) { return toHost(url.toString()); }

}  // namespace LARKA
