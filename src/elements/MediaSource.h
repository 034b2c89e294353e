// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

class QWebElement;

namespace LARKA {

/// What a `video` or `audio` element plays.
struct MediaSource {
  QUrl address;  ///< absolute; empty if it has none
  QString type;  ///< as the page names it; empty if it doesn't
};

/// Returns whether an element is a `video` or `audio`.
bool isMedia(const QWebElement& element);

/// Returns whether a player for `types`, or for all types if there are none, plays `type`, which
/// may have parameters.
bool playsType(const QStringList& types, const QString& type);

/// Returns what the attribute `src` of an element names or, without it, the first of its `source`
/// children that a player for `types` plays.
MediaSource mediaSourceOf(const QWebElement& element, const QStringList& types);

}  // namespace LARKA
