// SPDX-License-Identifier: MIT
/// @file
/// What a listener hears of its browsers.
#pragma once

#include <string>

#include "larka/Export.h"

namespace LARKA {

class ILarkaBrowser;
class LarkaHTMLControl;
class LarkaPluginWidget;

/// A listener to the events and questions of one or more browsers.
///
/// The host implements it, registers it with ILarkaBrowser::AddListener and keeps ownership: a
/// listener must outlive its registration. A host that wants only some of the events derives from
/// CallbacksAdapter instead.
///
/// The library calls every operation on the thread that pumps events, on all registered listeners
/// in the order of registration, once for each time a listener is registered. A listener that is
/// added or removed during an event takes part from the next event on.
///
/// A listener may do anything: call any operation of any browser, pump, destroy the browser that
/// calls it. Events arrive one at a time and in order, at the end of the host's call that caused
/// them or while the host pumps. What a listener causes becomes an event of its own, after the
/// current one.
///
/// Page script waits for some events: OnJavaScriptAlert(), OnJavaScriptConfirm(),
/// OnJavaScriptPrompt(), OnChooseFile() and OnExecuteInLarka(). During those, operations that load,
/// stop, go through the history or destroy the browser take effect once the script has ended, and
/// so do the events that they cause.
///
/// String arguments are NUL-terminated UTF-8, valid only during the call. Returned strings are
/// UTF-8.
///
/// The order of the operations is part of the binary interface, and is not by theme. By theme:
/// - loading: OnLoadStarted(), OnLoadProgress(), OnLoadFinished(), OnCreatingRequest(),
///   OnRequestError()
/// - the page: OnTitleChanged(), OnUrlChanged(), OnJavaScriptConsoleMessage()
/// - the page image: OnDirty()
/// - plug-ins: OnPluginCreated(), OnPluginDirty()
/// - the pointer: OnMouseClick(), OnLinkHovered()
/// - questions: OnJavaScriptAlert(), OnJavaScriptConfirm(), OnJavaScriptPrompt(), OnChooseFile(),
///   OnExecuteInLarka()
/// - notices of what the page wants: OnAcceptNavigationRequest(), OnCreateWindow()
/// - kept for the contract, but never called by this version: OnPrintRequested(),
///   OnDownloadRequested(), OnStatusBarMessage(), OnGeometryChangeRequested()
class LARKA_EXPORT ILarkaCallbacks {
 public:
  virtual ~ILarkaCallbacks();

  /// A page load has begun.
  virtual void OnLoadStarted() = 0;

  /// A page load has ended. `ok` is false if the page could not be loaded or was stopped.
  ///
  /// After a failure the browser shows a page titled "Failed loading page". After
  /// ILarkaBrowser::Stop it shows what has arrived of the new page. If that is nothing, or less
  /// than about 512 bytes, the previous page stays with its address and title (on a first load an
  /// empty page without an address): ILarkaBrowser::GetCurrentLocation tells which page it is.
  ///
  /// A page that the server sends with an error, such as 404 or 500, is a page like any other: `ok`
  /// is true. An error without a page is a failure.
  ///
  /// If another load replaces this one, this call comes, with false, before OnLoadStarted() for the
  /// other. Child frames that begin to load after the page has loaded cause OnLoadStarted() and
  /// OnLoadFinished() too, always with true.
  virtual void OnLoadFinished(bool ok) = 0;

  /// A page load is `percent` complete, from 0 to 100.
  virtual void OnLoadProgress(int percent) = 0;

  /// The page asked to be printed. Nothing is printed. Not called by this version.
  virtual void OnPrintRequested() = 0;

  /// The page asked for a download. Nothing is downloaded. Return false to keep the event from the
  /// listeners after this one. Not called by this version.
  virtual bool OnDownloadRequested() = 0;

  /// The page's title changed. `title` is empty at the start of each load, and when the page moves
  /// within itself (`#there`); the title stays in the latter case, and ILarkaBrowser::GetTitle
  /// returns it.
  virtual void OnTitleChanged(const char* title) = 0;

  /// The page set the text of a status bar. Not called by this version.
  virtual void OnStatusBarMessage(const char* text) = 0;

  /// The page is about to navigate, or asks for a new window, because of a link, a form, the
  /// history or a reload, never because of a script or ILarkaBrowser::Navigate.
  ///
  /// This is a notice: despite its name it has no answer, and no address. ILarkaBrowser::Stop in it
  /// keeps the page, wherever it was about to go. OnUrlChanged() has the address of the page that
  /// came instead.
  virtual void OnAcceptNavigationRequest() = 0;

