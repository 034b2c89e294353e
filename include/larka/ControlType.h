// ControlType.h: the kinds of page elements a host can ask for.
#pragma once

namespace LARKA {

/// The kind of a page element, as asked for by ILarkaBrowser::GetControls and reported by
/// LarkaHTMLControl. The numbers are part of the binary interface.
enum ControlType {
  CONTROL_TEXT = 0,      ///< `input`, type "text"
  CONTROL_TEXTAREA = 1,  ///< `textarea`
  CONTROL_LABEL = 2,     ///< `label`
  CONTROL_UNMAPPED = 3,  ///< no element; asking for it finds nothing
  CONTROL_SELECT = 4,    ///< `select`
  CONTROL_SUBMIT = 5,    ///< `input`, type "submit", and the other push buttons; asking for it
                         ///< finds inputs only, never a `button`
  CONTROL_RADIO = 6,     ///< `input`, type "radio"
  CONTROL_CHECKBOX = 7,  ///< `input`, type "checkbox"
  CONTROL_ANCHOR = 8,    ///< `a`
  CONTROL_PASSWORD = 9,  ///< `input`, type "password"
  CONTROL_IMAGE = 10,    ///< `img`
  CONTROL_EMBED = 11,    ///< `embed`
  CONTROL_DIV = 12,      ///< `div`
  CONTROL_OBJECT = 13,   ///< `object`; only ever reported, asking for it finds nothing
  CONTROL_UNKNOWN = 14   ///< any other element; only ever reported, asking for it finds nothing
};

}  // namespace LARKA
