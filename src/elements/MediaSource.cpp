// SPDX-License-Identifier: MIT
#include "elements/MediaSource.h"

#include <QWebElement>
#include <QWebFrame>
#include <algorithm>
#include <iterator>

namespace LARKA {

namespace {

// Beside all that begins with "video/" or "audio/".
const char* const kOtherTypes[] = {"application/dash+xml",
                                   "application/ogg",
                                   "application/sdp",
                                   "application/vnd.apple.mpegurl",
                                   "application/vnd.ms-sstr+xml",
                                   "application/x-mpegurl",
                                   "application/vnd.rn-realmedia"};

QUrl absolute(const QWebElement& element, const QString& address) {
  const QWebFrame* frame = element.webFrame();
  const QUrl url(address.trimmed());
  return frame && !url.isEmpty() ? frame->baseUrl().resolved(url) : url;
}

}  // namespace

bool isMedia(const QWebElement& element) {
  const QString name = element.localName();
  if (element.namespaceUri() != QLatin1String("http://www.w3.org/1999/xhtml")) return false;
  return name == QLatin1String("video") || name == QLatin1String("audio");
}

bool playsType(const QStringList& types, const QString& type) {
  const QString name = type.section(QLatin1Char(';'), 0, 0).trimmed().toLower();
  if (!types.isEmpty()) return types.contains(name, Qt::CaseInsensitive);
  const auto isName = [&name](const char* other) { return name == QLatin1String(other); };
  return name.startsWith(QLatin1String("video/")) || name.startsWith(QLatin1String("audio/")) ||
         std::any_of(std::begin(kOtherTypes), std::end(kOtherTypes), isName);
}

MediaSource mediaSourceOf(const QWebElement& element, const QStringList& types) {
  const QString src = QStringLiteral("src"), type = QStringLiteral("type");
  if (element.hasAttribute(src))
    return {absolute(element, element.attribute(src)), element.attribute(type)};
  for (QWebElement child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
    if (child.localName() != QLatin1String("source") || !child.hasAttribute(src)) continue;
    const QString named = child.attribute(type);
    if (named.isEmpty() || playsType(types, named))
      return {absolute(child, child.attribute(src)), named};
  }
  return {};
}

}  // namespace LARKA
