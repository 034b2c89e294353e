// SPDX-License-Identifier: MIT
/// @file
/// One browser.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "larka/ControlType.h"
#include "larka/Directions.h"
#include "larka/Export.h"
#include "larka/LarkaHTMLControl.h"
#include "larka/LarkaPluginWidget.h"
#include "larka/ProxyType.h"
#include "larka/SystemInfoData.h"

namespace LARKA {

class ILarkaCallbacks;

/// One browser: a page that the library lays out and paints off screen, into an image that the host
/// reads.
///
/// The library implements it. The host gets one from BrowserManager::CreateBrowser, gives it back
/// with BrowserManager::DestroyBrowser and never deletes it. Call it only on the thread that pumps
/// events. Pages load, paint and report events while the host pumps.
///
/// The order of the operations is part of the binary interface, and is not by theme. By theme:
/// - life: Initialize(), Shutdown(), AddListener(), RemoveListener()
/// - loading: Navigate(), Reload(), Stop()
/// - history: Back(), Forward(), GetHistoryLength(), GetPrevLocation(), GetNextLocation()
/// - the page: GetCurrentLocation(), GetTitle(), GetMetaTagValue(), ExecuteJavascript()
/// - size: Resize(), GetWidth(), GetHeight(), GetFrameContentSize()
/// - zoom and scrolling: SetZoomLevel(), GetZoomLevel(), Scroll(), ScrollToPoint(), GetViewPort()
/// - the page image: GetBrowserImage(), GetBrowserStride(), SaveBrowserImage()
/// - pointer: MouseMove(), MouseDown(), MouseUp(), MouseClick(), MouseWheel()
/// - keys and focus: KeyDown(), KeyUp(), FocusNext(), FocusPrev()
/// - elements: HitTest(), GetControls(), GetPluginWidgets()
/// - network: SetProxy(), SetUserAgent(), SetCacheParameters(), ClearCache()
/// - cookies: InjectCookie(), ReadCookie(), ReadCookies(), ClearCookie(), ClearAllCookies()
/// - for developers: LaunchInspector()
/// - without effect: Focus(), Invalidate(), SetConfig(), SetGlobalSurface(),
///   GetBrowserNativeHandle()
///
/// Strings go in as NUL-terminated Latin-1, owned by the caller and read only during the call; null
/// is an empty string unless stated otherwise. Strings come back as UTF-8, a missing value as an
/// empty string. Three kinds differ: addresses are UTF-8 in both directions, cookie names and
/// values are bytes that pass through unchanged, and paths are in the file system's encoding.
///
/// Coordinates are whole pixels from the view's top left, which is also the first pixel of the page
/// image.
///
/// Everything that a pointer or key operation sets off in the page, listener calls included,
/// happens before the operation returns. Pointer positions are pixels of the page image; those
/// outside it reach the page unchanged.
///
/// Nothing throws or returns an error: failures show as empty results or as events of
/// ILarkaCallbacks.
class LARKA_EXPORT ILarkaBrowser {
 public:
  virtual ~ILarkaBrowser() {}

  /// Makes the browser ready. Call it once, before loading anything; listeners and the user agent
  /// may be set earlier.
  ///
  /// - `width`, `height`: the view's size in pixels. Negative counts as 0. A view without a size
  ///   has no image until it is resized. The page image never exceeds 1280 by 720.
  /// - `cookiePath`: the file of a cookie store for this browser alone. The library reads the file
  ///   and overwrites it, whatever it held. Browsers, or processes, that share a file take over
  ///   each other's changes when they write it. Empty: a store for this browser that is not kept.
  ///   Null: the store that all browsers share.
  /// - `localStoragePath`: the directory in which pages keep their local storage. Null or empty: it
  ///   is not kept. The first directory that any browser of the process passes also holds the
  ///   databases and application caches of all browsers with a directory; browsers without one have
  ///   neither. See SetStorageLimits().
  /// - `createScriptObject`: whether page script gets the object "larka", in every frame of every
  ///   page. `larka.exec(text)` and `larka.exec2(text)` call ILarkaCallbacks::OnExecuteInLarka;
  ///   exec2 returns the listener's answer.
  /// - `systemInfo`: not used; may be null.
  virtual void Initialize(int width, int height, const char* cookiePath,
                          const char* localStoragePath, bool createScriptObject,
                          SystemInfoData* systemInfo) = 0;

