#!/bin/sh
# The README shows the minimal host as it is, and the guide parts of the careful one.
#
#   readme_test.sh SOURCE
set -eu
shown() { awk '/^```cpp$/ { show = 1; next } /^```$/ { show = 0 } show' "$1"; }
shown "$1/README.md" | diff - "$1/examples/minimal-host.cpp"
if shown "$1/docs/integration.md" | diff -d - "$1/examples/careful-host.cpp" | grep '^<'; then exit 1; fi
