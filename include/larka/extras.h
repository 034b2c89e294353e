// SPDX-License-Identifier: MIT
/// @file
/// What hosts can ask and do beyond the interface of release 1.0.
///
/// Call these functions on the thread of BrowserManager::Initialize, with browsers of
/// BrowserManager::CreateBrowser. With null, with an inspector, and with a browser that was shut
/// down they do nothing and return an empty result.
#pragma once

#include <string>
#include <vector>

#include "larka/Directions.h"
#include "larka/Export.h"
#include "larka/Version.h"

namespace LARKA {

class BrowserManager;
class ILarkaBrowser;
class IExtraCallbacks;
class LarkaPluginWidget;

/// A part of the page image, in pixels from its top left.
struct Rectangle {
  int x;       ///< of its left edge
  int y;       ///< of its top edge
  int width;   ///< at least 1
  int height;  ///< at least 1
};

/// Returns which parts of the image changed, in ILarkaCallbacks::OnDirty: upload these parts and
/// not the whole image. There are at most 20. They may hold pixels that are as before, but no pixel
/// outside of them has changed since the notice before. Elsewhere there are none.
///
/// They are parts of the image that ILarkaBrowser::GetBrowserImage returns. When a plug-in goes
/// full screen or back, that is another image: upload all of it.
LARKA_EXPORT std::vector<Rectangle> GetChangedRectangles(ILarkaBrowser* browser);

/// Why a load failed. Later versions may add kinds.
enum LoadErrorKind {
  LOAD_OK = 0,               ///< It didn't fail.
  LOAD_OTHER = 1,            ///< None of these; see the text.
  LOAD_NAME_NOT_FOUND = 2,   ///< There is no such host.
  LOAD_REFUSED = 3,          ///< Nobody listens there.
  LOAD_TIMED_OUT = 4,        ///< The time limit, or the network's.
  LOAD_CONNECTION_LOST = 5,  ///< The connection ended too early.
  LOAD_CERTIFICATE = 6,      ///< There is no secure connection.
  LOAD_ABORTED = 7,          ///< It was stopped, or replaced by another load.
  LOAD_BLOCKED = 8,          ///< A password or permission is missing, or QtWebKit blocks the port.
  LOAD_NO_FILE = 9,          ///< There is no such file.
  LOAD_HTTP_STATUS = 10,     ///< The server answered with an error and without a page.
  LOAD_NOT_SHOWN = 11        ///< What came is nothing that QtWebKit shows.
};

/// What is wrong with a certificate. Later versions may add errors.
enum CertificateError {
  CERTIFICATE_SELF_SIGNED = 1,     ///< Nobody but the server vouches for it.
  CERTIFICATE_UNKNOWN_ISSUER = 2,  ///< Its issuer is none that the system trusts.
  CERTIFICATE_EXPIRED = 4,         ///< It is too old.
  CERTIFICATE_NOT_YET_VALID = 8,   ///< It is for later: the clock of the device may be wrong.
  CERTIFICATE_WRONG_HOST = 16,     ///< It is for another host.
  CERTIFICATE_REVOKED = 32,        ///< It was withdrawn.
  CERTIFICATE_OTHER = 64           ///< None of these.
};

/// How a load ended.
struct LoadError {
  LoadErrorKind kind = LOAD_OK;  ///< why
  int httpStatus = 0;            ///< 0 unless the server answered with an error
  std::string address;           ///< that failed, after redirections; empty if the load was aborted
  int certificateErrors = 0;     ///< the sum of CertificateError; see SetCertificateChecks()
  std::string text;  ///< for the viewer, in English and UTF-8, such as "connection refused"
};

/// Returns how the last load ended: call it in ILarkaCallbacks::OnLoadFinished. A page that the
/// server sends with an error, such as its own page for 404, is a page like any other.
LARKA_EXPORT LoadError GetLoadError(ILarkaBrowser* browser);

/// Limits how long each load may take, from its start to its end, as if the host called
/// ILarkaBrowser::Stop then: ILarkaCallbacks::OnLoadFinished gets false, with LOAD_TIMED_OUT, and
/// the page keeps what has arrived. 0, the default, or less is no limit. A limit counts for loads
/// that begin after the call.
LARKA_EXPORT void SetLoadTimeLimit(ILarkaBrowser* browser, int milliseconds);

/// Returns whether anything of the page is still on its way, from the network or a file: the page
/// itself, or what it has asked for since. Ask this between two pumps to find out when a page is
/// complete.
LARKA_EXPORT bool HasRunningRequests(ILarkaBrowser* browser);

/// What painting a page has cost.
struct FrameStatistics {
  long long notices = 0;    ///< of ILarkaCallbacks::OnDirty, to each listener
  long long paints = 0;     ///< of the page image
  long long pixels = 0;     ///< painted, each as often as it was
  double milliseconds = 0;  ///< in QtWebKit's layout and painting
};

/// Returns what painting has cost since the last call, or since the browser was created.
LARKA_EXPORT FrameStatistics TakeFrameStatistics(ILarkaBrowser* browser);

// Diagnostics.

/// A host's function for the library's diagnostics. `text` is one line in UTF-8, without its
/// newline and never empty, and is valid during the call. `userData` is that of
/// SetDiagnosticsHandler().
///
/// It is called the moment something happens: inside a call of the host's, in a pump, while an
/// object is being destroyed or QtWebKit is running. It may store or write the line, and call
/// SetDiagnosticsHandler() and SilenceDiagnostics(). It must not throw, and not call anything else
/// of the library. If it does, what QtWebKit or an object on the stack would not survive doesn't
/// happen, or only later: CreateBrowser() returns null, Shutdown(), PumpEvents() and
/// RunEventLoop() of the manager do nothing, a browser is destroyed by a later pump.
/// Lines that such calls cause go to the standard error stream.
using DiagnosticsHandler = void (*)(const char* text, void* userData);

/// Gives each line of the library's diagnostics to `handler` instead of writing it to the standard
/// error stream. That includes the library's own warnings, which otherwise go through Qt's message
/// handler. With a null `handler` everything is written as without a call.
///
/// What Qt, QtWebKit and GStreamer write themselves stays as it is.
///
/// Call it on the thread of BrowserManager::Initialize, or before that. The handler is called on
/// that thread, too. Lines come until the process has ended, from managers and browsers that are
/// destroyed so late: what `userData` points to must live as long, or the handler be taken away.
LARKA_EXPORT void SetDiagnosticsHandler(DiagnosticsHandler handler, void* userData);

/// Drops the library's diagnostics from now on. SetDiagnosticsHandler() ends that.
LARKA_EXPORT void SilenceDiagnostics();

// Script.

/// What a script came to.
struct ScriptResult {
  /// Whether it ran to its end.
  bool ok = false;
  /// Its value as JSON, in UTF-8; empty unless `ok`.
  std::string json;
  /// Why it didn't run to its end, in UTF-8: the exception as text, as in "TypeError: ...".
  std::string message;
  /// The line of the script that threw, or that cannot be parsed. The first one is 1; 0 if unknown.
  int line = 0;
  /// The calls that led to the exception, innermost first, one a line. Empty if unknown.
  std::string stack;
};

/// Evaluates a script in the page, or in a child frame, and returns its value or its exception.
///
/// - `script`: in UTF-8, any text, with nothing escaped. As with `eval`, its value is that of its
///   last statement. Its `var` and `function` become global, its `let`, `const` and `class` don't.
/// - `frame`: the name of a child frame, in UTF-8. Frames in frames are searched, too; the first in
///   the order of the document is taken. Null or empty for the page itself.
///
/// The value is written as JSON.stringify does: a date by its toJSON, NaN as `null`, an element
/// usually as `{}`. What has no JSON, such as `undefined` or a function, gives `null`. Half a
/// surrogate pair gives its escape, such as `\ud800`. A value that can't be written, such as
/// `window` or a circle, gives the exception that says so.
///
/// An exception reaches no listener. What else the script causes does, as with
/// ILarkaBrowser::ExecuteJavascript: before the function returns.
///
/// Not ok, with a message: a null script, no such frame, a browser that was shut down, an
/// inspector, a script that QtWebKit ends because it runs too long, and a page whose security
/// policy forbids `eval`. Not ok, without a message: an engine process doesn't answer. A page that
/// replaced `eval` or `JSON` decides what comes out, but does no other harm: the JSON is then any
/// text.
LARKA_EXPORT ScriptResult EvaluateScript(ILarkaBrowser* browser, const char* script,
                                         const char* frame = nullptr);

/// Sets the script that runs once at the start of every document, before any script of the
/// document's own: in the page and in every frame, from the next load on. There is one for each
/// browser; the next call replaces it.
///
/// - `script`: in UTF-8. Null or empty for none.
///
/// It runs as a script of the page would, before there are any elements, and a security policy
/// doesn't stop it. `window.larka` is there. It doesn't run in a frame whose sandbox forbids
/// script, nor again in a document that Back brings back as it was. An exception goes to
/// ILarkaCallbacks::OnJavaScriptConsoleMessage.
///
/// May be called before ILarkaBrowser::Initialize. Returns false for null, for a browser that was
/// shut down, and for an inspector.
LARKA_EXPORT bool SetDocumentScript(ILarkaBrowser* browser, const char* script);

// Style.

/// Sets the host's style sheet for every page of the browser, at once and until the next call;
/// scroll bars that are there change with the next page only. It overrides QtWebKit's own style and
/// Larka's focus ring; a page's style overrides it, except where it says `!important`. For example,
/// `::-webkit-scrollbar { display: none }` is a page without scroll bars, `:focus { outline: 4px
/// solid white }` another focus ring.
///
/// - `rules`: CSS in UTF-8, without `@import` and `@namespace`. Null or empty for none.
///
/// May be called before ILarkaBrowser::Initialize. Returns false for null, for a browser that was
/// shut down, and for an inspector.
LARKA_EXPORT bool SetStyleSheet(ILarkaBrowser* browser, const char* rules);

// Messages.

/// Lets page script and the host exchange messages as JSON. From its start each document then has
/// the object `window.larkaHost`, in the page and in every frame, whatever its origin:
/// - `larkaHost.postMessage(value)` calls IExtraCallbacks::OnMessage. Script doesn't wait for it.
///   What has no JSON, such as `undefined`, becomes `null`; a value that can't be written, such as
///   `window`, throws.
/// - `larkaHost.onmessage = function(value) {...}` gets what PostMessageToPage() sends.
///
/// Documents that are there when this is enabled don't get the object; load the page again. Once it
/// is disabled no message comes or goes any more.
///
/// May be called before ILarkaBrowser::Initialize. Returns false for null, for a browser that was
/// shut down, and for an inspector.
LARKA_EXPORT bool EnableMessages(ILarkaBrowser* browser, bool enable);

/// Sends a message to the page, or to a child frame: calls its `larkaHost.onmessage` before it
/// returns. An exception there goes to ILarkaCallbacks::OnJavaScriptConsoleMessage.
///
/// - `json`: the message as JSON, in UTF-8. Any value: `1` and `"text"` are messages, too.
/// - `frame`: as for EvaluateScript().
///
/// Returns false if the text is no JSON, without such a frame, and if `larkaHost.onmessage` is no
/// function: messages don't wait for a page that is still loading. Have it post one when it is
/// ready. Also for null, for a browser that was shut down, and for an inspector.
LARKA_EXPORT bool PostMessageToPage(ILarkaBrowser* browser, const char* json,
                                    const char* frame = nullptr);

// Lists and colours.

/// An entry of a list.
struct ListEntry {
  std::string text;        ///< in UTF-8
  std::string group;       ///< the label of its group, in UTF-8; empty for none
  bool enabled = true;     ///< whether it can be chosen
  bool selected = false;   ///< whether it is chosen now
  bool separator = false;  ///< a line between entries, which can't be chosen
};

/// The list of a `select` that the viewer opens. (A `select` of several lines or choices is part of
/// the page and opens none. QtWebKit has no list for an `input` with suggestions.)
struct ListRequest {
  int id = 0;                      ///< for AnswerList(); never 0
  Rectangle control{};             ///< the `select`, as far as it is in the image
  std::vector<ListEntry> entries;  ///< in the order of the page, without hidden ones
};

/// Answers IExtraCallbacks::OnListOpened, in the call or at any time after it, and closes the list.
/// Page script then hears of the choice as of any other, unless the entry was chosen already.
///
/// - `id`: the list's.
/// - `index`: in ListRequest::entries, from 0; -1 if the viewer chose none.
///
/// Returns false, and changes nothing, if the list is closed already, if there is no such entry to
/// choose, and if the page has changed the entries since.
LARKA_EXPORT bool AnswerList(ILarkaBrowser* browser, int id, int index);

/// Closes the list that is part of the image, without a choice: for the "back" of a remote control.
/// Returns false if there is none.
LARKA_EXPORT bool CloseList(ILarkaBrowser* browser);

/// Returns whether a list is open in the image, where keys and the pointer reach it and not the
/// page.
LARKA_EXPORT bool IsListOpen(ILarkaBrowser* browser);

/// Answers IExtraCallbacks::OnColorOpened, in the call or at any time after it, and ends the
/// question.
///
/// - `color`: of the form "#rrggbb". Null if the viewer chose none.
///
/// Returns false if the question has ended, and for another text: then it goes on.
LARKA_EXPORT bool AnswerColor(ILarkaBrowser* browser, int id, const char* color);

// Text.

/// What an element that the viewer can write into is for. Later versions may add kinds.
enum TextKind {
  TEXT_NONE = 0,           ///< No such element has the focus.
  TEXT_PLAIN = 1,          ///< one line; also a date or a time, which QtWebKit takes for text
  TEXT_PASSWORD = 2,       ///< one line that nobody may see
  TEXT_NUMBER = 3,         ///< a number
  TEXT_EMAIL = 4,          ///< an e-mail address
  TEXT_ADDRESS = 5,        ///< an address in the network
  TEXT_SEARCH = 6,         ///< what to search for
  TEXT_TELEPHONE = 7,      ///< a telephone number
  TEXT_SEVERAL_LINES = 8,  ///< a `textarea`
  TEXT_RICH = 9            ///< an element with `contenteditable`, or a document in `designMode`
};

/// The element that the viewer writes into. Positions in its text count characters as Unicode does:
/// an emoji is one, an accent that stands by itself is another one. With TEXT_NONE everything else
/// is empty.
struct TextField {
  /// What it is for.
  TextKind kind = TEXT_NONE;
  /// The element's place in the image, also where that is out of view.
  Rectangle area{};
  /// The caret's place in the image, also where that is out of view. The same as `area` while text
  /// is selected: there is no caret then.
  Rectangle caret{};
  /// All of its text, in UTF-8, with a newline for each end of a line. That of a password is what
  /// was typed: it is the host that hides it. Rich text comes without its style. A number is empty
  /// as long as it isn't one, as after typing "-".
  std::string text;
  /// Where the selection begins, or the caret is.
  int selectionStart = 0;
  /// Where the selection ends; the same as `selectionStart` without one.
  int selectionEnd = 0;
  /// How many characters it takes, or -1 if there is no limit. Here a character counts with its
  /// accents, an emoji with those joined to it, and the end of a line as two.
  int maximumLength = -1;
  /// Whether it only shows its text, or is disabled.
  bool readOnly = false;
};

/// Returns the element that has the focus, in the page or in a frame, as it is now; of TEXT_NONE if
/// it isn't one to write into, or isn't displayed.
LARKA_EXPORT TextField GetTextField(ILarkaBrowser* browser);

/// Types a text at the caret, or in place of the selection. Each character, with its accents, is a
/// key of its own: the page gets `keydown`, `keypress`, `textInput`, `input` and `keyup`, and can
/// refuse it. `change` comes when the element loses the focus. All this happens before the function
/// returns.
///
/// - `text`: in UTF-8. A newline is the Return key, which sends the form of an element with one
///   line. A tab is a character and doesn't move the focus. Other control characters are left out.
///
/// When the focus moves on, the rest of the text is not typed. A character whose own `keydown`
/// moves it may still arrive at the new place, or be lost.
///
/// Returns false, and does nothing, for a null text, and if the viewer can't write: without such an
/// element, and where it is read-only or disabled.
LARKA_EXPORT bool InsertText(ILarkaBrowser* browser, const char* text);

/// Replaces the whole text: selects all of it, and types `text` as InsertText() does. An empty
/// `text` presses Backspace. Returns false as InsertText() does.
LARKA_EXPORT bool ReplaceText(ILarkaBrowser* browser, const char* text);

/// Presses Backspace `count` times. If text is selected, the first time deletes that; each other
/// time deletes the character before the caret, of a character with accents the last accent. Ends
/// at the beginning of the text. A `count` below 1 does nothing.
///
/// Returns false if the viewer can't write, as InsertText() does.
LARKA_EXPORT bool DeleteText(ILarkaBrowser* browser, int count);

// The image.

/// Lets the page's own background decide what is transparent: where neither `html` nor `body` has
/// one, nor anything over them, the image is. Its pixels are premultiplied with their alpha; text
/// is smoothed in shades of grey. That goes for every page, for about:blank and for the page of a
/// load that failed, too, until the next call. Without it a page without a background is white, or
/// as a host's palette says (see docs/integration.md).
///
/// May be called before ILarkaBrowser::Initialize, and at any time: the next pump repaints the
/// page. ILarkaBrowser::SaveBrowserImage still writes white there.
///
/// Returns false for null, for a browser that was shut down, and for an inspector.
LARKA_EXPORT bool SetTransparent(ILarkaBrowser* browser, bool transparent);

/// Sets the largest size of the image, in pixels, from 1 by 1 to 3840 by 2160. Without a call it is
/// 1280 by 720. Of a larger view the image has the top left; with a device pixel ratio that is a
/// part of the view as large as this size divided by the ratio.
///
/// May be called before ILarkaBrowser::Initialize. Returns false, and changes nothing, after the
/// first paint, for a size out of range, for null, for a browser that was shut down, and for an
/// inspector.
LARKA_EXPORT bool SetMaximumImageSize(ILarkaBrowser* browser, int width, int height);

/// Has the image follow ILarkaBrowser::Resize, up to its largest size. Without it the image keeps
/// the size of the first paint.
///
/// After a Resize the image stays as it is until a pump has painted a new one, whole. From then on
/// ILarkaBrowser::GetBrowserImage, ILarkaBrowser::GetBrowserStride and GetImageSize() return the
/// new one, and a notice follows with all of it as GetChangedRectangles(). The address of the old
/// one stays valid until every listener has had that ILarkaCallbacks::OnDirty; then it is freed.
/// While the view has no size, the last image stays.
///
/// May be called before ILarkaBrowser::Initialize, and at any time: an image that no longer fits
/// the view is then made new. Returns false for null, for a browser that was shut down, and for an
/// inspector.
LARKA_EXPORT bool SetImageFollowsResize(ILarkaBrowser* browser, bool follows);

/// The size of an image in pixels.
struct ImageSize {
  int width = 0;   ///< of a row
  int height = 0;  ///< the number of rows
};

/// Returns the size of the image that ILarkaBrowser::GetBrowserImage returns: of the page's or, in
/// full screen, of the plug-in's. 0 by 0 before the first paint, for null, for a browser that was
/// shut down, and for an inspector.
LARKA_EXPORT ImageSize GetImageSize(ILarkaBrowser* browser);

/// Brings the image up to date with the page, at once: it replaces what is stale after paints in
/// parts, which otherwise happens once the page has been at rest for 200 ms. If that changes
/// anything, ILarkaCallbacks::OnDirty is called before this returns. It costs as much as a paint of
/// the whole page. Before the first paint, and in full screen, it changes nothing.
///
/// Returns false in events that page script waits for, if an engine process doesn't answer, for
/// null, for a browser that was shut down, and for an inspector.
LARKA_EXPORT bool RefreshImage(ILarkaBrowser* browser);

/// Sets how many pixels of the image a pixel of the view is, in each direction: text and borders
/// get sharper, and the layout of the page stays. `ratio` is 1.0 to 3.0, with any fraction; without
/// a call it is 1.0. The image is as large as the view times the ratio, without the fraction of a
/// pixel, but no larger than its largest size: set that, too.
///
/// ILarkaBrowser and the handles of elements and plug-ins stay in pixels of the view. Positions and
/// rectangles of this file are in pixels of the image: those of the view times the ratio. A plug-in
/// in full screen has an image of its size times the ratio. The page finds the ratio, rounded up to
/// a whole number, in `window.devicePixelRatio` and `-webkit-device-pixel-ratio`, and `srcset` and
/// `image-set` choose pictures by it.
///
/// Whole numbers look best. With others the edge of a box may lie within a pixel and is blended
/// there; and until the page has come to rest, shadows, gradients and rows of pixels at the edge of
/// what scrolls may differ a little from what they become.
///
/// May be called before ILarkaBrowser::Initialize. Returns false, and changes nothing, after the
/// first paint, for a ratio out of range, for null, for a browser that was shut down, and for an
/// inspector.
LARKA_EXPORT bool SetDevicePixelRatio(ILarkaBrowser* browser, double ratio);

// The remote control.

/// Moves the keyboard focus to the nearest element in one direction, in the page and its frames,
/// and scrolls as little as it takes to show that. The page gets its events `blur` and `focus`. The
/// arrow keys do what they did before.
///
/// These can have the focus: links, also of image maps, controls, `summary`, `video` and `audio`
/// with `controls`, and elements with `tabindex` or `contenteditable`; if they are enabled and
/// visible, or scrolling by hand would show them. A negative `tabindex` keeps an element out.
///
/// - To the left and right an element in the same row comes first. Of the others only those count
///   that are rather ahead than aside; up and down all do.
/// - An element inside the one with the focus comes before all others.
/// - A list, a frame or whatever else scrolls in that direction is left at its end only. What stays
///   in its place while the page scrolls comes last, unless it has the focus already.
/// - Without a focus in view, the first element in view gets it, in the order of reading; the last
///   one for DIRECTION_UP and DIRECTION_LEFT. If none is in view, the nearest beyond it.
///
/// Returns false if there is none: focus and page stay as they are, and the host may scroll. Also
/// for null, for a browser that was shut down, and for an inspector. Page script that moves the
/// focus elsewhere, or takes it away, doesn't make it false.
///
/// While the list of a `select` is open in the image, this moves its highlight instead, and returns
/// true.
LARKA_EXPORT bool MoveFocus(ILarkaBrowser* browser, Directions direction);

/// Presses the element that has the focus, as OK of a remote control: a key that the page sees,
/// Return or, for a check box or a radio button, the space bar. It follows a link, presses a
/// button, opens the list of a `select`, chooses from an open one, and sends the form of a field.
///
/// Returns false if no element has the focus, for null, for a browser that was shut down, and for
/// an inspector.
LARKA_EXPORT bool PressFocused(ILarkaBrowser* browser);

/// Ends the full screen that page script asked for, as KEYCODE_ESCAPE does; for a remote control's
/// "back". Returns false if there is none, for null, for a browser that was shut down, and for an
/// inspector.
LARKA_EXPORT bool LeaveFullScreen(ILarkaBrowser* browser);

// Plug-ins.

/// Where a plug-in is in the image.
struct PluginPlace {
  Rectangle area{};     ///< all of the element, also where it is out of view
  Rectangle visible{};  ///< what is seen of it; 0 wide and high if that is nothing
};

/// Returns where QtWebKit last painted a plug-in. Frames, and boxes around it that scroll or clip,
/// hide parts of it; elements drawn over it don't count. A box that the plug-in's frame is in
/// doesn't count either. Ask after each ILarkaCallbacks::OnDirty. For an empty handle all is 0.
LARKA_EXPORT PluginPlace GetPluginPlace(ILarkaBrowser* browser, LarkaPluginWidget* plugin);

// Certificates.

/// Has the page's load fail, with LOAD_CERTIFICATE, if the certificate of a server is not valid;
/// anything else with such a certificate, such as a picture or a frame, is left out of the page.
/// ILarkaCallbacks::OnRequestError comes all the same. Without it such loads go on, as in release
/// 1.0.
///
/// It counts for requests from then on, also to servers that there is a connection with. What is in
/// a cache has been loaded already. The certificates that are trusted are those of the system
/// (`ca-certificates` on Debian).
///
/// May be called before ILarkaBrowser::Initialize. Returns false for null, for a browser that was
/// shut down, and for an inspector.
LARKA_EXPORT bool SetCertificateChecks(ILarkaBrowser* browser, bool check);

/// Accepts the certificate that made the last load fail (see GetLoadError()), for the viewer who
/// wants to go on regardless: for the same host and port, in this browser, until it is destroyed.
/// Load the address again then. Another certificate of the same server fails as before.
///
/// Returns false if LoadError::certificateErrors of that load is 0. Also for null, for a browser
/// that was shut down, and for an inspector.
LARKA_EXPORT bool AcceptCertificate(ILarkaBrowser* browser);

// Video.

/// Hands the `video` and `audio` elements of the page and its frames to the host, from the next
/// page on. QtWebKit then loads and plays nothing, and the image is transparent in the place of a
/// video, below what the page has above it. The host's player belongs there.
///
/// - `types`: the types that the host plays, such as "video/mp4 audio/mpeg", with spaces between
///   them. Null or empty if it shall try all: what begins with "video/" or "audio/", and what film
///   is streamed as. Page script asks for them with `canPlayType`, and they decide which `source`
///   of an element is taken.
///
/// Each element is like a plug-in: ILarkaCallbacks::OnPluginCreated,
/// ILarkaBrowser::GetPluginWidgets, ILarkaCallbacks::OnPluginDirty and all of LarkaPluginWidget
/// work for it, with the tag name "VIDEO" or "AUDIO". One that isn't in the document, such as
/// `new Audio(address)`, is announced when script plays it, up to 16 of a frame at a time. At most
/// 256 elements of a page are announced. IExtraCallbacks::OnMediaRequest says what the page wants
/// of each, and ReportMedia() tells the page what its player does.
///
/// A video that has `opacity`, or is in an element that has some, isn't transparent: the page's
/// background shows there. A page can't draw the picture of a video into a canvas.
///
/// May be called before ILarkaBrowser::Initialize. Returns false for null, for a browser that was
/// shut down, and for an inspector.
LARKA_EXPORT bool SetMediaHandedOver(ILarkaBrowser* browser, bool handedOver,
                                     const char* types = nullptr);

/// What a page wants of a player of the host's. Later versions may add some. Volume and rate stay
/// when it opens another film.
enum MediaAction {
  MEDIA_OPEN = 1,    ///< Load what GetMediaAddress() says, or nothing if that is empty; be paused.
  MEDIA_PLAY = 2,    ///< Play, as soon as there is enough.
  MEDIA_PAUSE = 3,   ///< Stop where it is.
  MEDIA_SEEK = 4,    ///< Go to `value`, in seconds from the start.
  MEDIA_VOLUME = 5,  ///< Be as loud as `value`, from 0 to 1. A player begins with 1.
  MEDIA_RATE = 6,    ///< Play `value` times as fast. A player begins with 1.
  MEDIA_CLOSE = 7  ///< The element or its page is gone. No longer listed; its user data are there.
};

/// Returns what a `video` or `audio` element is to play: an absolute URL in UTF-8, of its attribute
/// `src` or of its first `source` that the host plays. Empty if there is none, and for any other
/// plug-in. `poster` and other attributes are as the page writes them.
LARKA_EXPORT std::string GetMediaAddress(LarkaPluginWidget* player);

/// What a player does.
enum MediaStatus {
  MEDIA_LOADING = 0,  ///< It knows nothing of the film yet.
  MEDIA_PAUSED = 1,   ///< It could play.
  MEDIA_PLAYING = 2,  ///< It does.
  MEDIA_WAITING = 3,  ///< It would play, but waits for data.
  MEDIA_ENDED = 4,    ///< It has come to the end.
  MEDIA_FAILED = 5    ///< It can't play this.
};

/// What a host tells a page of its player.
struct MediaReport {
  MediaStatus status = MEDIA_LOADING;  ///< what it does
  double time = 0;                     ///< where it is, in seconds from the start
  double duration = 0;                 ///< of the film, in seconds; 0 if unknown, infinity if live
  int width = 0;                       ///< of the film's picture, in pixels; 0 if unknown
  int height = 0;                      ///< the same
};

/// Reports to the page how a player of a `video` or `audio` element is doing: its properties, such
/// as `paused` and `currentTime`, follow, and it gets the events of a film, such as `playing` and
/// `ended`. Report each change of the status at once, and the time about four times a second while
/// it plays. A film that is paused or played by the viewer is reported in the same way.
///
/// A video to which the page gives no size gets that of the picture, or its proportions.
///
/// Returns false without such an element, and once its page has been left.
LARKA_EXPORT bool ReportMedia(LarkaPluginWidget* player, const MediaReport& report);

// The engine process.

/// What has become of the engine process: with the argument `--engine-process`,
/// BrowserManager::Initialize has QtWebKit run in a process of its own. Later versions may add
/// states.
enum EngineState {
  ENGINE_ANSWERS = 0,  ///< It answers again, or a new one has started.
  ENGINE_SILENT = 1,   ///< It doesn't answer: calls return at once, with empty results.
  ENGINE_ENDED = 2,    ///< It has ended, with what listeners had open, and a new one is starting.
  ENGINE_STOPPED = 3   ///< It has ended, and loads fail until RestartEngine() starts another one.
};

/// How hosts want their engine processes.
struct EngineSettings {
  /// How long BrowserManager::Initialize waits for the process to start, in milliseconds. With 0 it
  /// doesn't, and several managers start theirs at once; IExtraCallbacks::OnEngineState tells when
  /// one has. Before that, calls with a result return an empty one; the others are done then.
  int startLimit = 10000;
  /// How long a call waits for the answer, in milliseconds.
  int answerLimit = 2000;
  /// Ends a process that has been ENGINE_SILENT for so many milliseconds; 0 for never.
  int endAfter = 0;
  /// How much memory pages may use in a process, in bytes; 0 for no limit. A process that needs
  /// more ends.
  long long memoryLimit = 0;
  /// Whether a new process loads the pages of the one before.
  bool reload = true;
  /// The directories that pages may write into, besides Larka's own, in the file system's encoding:
  /// those of cookie files, disk caches and local storage. Each is made if it is missing. Without
  /// any they are those that the browsers have been given by the first load of a process: what a
  /// browser is given later can only be read.
  std::vector<std::string> directories;
};

/// Sets how engine processes are to be: those that are there and those to come. Call it on the
/// thread of BrowserManager::Initialize, or before that.
LARKA_EXPORT void SetEngineSettings(const EngineSettings& settings);

/// Ends the engine process of a manager at once, whatever it is doing, as if it had crashed: a new
/// one is started. Returns false if the manager has none.
LARKA_EXPORT bool EndEngine(BrowserManager* manager);

/// Starts an engine process for a manager whose process was ENGINE_STOPPED. Returns false for any
/// other manager.
LARKA_EXPORT bool RestartEngine(BrowserManager* manager);

// More events.

/// A listener to the events that release 1.0 has no room for. Everything that ILarkaCallbacks says
/// about ownership, order and what a listener may do holds here, too. Each body is empty: override
/// what you need.
class LARKA_EXPORT IExtraCallbacks {
 public:
  virtual ~IExtraCallbacks();