  /// Releases the page and everything it holds, ahead of BrowserManager::DestroyBrowser. Afterwards
  /// the browser can only be destroyed: every other operation does nothing and returns an empty
  /// result.
  virtual void Shutdown() = 0;

  /// Adds a listener. The host keeps ownership, and must remove the listener or keep it until the
  /// browser is destroyed. A listener that is added twice is called twice. Ignores null.
  virtual void AddListener(ILarkaCallbacks* listener) = 0;

  /// Removes a listener, however often it was added, from the next event on. Safe inside a
  /// callback.
  virtual void RemoveListener(ILarkaCallbacks* listener) = 0;

  /// Sends this browser's requests through a proxy. Only the low 16 bits of `port` count.
  virtual void SetProxy(const char* host, int port, ProxyType type, const char* user,
                        const char* password) = 0;

  /// Not supported: the library always paints into an image of its own. Warns and does nothing.
  virtual void SetGlobalSurface(char* pixels) = 0;

  /// Sets the user agent of this browser's requests from now on. An empty string is sent as such;
  /// null restores QtWebKit's default.
  virtual void SetUserAgent(const char* userAgent) = 0;

  /// Resizes the view, in pixels, and lays the page out again. The page image keeps the size that
  /// it got at its first paint: a smaller view fills its top left, and of a larger view it shows
  /// the top left. Without a size (0, 0) the page is hidden: it isn't painted, its timers slow
  /// down, and its animations wait until it has a size again.
  virtual void Resize(int width, int height) = 0;

  /// Keeps what this browser loads in a disk cache in `directory` (Latin-1, unlike other paths),
  /// which is created if it is missing. Browsers that pass the same string share the cache.
  ///
  /// The cache holds `sizeInMegabytes` MiB, or 200 MiB if that is negative; from 2048 on the size
  /// in bytes wraps around (32 bits). The last call for a directory decides for all its browsers.
  /// With an empty `directory` nothing is kept, and every request writes a warning.
  virtual void SetCacheParameters(const char* directory, int sizeInMegabytes) = 0;

  /// Empties QtWebKit's memory caches, which all browsers share, and this browser's disk cache, for
  /// every browser that shares it.
  virtual void ClearCache() = 0;

  /// Stores a cookie for the host `domain` and the hosts below it, in the store that this browser
  /// uses. Call it after Initialize(), which may choose another store.
  ///
  /// - `domain`: a leading dot is ignored. If a path follows the host, the cookie applies to that
  ///   path's directory.
  /// - `name`, `value`: sent as they are, so they must not contain semicolons or line breaks, or
  ///   begin or end with a blank. Nothing is stored if they have more than 4096 bytes together.
  /// - `lifetimeSeconds`: how long the cookie lasts. Negative: until the store is closed. 0 removes
  ///   a cookie: the new one replaces it and expires a millisecond later.
  ///
  /// The cookie file is written 2 s later. Always returns 0.
  virtual int InjectCookie(const char* domain, const char* name, const char* value,
                           int lifetimeSeconds) = 0;

  /// Returns whether the current page has a cookie of this name. Despite its name it removes
  /// nothing: to remove a cookie, call InjectCookie() with its domain and name and a lifetime of 0.
  /// Other cookies go when they expire, when the store is full and needs room for newer ones, or
  /// with ClearAllCookies().
  virtual bool ClearCookie(const char* name) = 0;

  /// Removes every cookie from the store that this browser uses, for every browser that shares it,
  /// and what other processes have written into its file.
  virtual void ClearAllCookies() = 0;

  /// Returns the value of the current page's cookie of this name, or an empty string. Of several
  /// such cookies, the one with the longest path counts.
  virtual std::string ReadCookie(const char* name) = 0;

  /// Returns the names and values of the cookies that a request for the current page would carry,
  /// longest paths first.
  virtual std::vector<std::pair<std::string, std::string>> ReadCookies() = 0;

  /// Starts to load a page and returns at once; ILarkaCallbacks reports how the load goes. `url` is
  /// an absolute address in its encoded form (no spaces, non-ASCII characters percent-encoded). A
  /// path alone is none: write `file:///path`. An address that can't be parsed, or that has no
  /// scheme, loads the empty page `about:blank`, and ILarkaCallbacks::OnLoadFinished gets true. If
  /// the current page asks whether it may be left, ILarkaCallbacks::OnJavaScriptConfirm is called
  /// first.
  ///
  /// A load that gets no answer never ends by itself: end it with Stop().
  virtual void Navigate(const char* url) = 0;

