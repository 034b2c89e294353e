// LarkaPluginWidget.h: a handle to one plug-in element of a page.
#pragma once

#include "larka/Export.h"

namespace LARKA {

class LarkaPluginWidgetPrivate;

/// A handle to one plug-in element (`embed` or `object`) of a page, whose content the host draws or
/// plays itself. Handed to the host by pointer during a call, or by value from
/// ILarkaBrowser::GetPluginWidgets.
///
/// Copies are cheap and share one record, which lives as long as any copy of the handle. A handle
/// does not follow its page: once the page has been left it stays safe to use and describes
/// nothing. Use, copy and destroy handles only on the thread that pumps events.
class LARKA_EXPORT LarkaPluginWidget {
 public:
  /// A handle to no element.
  LarkaPluginWidget();

  /// Wraps a record of the library. With `adopt` the handle takes over the caller's reference,
  /// otherwise it adds one of its own. Not useful to a host: the record's type is internal.
  LarkaPluginWidget(LarkaPluginWidgetPrivate* d, bool adopt);

  LarkaPluginWidget(const LarkaPluginWidget& other);
  LarkaPluginWidget& operator=(const LarkaPluginWidget& other);
  virtual ~LarkaPluginWidget();

 private:
  LarkaPluginWidgetPrivate* d;
};

}  // namespace LARKA