  /// Page script sent a message; see EnableMessages(). `json` is the value. `address` is that of
  /// the document that sent it, as it was loaded, and says whom to trust: any frame may send
  /// anything, an advertisement too. Both are UTF-8 and valid during the call. A frame without an
  /// address of its own has "about:blank" or "about:srcdoc".
  virtual void OnMessage(ILarkaBrowser* browser, const char* json, const char* address);

  /// The viewer opens a list, with the pointer or a key. Return true to show it yourself: then
  /// answer with AnswerList(), now or later; the page doesn't wait, and gets the keys and the
  /// pointer meanwhile. The first listener that returns true has the list. If none does, the list
  /// becomes part of the page image, where keys and pointer reach it. `list` is valid during the
  /// call.
  virtual bool OnListOpened(ILarkaBrowser* browser, const ListRequest& list);

  /// The list that you show has closed without an answer: the page was left, or it removed, hid or
  /// disabled the `select`, scrolled it out of view or took the focus from it. If the page changes
  /// the entries, OnListOpened() follows with the new ones. Not called after AnswerList() has
  /// closed the list.
  virtual void OnListClosed(ILarkaBrowser* browser, int id);

  /// The viewer activates an `input` for a colour. Return true to ask for one: then answer with
  /// AnswerColor(), now or later; the page doesn't wait. If no listener does, the colour stays.
  ///
  /// - `id`: for AnswerColor(); never 0.
  /// - `control`: the `input`, as far as it is in the image; of no size if it isn't.
  /// - `color`: the present one, of the form "#rrggbb"; valid during the call.
  virtual bool OnColorOpened(ILarkaBrowser* browser, int id, const Rectangle& control,
                             const char* color);