  /// The page asked for another window size, in pixels. Nothing is resized. Not called by this
  /// version.
  virtual void OnGeometryChangeRequested(int width, int height) = 0;

  /// The browser is about to request `url`: the page itself, or anything it needs.
  virtual void OnCreatingRequest(const char* url) = 0;

  /// The address of the page changed. Comes a second time, with the same address, for a page that
  /// has no title, such as most `data:` addresses: compare with the last one.
  virtual void OnUrlChanged(const char* url) = 0;

  /// ILarkaBrowser::MouseClick clicked the element `control`, or no element (an empty handle). The
  /// reference is valid only during the call; you may keep a copy of the handle. Not called for the
  /// click that ends the open list of a `select`.
  virtual void OnMouseClick(LarkaHTMLControl& control) = 0;

  /// The page has a new plug-in; see LarkaPluginWidget for what counts as one. Called once for each
  /// plug-in, in the order of creation, after it has been laid out, so that the handle has its
  /// position. Plug-ins of the page as it arrived are announced before OnLoadFinished().
  ///
  /// The pointer is valid only during the call; you may keep a copy of the handle. No event reports
  /// that a plug-in moves later, through script or further loading: ask the handle.
  virtual void OnPluginCreated(LarkaPluginWidget* plugin) = 0;

  /// The part of the page image where `plugin` lies was repainted. Called right after this
  /// listener's OnDirty(), once for each such plug-in. The pointer is valid only during the call.
  virtual void OnPluginDirty(LarkaPluginWidget* plugin) = 0;

  /// Page script sent `command` to the host with `larka.exec` or `larka.exec2`, and waits until the
  /// last listener returns. The command ends at its first NUL.
  ///
  /// exec2 returns the last listener's answer, up to its first NUL; exec ignores it. The answer is
  /// Latin-1, unlike all other strings: if it is UTF-8, script gets each byte as a character.
  virtual std::string OnExecuteInLarka(const char* command) = 0;

  /// The page image of `browser` changed. Read it with ILarkaBrowser::GetBrowserImage, here or
  /// before pumping events again. Never called from inside painting. GetChangedRectangles() says
  /// which parts changed.
  virtual void OnDirty(ILarkaBrowser* browser) = 0;

  /// The page asked for a new window, through a link or form with a target or through script, in
  /// response to something that the viewer did. No window is opened; loading `url` is up to the
  /// host. `modal` is true for a modal dialog.
  ///
  /// `url` is absolute. It is empty if the page gave no URL, a `javascript:` URL, or one that
  /// QtWebKit blocks, such as a file for a page from the network. A URL that can't be parsed is not
  /// reported at all.
  virtual void OnCreateWindow(bool modal, const char* url) = 0;

  /// The page asks for a file to upload and suggests one. Return a path, or an empty string for
  /// none; the first listener's answer is final. It is one file even if the page accepts several.
  virtual std::string OnChooseFile(const char* suggestedFile) = 0;

  /// Page script shows a message, and waits until the last listener returns.
  virtual void OnJavaScriptAlert(const char* message) = 0;

  /// Page script asks a yes-or-no question. The first listener that returns true answers "yes", and
  /// the rest are not asked; if none does, the answer is "no". A page that asks whether it may be
  /// left also calls this; "no" then keeps the page, and no load begins.
  virtual bool OnJavaScriptConfirm(const char* message) = 0;

  /// Page script asks for a text. The first listener that sets `*handled` to true answers with the
  /// string it returns, and the rest are not asked; if none does, the question is cancelled.
  virtual std::string OnJavaScriptPrompt(const char* message, const char* defaultValue,
                                         bool* handled) = 0;

  /// Page script, or QtWebKit itself, wrote a message to the console. `lineNumber` counts from 1
  /// and is 0 if unknown; `sourceId` is the address of the script.
  virtual void OnJavaScriptConsoleMessage(const char* message, int lineNumber,
                                          const char* sourceId) = 0;

  /// The pointer entered a link (true) or left it (false).
  virtual void OnLinkHovered(bool hovering) = 0;

  /// A request met certificate errors. The load goes on regardless, unless SetCertificateChecks()
  /// has it fail.
  virtual void OnRequestError() = 0;
};

}  // namespace LARKA
