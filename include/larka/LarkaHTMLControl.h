// LarkaHTMLControl.h: a handle to one element of a page.
#pragma once

#include "larka/Export.h"

namespace LARKA {

class LarkaHTMLControlPrivate;

/// A handle to one element of a page, made by the library and handed to the host by value, by
/// reference or (from ILarkaBrowser::GetControls) as a heap object that the host deletes.
///
/// Copies are cheap and share one record, which lives as long as any copy of the handle. A handle
/// does not follow its page: once the page has been left it stays safe to use and describes
/// nothing. Use, copy and destroy handles only on the thread that pumps events.
class LARKA_EXPORT LarkaHTMLControl {
 public:
  /// A handle to no element.
  LarkaHTMLControl();

  /// Wraps a record of the library. With `adopt` the handle takes over the caller's reference,
  /// otherwise it adds one of its own. Not useful to a host: the record's type is internal.
  LarkaHTMLControl(LarkaHTMLControlPrivate* d, bool adopt);

  LarkaHTMLControl(const LarkaHTMLControl& other);
  LarkaHTMLControl& operator=(const LarkaHTMLControl& other);
  virtual ~LarkaHTMLControl();

 private:
  LarkaHTMLControlPrivate* d;
};

}  // namespace LARKA
