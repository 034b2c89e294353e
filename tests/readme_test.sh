#!/bin/sh
# The README shows the minimal host as it is.
set -eu
cd "$(dirname "$0")/.."
awk '/^```cpp$/ { show = 1; next } /^```$/ { show = 0 } show' README.md | diff - examples/minimal-host.cpp