  /// Moves the pointer. After the first press the page sees every move as one with the left button
  /// held, even once the button is released. `reserved` is not used.
  virtual void MouseMove(int x, int y, int reserved) = 0;

  /// Presses the left button. A press within Qt's double-click interval (0.4 s) and drag distance
  /// (10 pixels) of a click makes a double click. `reserved` is not used.
  virtual void MouseDown(int x, int y, int reserved) = 0;

  /// Releases the left button. `reserved` is not used.
  virtual void MouseUp(int x, int y, int reserved) = 0;

  /// Presses and releases the left button, then calls ILarkaCallbacks::OnMouseClick with the
  /// element that was at that point before the click. `reserved` is not used.
  virtual void MouseClick(int x, int y, int reserved) = 0;

  /// Turns the wheel by `amount` towards `direction`, at the point of the last MouseMove(). 120 is
  /// one notch; negative amounts turn the other way. An invalid direction counts as #DIRECTION_UP.
  /// `reserved` is not used.
  virtual void MouseWheel(Directions direction, int amount, int reserved) = 0;

  /// Turns the wheel vertically by `dy`, then horizontally by `dx`, at the point of the last
  /// MouseMove(). 120 is one notch; positive values turn up and left. `reserved` is not used.
  virtual void MouseWheel(int dx, int dy, int reserved) = 0;

  /// Presses a key; see #KeyCode and #KeyModifier. The focused element gets it or, without one, the
  /// page, which scrolls.
  virtual void KeyDown(int key, int modifiers) = 0;

  /// Releases a key; see #KeyCode and #KeyModifier.
  virtual void KeyUp(int key, int modifiers) = 0;

  /// Scrolls the main frame by `amount` pixels; negative amounts scroll the other way. An invalid
  /// direction scrolls nothing.
  virtual void Scroll(Directions direction, int amount) = 0;

  /// Scrolls the main frame by pixels, as far as the page goes; positive is right and down.
  virtual void Scroll(int dx, int dy) = 0;

  /// Loads the current page again.
  virtual void Reload() = 0;

  /// Moves the keyboard focus to the next focusable element. Returns false if there is none, or if
  /// the focus leaves the last one; the next call then starts with the first.
  virtual bool FocusNext() = 0;

  /// Moves the keyboard focus to the previous focusable element. Returns false if there is none, or
  /// if the focus leaves the first one; the next call then starts with the last.
  virtual bool FocusPrev() = 0;

  /// Returns the number of pages in the history, including the current one.
  virtual int GetHistoryLength() = 0;

  /// Returns the address that Back() would go to, or an empty string.
  virtual std::string GetPrevLocation() = 0;

  /// Returns the address that Forward() would go to, or an empty string.
  virtual std::string GetNextLocation() = 0;

  /// Goes one page back. Does nothing at the first page.
  virtual void Back() = 0;

  /// Goes one page forward. Does nothing at the last page.
  virtual void Forward() = 0;

  /// Stops loading. A load that was under way ends with ILarkaCallbacks::OnLoadFinished and false;
  /// see there which page then stays.
  virtual void Stop() = 0;

  /// Does nothing.
  virtual void Focus() = 0;

  /// Does nothing: the page image is always current.
  virtual void Invalidate() = 0;

  /// Runs a script, as Latin-1, in the main frame and returns its value as text, as UTF-8. Returns
  /// an empty string if the script throws, or if its value is undefined or null. Nothing interrupts
  /// a script that never ends.
  ///
  /// The library passes the script to the page's eval() in single quotes, and escapes only the
  /// single quotes in it: backslashes lose one level, and a line break is a syntax error. A script
  /// arrives unchanged if every backslash, line break and character beyond ASCII in it is written
  /// as `\uXXXX`.
  virtual std::string ExecuteJavascript(const char* script) = 0;

  /// Returns the address of the current page in readable form: percent-encoded only where it has to
  /// be. Navigate() accepts that form too. Listeners get all addresses in it.
  virtual std::string GetCurrentLocation() = 0;

  /// Returns the title of the current page.
  virtual std::string GetTitle() = 0;

  /// Sets the zoom in percent: 150 magnifies one and a half times. Ignores values that are not
  /// positive numbers, and those beyond QtWebKit's range.
  virtual void SetZoomLevel(double percent) = 0;

  /// Returns the zoom in percent.
  virtual double GetZoomLevel() = 0;

