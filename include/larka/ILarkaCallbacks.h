// ILarkaCallbacks.h: what a browser tells its host, and asks it.
#pragma once

#include <string>

#include "larka/Export.h"

namespace LARKA {

class ILarkaBrowser;
class LarkaHTMLControl;
class LarkaPluginWidget;

/// A listener to one or more browsers. The host implements it, registers it with
/// ILarkaBrowser::AddListener and keeps ownership: it must outlive its registration. A host that
/// wants only some of the events derives from CallbacksAdapter instead.
///
/// Every operation is called on the thread that pumps events, on every registered listener in the
/// order of registration, once for each time it is registered. The listeners of an event are those
/// registered when it began: one that is added or removed by a listener takes part from the next
/// event on.
///
/// A listener may do anything: call any operation of any browser, pump, destroy the browser that
/// calls it. Events come one after another, in order: at the end of the host's call that caused
/// them, or while the host pumps. What a listener causes is an event of its own, after the present
/// one. Page script waits for some events: alert, confirm, prompt, file chooser, OnExecuteInLarka.
/// In those, loading, stopping, history and destroying the browser take effect once the script has
/// ended, and so do the events that they cause.
///
/// Text arguments are NUL-terminated UTF-8 and valid only during the call; returned text is UTF-8.
/// The order of the operations is part of the binary interface.
class LARKA_EXPORT ILarkaCallbacks {
 public:
  virtual ~ILarkaCallbacks();

  /// A page load has begun.
  virtual void OnLoadStarted() = 0;

  /// A page load has ended. `ok` is false when the page could not be loaded or was stopped; the
  /// browser then shows an empty page titled "Failed loading page", or what it had received. A load
  /// that another one replaces ends so before the other begins. The loads of child frames begin and
  /// end too, if they begin after the page's own has ended; theirs always end with true.
  virtual void OnLoadFinished(bool ok) = 0;

  /// A page load has come to `percent` of 100.
  virtual void OnLoadProgress(int percent) = 0;

  /// The page asked to be printed. Nothing is printed.
  virtual void OnPrintRequested() = 0;

  /// The page asked for a download. Nothing is downloaded. Return false to keep the event from the
  /// listeners after this one.
  virtual bool OnDownloadRequested() = 0;

  /// The page's title changed. At the beginning of each load, and when the page goes elsewhere
  /// within itself (`#there`), the text is empty; after the latter ILarkaBrowser::GetTitle has the
  /// title that stays.
  virtual void OnTitleChanged(const char* title) = 0;

  /// The page set the text of a status bar.
  virtual void OnStatusBarMessage(const char* text) = 0;

  /// The page is about to navigate, or asks for a new window, because of a link, a form, the
  /// history or a reload; never because of a script or of ILarkaBrowser::Navigate. A notice only:
  /// it can't be refused.
  virtual void OnAcceptNavigationRequest() = 0;

  /// The page asked for another window size, in pixels. Nothing is resized.
  virtual void OnGeometryChangeRequested(int width, int height) = 0;

  /// A network request for `url` is being created: the page itself, or anything it needs.
  virtual void OnCreatingRequest(const char* url) = 0;

  /// The address of the page changed.
  virtual void OnUrlChanged(const char* url) = 0;

  /// ILarkaBrowser::MouseClick was carried out on the element that `control` describes, or on none
  /// (an empty handle). The reference is valid only during the call; a copy of the handle may be
  /// kept.
  virtual void OnMouseClick(LarkaHTMLControl& control) = 0;

  /// The page has a new plug-in: see LarkaPluginWidget for what is one. Called once for each, after
  /// it has been laid out, so that the handle tells its place; in the order of their creation,
  /// those of the page as it arrived before OnLoadFinished. The pointer is valid only during the
  /// call; a copy of the handle may be kept. Where a plug-in goes from there, by script or as the
  /// page goes on loading, is not told: ask the handle.
  virtual void OnPluginCreated(LarkaPluginWidget* plugin) = 0;

  /// The part of the page image where `plugin` lies was repainted. Called right after this
  /// listener's OnDirty, once for each such plug-in. The pointer is valid only during the call.
  virtual void OnPluginDirty(LarkaPluginWidget* plugin) = 0;

  /// Page script sent `command` to the host, with `larka.exec` or `larka.exec2`; the command ends
  /// at its first NUL. The script waits until the last listener returns; to exec2 it is that
  /// listener's answer that counts. Unlike all other texts an answer is Latin-1 (of UTF-8 script
  /// gets each byte as a character), and it ends at its first NUL too.
  virtual std::string OnExecuteInLarka(const char* command) = 0;

  /// The page image of `browser` changed: read it with ILarkaBrowser::GetBrowserImage, here or
  /// before the host next pumps events. Never called from inside painting.
  virtual void OnDirty(ILarkaBrowser* browser) = 0;

  /// The page asked for a new window for `url`, by a link or a form with a target or by script;
  /// only what a viewer does can make it ask. The address is absolute. It is empty when the page
  /// gave none, and when it is script itself or one that the engine keeps the page from, as a file
  /// is for a page from the network; one that can't be read as an address is not told at all. No
  /// window is ever opened; loading the address is up to the host. `modal` is true for a modal
  /// dialog.
  virtual void OnCreateWindow(bool modal, const char* url) = 0;

  /// The page asks for a file to upload, suggesting one. The answer of the first listener is final:
  /// a path, or the empty text for none. It is one file even where the page would take several.
  virtual std::string OnChooseFile(const char* suggestedFile) = 0;

  /// Page script shows a message. The script waits until the last listener returns.
  virtual void OnJavaScriptAlert(const char* message) = 0;

  /// Page script asks a yes-or-no question. The first listener that returns true answers "yes" and
  /// the rest are not asked; with none the answer is "no". A page that does not want to be left
  /// asks so too; "no" then keeps it and no load is begun.
  virtual bool OnJavaScriptConfirm(const char* message) = 0;

  /// Page script asks for a text. A listener that sets `*handled` to true answers with what it
  /// returns, and the rest are not asked; with none the question counts as cancelled.
  virtual std::string OnJavaScriptPrompt(const char* message, const char* defaultValue,
                                         bool* handled) = 0;

  /// Page script, or the engine, wrote to the console: the message, the line (from 1, 0 when
  /// unknown) and the address of the script.
  virtual void OnJavaScriptConsoleMessage(const char* message, int lineNumber,
                                          const char* sourceId) = 0;

  /// The pointer entered a link (true) or left it (false).
  virtual void OnLinkHovered(bool hovering) = 0;

  /// A request met certificate errors. The load goes on regardless.
  virtual void OnRequestError() = 0;
};

}  // namespace LARKA
