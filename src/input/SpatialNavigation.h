// SPDX-License-Identifier: MIT
#pragma once

#include "larka/Directions.h"

class QWebPage;

namespace LARKA {

/// Moves the focus to the nearest element in a direction, and scrolls that into view. Returns false
/// if there is none. The page's listeners may do anything meanwhile, except to delete the page.
///
/// - Inside what can be scrolled in that direction, what is in there comes first.
/// - What stays in its place when the page is scrolled comes last.
/// - From outside, what something scrolled shows comes before what it hides.
/// - Without a focus in view, the first element in view has it next, in the order of reading, or
///   the last one if the direction is backwards.
bool moveFocus(QWebPage* page, Directions direction);

}  // namespace LARKA
