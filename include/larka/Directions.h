// SPDX-License-Identifier: MIT
/// @file
/// The directions of scrolling.
#pragma once

namespace LARKA {

/// A direction for ILarkaBrowser::Scroll and ILarkaBrowser::MouseWheel. The numbers are part of the
/// binary interface.
enum Directions {
  DIRECTION_DOWN = 0,   ///< towards the end of the page
  DIRECTION_UP = 1,     ///< towards the start of the page
  DIRECTION_RIGHT = 2,  ///< towards the page's right edge
  DIRECTION_LEFT = 3    ///< towards the page's left edge
};

}  // namespace LARKA
