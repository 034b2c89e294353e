// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QRect>
#include <QString>
#include <QUrl>
#include <string>

#include "larka/extras.h"

namespace LARKA {

/// Converts text from the host, which is Latin-1. Null becomes a null string.
inline QString fromHost(const char* text) { return QString::fromLatin1(text); }

/// Converts text that a listener returned, which is UTF-8 and may contain NUL.
inline QString fromListener(const std::string& text) {
  return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

/// Converts a result for the host to UTF-8.
inline std::string toHost(const QString& text) {
  const QByteArray utf8 = text.toUtf8();
  return std::string(utf8.constData(), static_cast<size_t>(utf8.size()));
}

/// Converts a URL for the host to its readable form.
inline std::string toHost(const QUrl& url) { return toHost(url.toString()); }

inline Rectangle toHost(const QRect& rect) {
  return {rect.x(), rect.y(), rect.width(), rect.height()};
}

}  // namespace LARKA
