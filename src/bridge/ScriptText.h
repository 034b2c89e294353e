// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace LARKA {

/// Returns the string literal of script for any text, in ASCII.
QString quoted(const QString& text);

/// Replaces each half of a surrogate pair in JSON by its escape: UTF-8 has nothing for it.
QString withoutHalfPairs(const QString& json);

}  // namespace LARKA