  /// Scrolls the main frame so that a point of the page, in page pixels at a zoom of 100 %, is at
  /// the view's top left, or as near to it as the page's edges allow.
  virtual void ScrollToPoint(int x, int y) = 0;

  /// Reads the visible part of the page: its top left in page pixels at a zoom of 100 %, its size
  /// in view pixels. Pointers may be null.
  virtual void GetViewPort(int* x, int* y, int* width, int* height) = 0;

  /// Returns the content of the first `meta` tag in the page's head with this `name` or, if there
  /// is none, with this `http-equiv`. Case matters in a `name`, not in an `http-equiv`.
  virtual std::string GetMetaTagValue(const char* name) = 0;

  /// Returns the distance in bytes from one row of the page image to the next; 0 before the first
  /// paint.
  virtual int GetBrowserStride() = 0;

  /// Returns the first byte of the page image, or null before the first paint.
  ///
  /// The image is 32-bit ARGB with premultiplied alpha: four bytes a pixel, in memory blue, green,
  /// red, alpha (0xAARRGGBB as a native 32-bit number). Rows go from top to bottom,
  /// GetBrowserStride() bytes apart. The image is as large as the view was at the first paint
  /// (GetWidth(), GetHeight()), but at most 1280 by 720, unless the host asks for another size
  /// (SetMaximumImageSize() and what follows it in larka/extras.h).
  ///
  /// The library keeps ownership and paints into the image whenever events are pumped: read it
  /// between two pumps, or in ILarkaCallbacks::OnDirty. The address stays the same until the
  /// browser is shut down or destroyed, except while a plug-in is shown full screen.
  virtual unsigned char* GetBrowserImage() = 0;

  /// Writes what the view shows into a JPEG file, scaled to fit into `width` by `height` pixels
  /// with its proportions kept. The file is a JPEG whatever its name; for a PNG encode the pixels
  /// of GetBrowserImage(). While a child frame has the focus, only that frame is written. A failure
  /// is reported on the standard error stream only.
  virtual void SaveBrowserImage(const char* path, int width, int height) = 0;

  /// Not supported: there is no native surface. Warns and returns null.
  virtual void* GetBrowserNativeHandle() = 0;

  /// Returns the plug-ins of the current page, in the order in which
  /// ILarkaCallbacks::OnPluginCreated announced them.
  ///
  /// Plug-ins that script hides or removes stay in the list until the page is left (see
  /// LarkaPluginWidget::IsVisible), except that removed ones are dropped once the list has a
  /// hundred entries. The list is emptied when a page load starts. If that load comes to nothing (a
  /// download, Stop()), the page that stays gets its plug-ins back only when it is reloaded.
  virtual std::vector<LarkaPluginWidget> GetPluginWidgets() = 0;

  /// Returns the innermost element at a point of the page image, child frames included, or an empty
  /// handle. The page doesn't notice.
  virtual LarkaHTMLControl HitTest(int x, int y) = 0;

  /// Returns the elements with the tag that belongs to `type`, in document order, from the frame
  /// that has the focus (the main frame if none has). Every type of `input` finds all inputs, and a
  /// `button` is never found. The caller deletes the handles.
  virtual std::vector<LarkaHTMLControl*> GetControls(ControlType type) = 0;

  /// Opens QtWebKit's web inspector on this browser's page, once the browser is initialised, and
  /// returns it as a browser. That browser can be resized and shut down; its other operations do
  /// nothing. Returns null once this browser has been shut down.
  ///
  /// The inspector has no page image. It is a Qt widget, shown as a window only with `show`; the
  /// library opens no other window. This browser owns it and destroys it. A page has one inspector
  /// at a time: launching another takes the page from the first, which stays empty. An inspector
  /// that was shut down can't be opened again.
  virtual ILarkaBrowser* LaunchInspector(bool show) = 0;

  /// Does nothing.
  virtual void SetConfig(const char* key, const char* value) = 0;
  /// Does nothing.
  virtual void SetConfig(const char* key, int value) = 0;
  /// Does nothing.
  virtual void SetConfig(const char* key, bool value) = 0;

  /// Returns the view's width in pixels.
  virtual int GetWidth() = 0;

  /// Returns the view's height in pixels.
  virtual int GetHeight() = 0;

  /// Reads the size, in pixels at the current zoom, of the whole content of the frame that has the
  /// focus (the main frame if none has).
  virtual void GetFrameContentSize(int& width, int& height) = 0;
};

}  // namespace LARKA