  /// The question for a colour has ended without an answer: the page was left, it removed or
  /// disabled the `input`, or the viewer activated another one.
  virtual void OnColorClosed(ILarkaBrowser* browser, int id);

  /// An element that the viewer can write into got the focus or lost it (TEXT_NONE), or its text,
  /// selection, caret, kind or place changed: `field` has changed since the last call, and is valid
  /// during this one.
  ///
  /// It comes once for all that the host's call changed, before that call returns: for moves of the
  /// focus and the caret, and for typing. What script and scrolling change comes after the OnDirty
  /// that shows it; in a browser without a size nobody sees it, and it doesn't come.
  ///
  /// The first listener also gets the element that has the focus when it is added. Further ones can
  /// ask GetTextField().
  virtual void OnTextField(ILarkaBrowser* browser, const TextField& field);

  /// The page wants something of the player of a `video` or `audio` element, which
  /// ILarkaCallbacks::OnPluginCreated has announced; see SetMediaHandedOver(). `player` is valid
  /// during the call, copies of it for longer. `value` is 0 unless MediaAction says what it is.
  ///
  /// The first action is MEDIA_OPEN, as soon as the element has an address. The last one is
  /// MEDIA_CLOSE, unless the browser is destroyed. The element is no longer listed then, and the
  /// handle may be empty, but has the host's user data. An element that comes back is announced
  /// again, with another handle.
  virtual void OnMediaRequest(ILarkaBrowser* browser, LarkaPluginWidget* player, MediaAction action,
                              double value);

  /// The engine process doesn't answer, answers again, has ended, or was started. Each browser
  /// calls its listeners. After ENGINE_ENDED and ENGINE_STOPPED the page image stays as it was.
  virtual void OnEngineState(ILarkaBrowser* browser, EngineState state);
};

/// Adds a listener, as ILarkaBrowser::AddListener does. Leave `version` as it is: it says which
/// operations the host's class has. Does nothing for null, for a browser that was shut down, and
/// for an inspector.
LARKA_EXPORT void AddExtraListener(ILarkaBrowser* browser, IExtraCallbacks* listener,
                                   int version = LARKA_VERSION);

/// Removes a listener, as ILarkaBrowser::RemoveListener does.
LARKA_EXPORT void RemoveExtraListener(ILarkaBrowser* browser, IExtraCallbacks* listener);

}  // namespace LARKA
