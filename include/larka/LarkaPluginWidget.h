// SPDX-License-Identifier: MIT
/// @file
/// Handles to the plug-ins of a page.
#pragma once

#include <string>

#include "larka/Export.h"

namespace LARKA {

class LarkaPluginWidgetPrivate;

/// A handle to one plug-in of a page: an element whose content the host draws or plays itself. The
/// page image shows the page's background in its place, or is transparent in that of a `video`.
///
/// The library creates handles and passes them to the host by pointer during a call
/// (ILarkaCallbacks::OnPluginCreated) or by value (ILarkaBrowser::GetPluginWidgets). Copies are
/// cheap: they share one record, which lives as long as the last of them. Use, copy and destroy
/// handles only on the thread that pumps events.
///
/// A handle stays safe to use once its page has been left or its browser destroyed, but is empty
/// then. An empty handle reads as empty, 0 and false, and changes nothing; the host's user data and
/// the full-screen flag stay with it.
///
/// These elements are plug-ins:
/// - every `object` of a media or television type: video, audio, Flash, and the types of hybrid
///   television (the broadcast, conditional access and smart cards, the receiver);
/// - every `object` of another type that QtWebKit can't show, if it has no fallback content; with
///   fallback content, QtWebKit shows that;
/// - every `embed`, except those that QtWebKit shows itself: images, HTML, SVG and other XML;
/// - with SetMediaHandedOver(), every `video` and `audio`.
///
/// An element without a type goes by the file name extension of its address and, without one of
/// those either, counts as HTML, whatever the scheme; the parameters of an `object` don't matter.
/// An `object` with a `classid` is not a plug-in: QtWebKit shows what is in it, which may be an
/// `embed`. An element with `display: none` becomes one when it is displayed.
///
/// Strings go in as NUL-terminated Latin-1 and come out as UTF-8, unless stated otherwise.
class LARKA_EXPORT LarkaPluginWidget {
 public:
  /// Creates an empty handle.
  LarkaPluginWidget();

  /// Wraps a record. With `adopt` the handle takes over the caller's reference, otherwise it adds
  /// one. For the library only: the record's type is internal.
  LarkaPluginWidget(LarkaPluginWidgetPrivate* d, bool adopt);

  ///@{
  /// Makes another handle to the same element.
  LarkaPluginWidget(const LarkaPluginWidget& other);
  LarkaPluginWidget& operator=(const LarkaPluginWidget& other);
  ///@}
  virtual ~LarkaPluginWidget();

  /// Returns QtWebKit's object for the plug-in, to distinguish plug-ins of one page. Don't
  /// dereference it: the object may be gone. It changes when QtWebKit lays the element out again,
  /// except that of a `video` or `audio`, for which QtWebKit has no object.
  void* GetHandle();

  ///@{
  /// Returns the element's position or size in the page, in pixels at a zoom of 100 % from the
  /// page's top-left corner; frames and how far they are scrolled are taken into account. Lays the
  /// page out first. The rectangle has every pixel that the element touches, so its width and
  /// height are often one larger than page script says, and more with another zoom. For the
  /// position in the page image, subtract the viewport's (ILarkaBrowser::GetViewPort) and multiply
  /// by the zoom factor.
  int GetX();
  int GetY();
  int GetWidth();
  int GetHeight();
  ///@}

  /// Returns the computed `z-index`, or 0 if it is not a number ("auto").
  int GetZIndex();

  ///@{
  /// Returns the element's attribute `type`, `id` or `name`, or an empty string. The type of a
  /// `video` or `audio` may be that of the `source` that is taken.
  std::string GetMimeType();
  std::string GetID();
  std::string GetName();
  ///@}

  /// Returns the element's tag name, "EMBED", "OBJECT", "VIDEO" or "AUDIO" in an HTML page.
  std::string GetTagName();

  /// Returns whether the element has an attribute, whatever the case of its name.
  bool HasAttribute(const char* name);

  /// Returns an attribute's value, or an empty string.
  std::string GetAttribute(const char* name);

  /// Sets an attribute of the element.
  void SetAttribute(const char* name, const char* value);

  /// Runs a script with the element as `this` and returns its value as Latin-1. Returns an empty
  /// string if the value is not a string, number or boolean, or if the script throws. If the script
  /// uses `let`, `const` or `class`, or the page forbids `eval`, end it with the expression whose
  /// value you want.
  std::string ExecuteJS(const char* script);

  /// Gives the element the keyboard focus, or takes it from the element and gives it to the page.
  void SetFocus(bool focus);

  /// Returns whether the element is displayed within its frame's contents, however far these are
  /// scrolled.
  bool IsVisible();

  ///@{
  /// Stores or returns a pointer of the host's, null at first, which all copies of the handle
  /// share. The library never dereferences it.
  void SetUserData(void* data);
  void* GetUserData();
  ///@}

  /// Returns what SetFullScreen() of this plug-in was last called with, whatever is shown by now.
  bool IsFullScreen() const;

  /// Shows the element in place of the page or, with `fullScreen` false, the page again, even if
  /// another plug-in of the browser was shown. When the element or its page goes away, the page is
  /// shown again. `reserved` is not used.
  ///
  /// While the element is shown, ILarkaBrowser::GetBrowserImage and ILarkaBrowser::GetBrowserStride
  /// return another image, with the size in pixels that the element has at this call: a quarter of
  /// the stride wide, with at least (GetHeight() - 0.5) * zoom / 100 rows, rounded down. The image
  /// is null if that is empty, or more than 4096 by 4096 pixels.
  ///
  /// With `flag` the image shows what the page shows of the element, repainted whenever the view
  /// is; beyond the size of the page image it is transparent. Without `flag` it stays transparent.
  /// ILarkaCallbacks::OnDirty reports the change; until then the image is transparent.
  void SetFullScreen(bool fullScreen, bool flag, bool reserved);

  // Kept for the contract. The library paints no image of a plug-in, and a plug-in gets its input
  // through the operations of its browser.

  /// Returns null: a plug-in has no image.
  unsigned char* GetPixelData();

  ///@{
  /// Returns 0: a plug-in has no image.
  int GetStride();
  unsigned int GetPixelRGBA(int x, int y);
  ///@}

  /// Returns true.
  bool IsDirty();

  ///@{
  /// Does nothing.
  void Dump();
  void MouseMove(int x, int y, int buttons);
  void MouseDown(int x, int y, int buttons);
  void MouseUp(int x, int y, int buttons);
  void MouseClick(int x, int y, int buttons);
  void HandleKey(int key, int modifiers);
  ///@}

 private:
  friend class LarkaPluginWidgetPrivate;

  LarkaPluginWidgetPrivate* d;
};

}  // namespace LARKA
