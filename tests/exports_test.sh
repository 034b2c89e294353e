#!/bin/sh
# The library exports the names of the namespace LARKA and of the public classes outside it, and no
# others.
set -eu
symbols=$(nm -DC --defined-only "$1")
for expected in 'LARKA::BrowserManager::Initialize(int, char\*\*)' \
  'LARKA::SetStorageLimits(long long, long long)' 'typeinfo for LARKA::LarkaHTMLControl' 'vtable for LARKA::LarkaWidget' \
  'PannableView::posChanged(QRectF const&)' 'RepaintCollector::staticMetaObject' \
  'LarkaSystemInfoJavaScriptObject::vendor() const'; do
  echo "$symbols" | grep -q "$expected" || {
    echo "not exported: $expected"
    exit 1
  }
done
public='(LARKA|PannableView|RepaintCollector|LarkaSystemInfoJavaScriptObject)(::|$)'
if echo "$symbols" | grep -vE " (typeinfo (name )?for |vtable for |non-virtual thunk to )?$public"; then
  echo "exported, but not public (see above)"
  exit 1
fi
if echo "$symbols" | grep -E 'LarkaBrowser::|Private::|WebPage|HostCalls'; then
  echo "internal, but exported (see above)"
  exit 1
fi
