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

#include "larka/Export.h"

namespace LARKA {

class ILarkaBrowser;

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

/// How a load ended.
struct LoadError {
  LoadErrorKind kind = LOAD_OK;  ///< why
  int httpStatus = 0;            ///< 0 unless the server answered with an error
  std::string address;           ///< that failed, after redirections; empty if the load was aborted
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
/// policy forbids `eval`. A page that replaced `eval` or `JSON` decides what comes out, but does no
/// other harm: the JSON is then any text.
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

}  // namespace LARKA
