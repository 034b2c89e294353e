// ILarkaBrowser.h: one browser, as its host sees it.
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

/// One browser: a page that is laid out and painted off screen, into an image that the host reads.
///
/// The library implements it. The host gets one from BrowserManager::CreateBrowser, gives it back
/// to BrowserManager::DestroyBrowser and never deletes it. All operations belong on the thread that
/// pumps events. Loading, painting and events happen while the host pumps.
///
/// Text goes in as NUL-terminated Latin-1, owned by the caller and read only during the call; null
/// is the empty text where nothing else is said. Text comes back as UTF-8, a missing value as the
/// empty text. Addresses are UTF-8 both ways; the names and values of cookies are bytes, handed
/// through as they are. Paths are in the file system's encoding. Coordinates are whole pixels with
/// the origin at the view's top left, which is also the first pixel of the page image. Nothing
/// throws or returns an error: failures show as empty results or as events of ILarkaCallbacks.
///
/// The order of the operations is part of the binary interface.
class LARKA_EXPORT ILarkaBrowser {
 public:
  virtual ~ILarkaBrowser() {}

  // Life and listeners.

  /// Makes the browser ready. Called once, before anything is loaded; listeners
  /// and the user agent may be set earlier.
  ///
  /// `width` and `height`: the view's size in pixels; negative counts as 0, and a view without a
  /// size has no image until it is resized. The page image never exceeds 1280 by 720.
  /// `cookiePath`: the file of a cookie store of this browser's own, which is written over whatever
  /// it held (two browsers, or processes, on one file lose each other's changes); empty for a store
  /// that is not kept, null for the one that all browsers share. `localStoragePath`: the directory
  /// in which pages keep their local storage; null or empty for none that lasts. The first such
  /// directory of the process also takes the databases and application caches of all browsers that
  /// have one; browsers without one have neither. See SetStorageLimits.
  /// `createScriptObject`: whether page script gets the object "larka", in every frame of every
  /// page. `larka.exec(text)` and `larka.exec2(text)` call ILarkaCallbacks::OnExecuteInLarka;
  /// exec2 returns the listener's answer. `systemInfo`: may be null; not used.
  virtual void Initialize(int width, int height, const char* cookiePath,
                          const char* localStoragePath, bool createScriptObject,
                          SystemInfoData* systemInfo) = 0;

  /// Gives up the page and everything it holds, ahead of BrowserManager::DestroyBrowser. Afterwards
  /// the browser can only be destroyed: every other operation does nothing and returns an empty
  /// result.
  virtual void Shutdown() = 0;

  /// Registers a listener, which the host keeps and must remove or outlive. A listener registered
  /// twice is called twice. Null is ignored.
  virtual void AddListener(ILarkaCallbacks* listener) = 0;

  /// Removes every registration of a listener, from the next event on. Safe inside a callback.
  virtual void RemoveListener(ILarkaCallbacks* listener) = 0;

  // Network.

  /// Sends this browser's requests through a proxy. Of `port` the low 16 bits count.
  virtual void SetProxy(const char* host, int port, ProxyType type, const char* user,
                        const char* password) = 0;

  /// Not supported: the library always paints into an image of its own. Warns and does nothing.
  virtual void SetGlobalSurface(char* pixels) = 0;

  /// Sets the user agent that this browser's requests carry from now on. The empty text
  /// is sent as such; null restores the engine's own.
  virtual void SetUserAgent(const char* userAgent) = 0;

  /// Resizes the view, in pixels, and lays the page out anew. The page image keeps the size it had
  /// when it was first painted: a smaller view fills its top left, of a larger one it shows the top
  /// left.
  virtual void Resize(int width, int height) = 0;

  /// Keeps what this browser loads in a disk cache in `directory` (Latin-1 as well), which all
  /// browsers that name the same directory in the same way share; it is made where it is missing.
  /// The cache holds `sizeInMegabytes` MiB, or 200 MiB when that is negative; from 2048 on the
  /// number wraps. The last call for a directory decides for all its browsers. With "" nothing is
  /// kept, and every request warns.
  virtual void SetCacheParameters(const char* directory, int sizeInMegabytes) = 0;

  /// Empties the engine's memory caches, which all browsers share, and this browser's disk cache,
  /// for all who share it.
  virtual void ClearCache() = 0;

  // Cookies, of the store that this browser uses: its own, or that of all browsers.

  /// Stores a cookie for the host named `domain` (a leading dot doesn't count; of a path after it
  /// what is before its last slash limits the cookie) and the hosts below it. It lasts
  /// `lifetimeSeconds`, or until the store ends when that is negative; with 0 it takes the place of
  /// the one with its name and path and is gone a millisecond later. `name` and `value` are sent as
  /// they are: they must not hold semicolons, line breaks or blanks at either end. Together they
  /// have at most 4096 bytes, or nothing is stored. The file is written 2 s later. Always returns
  /// 0. To be called after Initialize, which may choose another store.
  virtual int InjectCookie(const char* domain, const char* name, const char* value,
                           int lifetimeSeconds) = 0;

