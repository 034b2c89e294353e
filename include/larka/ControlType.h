// SPDX-License-Identifier: MIT
/// @file
/// The kinds of page elements.
#pragma once

namespace LARKA {

/// The kind of a page element: what ILarkaBrowser::GetControls searches for and
/// LarkaHTMLControl::GetControlType reports. The numbers are part of the binary interface.
enum ControlType {
  CONTROL_TEXT = 0,      ///< `input`, type "text"
  CONTROL_TEXTAREA = 1,  ///< `textarea`
  CONTROL_LABEL = 2,     ///< `label`
  CONTROL_UNMAPPED = 3,  ///< no element; GetControls finds none
  CONTROL_SELECT = 4,    ///< `select`
  CONTROL_SUBMIT = 5,    ///< `input`, type "submit", and all other push buttons; GetControls
                         ///< finds only inputs, never a `button`
  CONTROL_RADIO = 6,     ///< `input`, type "radio"
  CONTROL_CHECKBOX = 7,  ///< `input`, type "checkbox"
  CONTROL_ANCHOR = 8,    ///< `a`
  CONTROL_PASSWORD = 9,  ///< `input`, type "password"
  CONTROL_IMAGE = 10,    ///< `img`
  CONTROL_EMBED = 11,    ///< `embed`
  CONTROL_DIV = 12,      ///< `div`
  CONTROL_OBJECT = 13,   ///< `object`; GetControls finds none
  CONTROL_UNKNOWN = 14   ///< any other element; GetControls finds none
};

}  // namespace LARKA
