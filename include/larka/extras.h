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

}  // namespace LARKA
