#!/bin/sh
# The README shows the minimal host as it is.
#
#   readme_test.sh SOURCE
set -eu
awk '/^```cpp$/ { show = 1; next } /^```$/ { show = 0 } show' "$1/README.md" |
  diff - "$1/examples/minimal-host.cpp"