  /// Whether the current page has a cookie of this name. The cookie stays: only ClearAllCookies, a
  /// lifetime that has passed and newer cookies beyond the limits of a store remove one.
  virtual bool ClearCookie(const char* name) = 0;

  /// Removes every cookie from the store, for all who share it.
  virtual void ClearAllCookies() = 0;

  /// The value of the current page's cookie of this name, that with the longest path if there are
  /// several; empty without one.
  virtual std::string ReadCookie(const char* name) = 0;

  /// The names and values of the cookies that a request for the current page would carry, those
  /// with longer paths first.
  virtual std::vector<std::pair<std::string, std::string>> ReadCookies() = 0;

  /// Starts to load a page. `url` is an absolute address in its encoded form (no spaces, non-ASCII
  /// characters percent-encoded). Returns at once; how it goes is told by ILarkaCallbacks. An
  /// address that can't be read as one loads an empty page. A page that does not want to be left
  /// asks first: ILarkaCallbacks::OnJavaScriptConfirm.
  virtual void Navigate(const char* url) = 0;

  // Pointer and keys. Everything they set off in the page, and the calls of the listeners that
  // follow from it, happens before they return. Positions are pixels of the page image; those
  // outside it are passed on as they are. The last argument of the pointer operations is not used.

  /// Moves the pointer. After the first press the page takes every move for one with the left
  /// button held.
  virtual void MouseMove(int x, int y, int reserved) = 0;

  /// Presses the left button at a point. A press soon after a click at the same place, in Qt's
  /// double-click interval (0.4 s) and drag distance (10 pixels), is the second of a double click.
  virtual void MouseDown(int x, int y, int reserved) = 0;

  /// Releases the left button at a point.
  virtual void MouseUp(int x, int y, int reserved) = 0;

  /// Presses and releases the left button at a point, then calls ILarkaCallbacks::OnMouseClick with
  /// the element that was there before.
  virtual void MouseClick(int x, int y, int reserved) = 0;

  /// Turns the wheel at the point of the last MouseMove by `amount`, of which 120 make a notch,
  /// towards `direction`; negative amounts go the other way. A value that is no direction counts as
  /// DIRECTION_UP.
  virtual void MouseWheel(Directions direction, int amount, int reserved) = 0;

  /// Turns the wheel at the point of the last MouseMove, vertically by `dy` and then horizontally
  /// by `dx`, of which 120 make a notch and positive values mean up and left.
  virtual void MouseWheel(int dx, int dy, int reserved) = 0;

  /// Presses a key; see KeyCode and KeyModifier. The element with the focus gets it, or else the
  /// page, which scrolls.
  virtual void KeyDown(int key, int modifiers) = 0;

  /// Releases a key; see KeyCode and KeyModifier.
  virtual void KeyUp(int key, int modifiers) = 0;

  /// Scrolls the main frame by `amount` pixels; negative amounts go the other way. A value that is
  /// no direction scrolls nothing.
  virtual void Scroll(Directions direction, int amount) = 0;

  /// Scrolls the main frame by pixels; positive is right and down. It stops at the page's edges.
  virtual void Scroll(int dx, int dy) = 0;

  /// Loads the current page again.
  virtual void Reload() = 0;

  /// Moves the keyboard focus to the next focusable element. False when there is none, and when it
  /// leaves the last one; the next call starts with the first.
  virtual bool FocusNext() = 0;

  /// Moves the keyboard focus to the previous focusable element. False when there is
  /// none, and when it leaves the first one; the next call starts with the last.
  virtual bool FocusPrev() = 0;

  // History.

  /// The number of pages in the history, the current one included.
  virtual int GetHistoryLength() = 0;

  /// The address that Back() would go to, or the empty text.
  virtual std::string GetPrevLocation() = 0;

  /// The address that Forward() would go to, or the empty text.
  virtual std::string GetNextLocation() = 0;

  /// Goes one page back; at the first page, nothing.
  virtual void Back() = 0;

  /// Goes one page forward; at the last page, nothing.
  virtual void Forward() = 0;

  /// Stops loading. A load that was under way ends with ILarkaCallbacks::OnLoadFinished(false).
  virtual void Stop() = 0;

  /// Does nothing.
  virtual void Focus() = 0;

  /// Does nothing: the page image is always current.
  virtual void Invalidate() = 0;

  /// Runs a script in the main frame and returns its value as text; the empty text when
  /// it throws, or when its value is undefined or null. The script is handed to the page's eval()
  /// inside single quotes: single quotes in it are escaped, but backslashes lose one level and a
  /// line break is a syntax error. A script passes unharmed when every backslash, line break and
  /// character beyond ASCII in it is written as \\uXXXX. A script that never ends is not ended.
  virtual std::string ExecuteJavascript(const char* script) = 0;

