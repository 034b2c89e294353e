// LarkaHTMLControl.h: a handle to one element of a page.
#pragma once

#include <string>

#include "larka/ControlType.h"
#include "larka/Export.h"

namespace LARKA {

class LarkaHTMLControlPrivate;

/// A handle to one element of a page: reads it, gives it the focus, tells where it is. It is made
/// by the library and handed to the host by value (ILarkaBrowser::HitTest), by reference
/// (ILarkaCallbacks::OnMouseClick) or as heap objects that the host deletes
/// (ILarkaBrowser::GetControls).
///
/// Copies are cheap and share one record, which lives as long as any copy of the handle. A handle
/// does not follow its page: once the page has been left, or its browser destroyed, it stays safe
/// to use and describes nothing. A handle to nothing is of type CONTROL_UNKNOWN, reads as empty and
/// false, and changes nothing. Use, copy and destroy handles only on the thread that pumps events.
class LARKA_EXPORT LarkaHTMLControl {
 public:
  /// A handle to no element.
  LarkaHTMLControl();

  /// Wraps a record of the library. With `adopt` the handle takes over the caller's reference,
  /// otherwise it adds one of its own. Not useful to a host: the record's type is internal.
  LarkaHTMLControl(LarkaHTMLControlPrivate* d, bool adopt);

  ///@{
  /// Another handle to the same element, which shares the record.
  LarkaHTMLControl(const LarkaHTMLControl& other);
  LarkaHTMLControl& operator=(const LarkaHTMLControl& other);
  ///@}
  virtual ~LarkaHTMLControl();

  /// The tag name that ILarkaBrowser::GetControls searches for a kind of control and, for an
  /// `input`, the value of its type attribute. False for a kind that isn't searched for; `tag` then
  /// stays as it was and `inputType` is empty.
  static bool ConvertLarkaTypeToQTagAndType(ControlType type, std::string& tag,
                                            std::string& inputType);

  /// What kind of control the element is. An `input` of an unknown type is CONTROL_TEXT, one of the
  /// types "reset", "file", "image" and "button" is CONTROL_SUBMIT, as is a `button`.
  ControlType GetControlType();

  /// The computed value of a CSS property, for example "rgb(0, 0, 0)" for "color"; Latin-1. Empty
  /// for a property that doesn't exist.
  std::string GetStyleProperty(std::string name);

  /// Sets a CSS property of the element itself, as its `style` attribute would. Both texts are
  /// Latin-1. A value that makes no sense is ignored.
  void SetStyleProperty(std::string name, std::string value);

  /// Whether there is a link under the point of the hit test. Always false for handles that come
  /// from elsewhere.
  bool IsClickable();

  /// Where the element is in the page, in pixels at a zoom of 100 % from the page's top-left
  /// corner, frames and their scrolling taken into account. For the place in the page image
  /// subtract the viewport's position (ILarkaBrowser::GetViewPort) and multiply by the zoom factor.
  /// Null pointers are skipped; an element that isn't laid out gives 0, 0, 0, 0.
  void GetControlRect(int* x, int* y, int* width, int* height);

  /// The element's id, UTF-8; empty without one.
  std::string GetControlId();

  /// What a control holds, UTF-8: the text of a field as it is now, the value of a select, the
  /// `value` of any other element; empty without one.
  std::string GetControlText();

  /// Puts the caret behind the last character of a text field, with nothing selected.
  void SetCaretAtEndOfControl();

  /// Whether a check box or radio button is on.
  bool IsControlSelected();

  /// Gives the element the keyboard focus. An element that can't have it leaves the focus as it is.
  void Focus();

  /// Whether the element has the keyboard focus.
  bool HasFocus();

  /// A part of the page worth zooming to, in the coordinates of GetControlRect: the block around
  /// the point of the hit test or, where there was none, 0, 0, 1024, 768. Null pointers are
  /// skipped.
  void GetZoomRect(int* x, int* y, int* width, int* height);

 private:
  LarkaHTMLControlPrivate* d;
};

}  // namespace LARKA
