// SPDX-License-Identifier: MIT
/// @file
/// Handles to the elements of a page.
#pragma once

#include <string>

#include "larka/ControlType.h"
#include "larka/Export.h"

namespace LARKA {

class LarkaHTMLControlPrivate;

/// A handle to one element of a page, to read, style, focus or locate it.
///
/// The library creates handles and passes them to the host by value (ILarkaBrowser::HitTest), by
/// reference (ILarkaCallbacks::OnMouseClick) or as heap objects that the host deletes
/// (ILarkaBrowser::GetControls). Copies are cheap: they share one record, which lives as long as
/// the last of them. Use, copy and destroy handles only on the thread that pumps events.
///
/// A handle stays safe to use once its page has been left or its browser destroyed, but is empty
/// then. An empty handle is of type #CONTROL_UNKNOWN, reads as empty and false, and changes
/// nothing.
class LARKA_EXPORT LarkaHTMLControl {
 public:
  /// Creates an empty handle.
  LarkaHTMLControl();

  /// Wraps a record. With `adopt` the handle takes over the caller's reference, otherwise it adds
  /// one. For the library only: the record's type is internal.
  LarkaHTMLControl(LarkaHTMLControlPrivate* d, bool adopt);

  ///@{
  /// Makes another handle to the same element.
  LarkaHTMLControl(const LarkaHTMLControl& other);
  LarkaHTMLControl& operator=(const LarkaHTMLControl& other);
  ///@}
  virtual ~LarkaHTMLControl();

  /// Reads the tag name that ILarkaBrowser::GetControls searches for and, for an `input`, the value
  /// of its type attribute (otherwise empty). Returns false for a kind that GetControls doesn't
  /// search for; `tag` is then unchanged and `inputType` empty.
  static bool ConvertLarkaTypeToQTagAndType(ControlType type, std::string& tag,
                                            std::string& inputType);

  /// Returns the kind of the element. An `input` of an unknown type is #CONTROL_TEXT; one of type
  /// "reset", "file", "image" or "button" is #CONTROL_SUBMIT, and so is a `button`.
  ControlType GetControlType();

  /// Returns the computed value of a CSS property, for example "rgb(0, 0, 0)" for "color", or an
  /// empty string if there is no such property. Both strings are Latin-1.
  std::string GetStyleProperty(std::string name);

  /// Sets a CSS property in the element's `style` attribute. Both strings are Latin-1. Ignores
  /// invalid values.
  void SetStyleProperty(std::string name, std::string value);

  /// Returns whether there is a link at the point of the hit test. Always false for handles from
  /// ILarkaBrowser::GetControls.
  bool IsClickable();

  /// Reads the element's position and size in the page, in pixels at a zoom of 100 % from the
  /// page's top-left corner; frames and how far they are scrolled are taken into account. The
  /// rectangle has every pixel that the element touches, so its width and height are often one
  /// larger than page script says, and more with another zoom. For the position in the page image,
  /// subtract the viewport's (ILarkaBrowser::GetViewPort) and multiply by the zoom factor. Pointers
  /// may be null. An element that isn't laid out gives 0, 0, 0, 0.
  void GetControlRect(int* x, int* y, int* width, int* height);

  /// Returns the element's id as UTF-8, or an empty string.
  std::string GetControlId();

  /// Returns what the control holds, as UTF-8: the current text of a field, the value of a
  /// `select`, the `value` of any other element; or an empty string.
  std::string GetControlText();

  /// Places the caret after the last character of a text field and selects nothing.
  void SetCaretAtEndOfControl();

  /// Returns whether a check box or radio button is on.
  bool IsControlSelected();

  /// Gives the element the keyboard focus. Does nothing if the element can't have it.
  void Focus();

  /// Returns whether the element has the keyboard focus.
  bool HasFocus();

  /// Reads a part of the page worth zooming to, in the coordinates of GetControlRect(): the block
  /// around the point of the hit test, or 0, 0, 1024, 768 if there is none. Pointers may be null.
  void GetZoomRect(int* x, int* y, int* width, int* height);

 private:
  LarkaHTMLControlPrivate* d;
};

}  // namespace LARKA