  /// The address of the current page in its readable form, without the percent-encoding that it can
  /// do without; Navigate takes it too. All addresses that listeners are told have this form.
  virtual std::string GetCurrentLocation() = 0;

  /// The title of the current page.
  virtual std::string GetTitle() = 0;

  /// Sets the zoom in percent: 150 magnifies one and a half times. What is not a positive number,
  /// or beyond what the engine can count, is ignored.
  virtual void SetZoomLevel(double percent) = 0;

  /// The zoom in percent.
  virtual double GetZoomLevel() = 0;

  /// Scrolls the main frame so that a point of the page, in unzoomed page coordinates, is at the
  /// view's top left, or as near to it as the page's edges allow.
  virtual void ScrollToPoint(int x, int y) = 0;

  /// Reads the visible part of the page: its top left in unzoomed page coordinates, its size in
  /// view pixels. Pointers may be null.
  virtual void GetViewPort(int* x, int* y, int* width, int* height) = 0;

  /// The content of the first `meta` tag in the page's head with this `name` or, where none has it,
  /// with this `http-equiv`. Capitals matter in a `name` and not in an `http-equiv`.
  virtual std::string GetMetaTagValue(const char* name) = 0;

  // The page image.

  /// The distance in bytes from one row of the page image to the next; 0 before the first paint.
  virtual int GetBrowserStride() = 0;

  /// The first byte of the page image, or null before the first paint.
  ///
  /// The image is 32-bit ARGB with premultiplied alpha: four bytes a pixel, in memory blue, green,
  /// red, alpha (0xAARRGGBB as a native 32-bit number). Rows go from top to bottom,
  /// GetBrowserStride() bytes apart. It is as large as the view was at the first paint (GetWidth(),
  /// GetHeight()), but at most 1280 by 720. The library keeps ownership and paints into it whenever
  /// events are pumped: read it between two pumps, or in ILarkaCallbacks::OnDirty. The address
  /// stays the same until the browser is shut down or destroyed, except while a plug-in is shown
  /// full screen.
  virtual unsigned char* GetBrowserImage() = 0;

  /// Writes what the view shows (while a child frame has the focus, that frame) into a JPEG file,
  /// scaled to fit into `width` by `height` pixels with its proportions kept. A failure is told on
  /// the standard error stream only.
  virtual void SaveBrowserImage(const char* path, int width, int height) = 0;

  /// Not supported: there is no native surface. Warns and returns null.
  virtual void* GetBrowserNativeHandle() = 0;

  // Elements of the page.

  /// The plug-ins of the current page that ILarkaCallbacks::OnPluginCreated has told, in that
  /// order. A plug-in that script takes out of the page, or hides, stays among them until the page
  /// is left (LarkaPluginWidget::IsVisible tells), or until there are a hundred and more; empty
  /// from the moment that a load of a page starts, which may come to nothing (a download, Stop()):
  /// the page that stays has its plug-ins again once it is reloaded.
  virtual std::vector<LarkaPluginWidget> GetPluginWidgets() = 0;

  /// The innermost element at a point of the page image, child frames included, or an empty handle.
  /// The page notices nothing.
  virtual LarkaHTMLControl HitTest(int x, int y) = 0;

  /// The elements with the tag that belongs to `type`, in document order, of the frame that has the
  /// focus (the main frame where none has). All inputs count as one tag, and a `button` is never
  /// found. The caller deletes the handles.
  virtual std::vector<LarkaHTMLControl*> GetControls(ControlType type) = 0;

  /// Opens the web inspector, an aid for developers, on this browser's page (once it is
  /// initialised) and returns it as a browser that can be resized and shut down; every other
  /// operation of it does nothing. It has no page image: it is a widget of its own, the one window
  /// that the library ever opens, and only with `show`. It belongs to this browser and is destroyed
  /// with it; one that was shut down is not opened again. A page has one inspector at a time:
  /// launching another takes it away from the first, which stays empty. Null once the browser has
  /// been shut down.
  virtual ILarkaBrowser* LaunchInspector(bool show) = 0;

  /// Does nothing.
  virtual void SetConfig(const char* key, const char* value) = 0;
  /// Does nothing.
  virtual void SetConfig(const char* key, int value) = 0;
  /// Does nothing.
  virtual void SetConfig(const char* key, bool value) = 0;

  // Sizes.

  /// The view's width in pixels.
  virtual int GetWidth() = 0;

  /// The view's height in pixels.
  virtual int GetHeight() = 0;

  /// The size in pixels, at the current zoom, of the whole content of the frame that has the focus.
  virtual void GetFrameContentSize(int& width, int& height) = 0;
};

}  // namespace LARKA
