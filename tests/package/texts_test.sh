#!/bin/sh
# The README shows the minimal host as it is, and the manual page has the options that --help has.
#
#   texts_test.sh SOURCE LARKA_SHOT MANUAL
set -eu
awk '/^```cpp$/ { show = 1; next } /^```$/ { show = 0 } show' "$1/README.md" |
  diff - "$1/examples/minimal-host.cpp"
of_help=$("$2" --help | grep -oE '^ +(-[a-z], )?--[a-z-]+' | grep -oE '\--[a-z-]+' | sort -u)
of_manual=$(sed 's/\\-/-/g' "$3" | grep -A1 '^\.TP' | grep -oE '(^| )--[a-z-]+' | tr -d ' ' | sort -u)
[ -n "$of_help" ]
[ "$of_help" = "$of_manual" ] || {
  echo "--help has:" "$of_help" "the manual page has:" "$of_manual"
  exit 1
}
