// LarkaPluginWidget.h: a handle to one plug-in element of a page.
#pragma once

#include <string>

#include "larka/Export.h"

namespace LARKA {

class LarkaPluginWidgetPrivate;

/// A handle to one plug-in of a page: an element whose content the host draws or plays itself. In
/// the page image the page's background shows in its place. Handed to the host by pointer during a
/// call (ILarkaCallbacks::OnPluginCreated), or by value (ILarkaBrowser::GetPluginWidgets).
///
/// Every `object` of a media or television type is one: video, audio, Flash, and what hybrid
/// television defines (the broadcast, conditional access and smart cards, the receiver). One of any
/// other type that QtWebKit doesn't show itself is one if it has no fallback content; otherwise its
/// fallback is shown. So is every `embed` but those that QtWebKit shows itself: images, and HTML,
/// SVG and other XML.
/// Where there is no type the extension of the address counts, and without one the engine takes the
/// element for HTML, whatever the scheme; it never goes by an object's parameters. An `object` with
/// a `classid` is none: the engine shows what is in it, which may be an `embed`. An element that is
/// not displayed (`display: none`) is none yet.
///
/// Copies are cheap and share one record, which lives as long as any copy of the handle. A handle
/// does not follow its page: once the page has been left, or its browser destroyed, it stays safe
/// to use and describes nothing. A handle to nothing reads as empty, 0 and false, and changes
/// nothing but what the host keeps in it. Use, copy and destroy handles only on the thread that
/// pumps events.
///
/// Text that goes in is NUL-terminated Latin-1, text that comes out UTF-8, unless said otherwise.
class LARKA_EXPORT LarkaPluginWidget {
 public:
  /// A handle to no element.
  LarkaPluginWidget();

  /// Wraps a record of the library. With `adopt` the handle takes over the caller's reference,
  /// otherwise it adds one of its own. Not useful to a host: the record's type is internal.
  LarkaPluginWidget(LarkaPluginWidgetPrivate* d, bool adopt);

  ///@{
  /// Another handle to the same element, which shares the record.
  LarkaPluginWidget(const LarkaPluginWidget& other);
  LarkaPluginWidget& operator=(const LarkaPluginWidget& other);
  ///@}
  virtual ~LarkaPluginWidget();

  /// The engine's own object for the plug-in: tells plug-ins of one page apart. Not to be
  /// dereferenced: it changes when the element is laid out anew, and the object may be gone.
  void* GetHandle();

  ///@{
  /// Where it is in the page: pixels at a zoom of 100 % from the page's top-left corner, frames and
  /// their scrolling taken into account, after a layout. For the place in the page image subtract
  /// the viewport's position (ILarkaBrowser::GetViewPort) and multiply by the zoom factor.
  int GetX();
  int GetY();
  int GetWidth();
  int GetHeight();
  ///@}

  /// The computed `z-index`; 0 where it is no number ("auto").
  int GetZIndex();

  ///@{
  /// The element's attributes `type`, `id` and `name`; empty without one.
  std::string GetMimeType();
  std::string GetID();
  std::string GetName();
  ///@}

  /// The element's tag name, "EMBED" or "OBJECT" in an HTML page.
  std::string GetTagName();

  /// Whether the element has an attribute; the case of the name doesn't count.
  bool HasAttribute(const char* name);

  /// An attribute's value; empty without one.
  std::string GetAttribute(const char* name);

  /// Sets an attribute of the element.
  void SetAttribute(const char* name, const char* value);

  /// Runs a script with the element as `this` and returns its value as Latin-1 text: a text, number
  /// or boolean; empty for any other value, and when it throws.
  std::string ExecuteJS(const char* script);

  // Its pixels. The library paints none for a plug-in: for each one that a browser reports
  // GetPixelData returns null, GetStride and GetPixelRGBA return 0.

  /// The distance in bytes from one row of the plug-in's image to the next.
  int GetStride();

  /// The plug-in's top-left pixel in its image: GetHeight() rows of GetWidth() pixels, in the
  /// format of ILarkaBrowser::GetBrowserImage, GetStride() bytes apart.
  unsigned char* GetPixelData();

  /// A pixel as 0xAARRGGBB, by its distance from the plug-in's top left; 0 outside the image.
  unsigned int GetPixelRGBA(int x, int y);

  /// Gives the element the keyboard focus, or takes it away and gives it to the page.
  void SetFocus(bool focus);

  /// Whether the element is displayed within its frame's contents, wherever that is scrolled to.
  bool IsVisible();

  /// Always true: take the plug-in's pixels as changed in every frame.
  bool IsDirty();

  /// Does nothing.
  void Dump();

  ///@{
  /// A pointer of the host's that is kept with the plug-in, for all copies of the handle; null at
  /// first. The library never follows it.
  void SetUserData(void* data);
  void* GetUserData();
  ///@}

  /// What SetFullScreen of this plug-in was called with last, whatever is shown by now.
  bool IsFullScreen() const;

  /// Shows the element in place of the page, or the page again, whichever plug-in of the browser
  /// was shown. While an element is shown, ILarkaBrowser::GetBrowserImage and GetBrowserStride give
  /// an image of the size in pixels that the element has now (GetBrowserStride() / 4 wide, and at
  /// least (GetHeight() - 0.5) * zoom / 100 rows, rounded down; null if that is nothing, or
  /// more than 4096 by 4096 pixels): with
  /// `flag` what the page shows of the element, painted anew whenever the view is, and transparent
  /// beyond the size of the page image; without `flag` a transparent one that is never painted. The
  /// change is told by ILarkaCallbacks::OnDirty; until then the image is transparent. When the
  /// element or its page goes away, the page is shown again. `reserved` is not used.
  void SetFullScreen(bool fullScreen, bool flag, bool reserved);

  ///@{
  /// Does nothing: a plug-in gets its input through the operations of its browser.
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
