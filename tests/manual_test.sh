#!/bin/sh
# The manual page has the options that --help has, no more and no less.
#
#   manual_test.sh LARKA_SHOT MANUAL
set -eu
of_help=$("$1" --help | grep -oE '^ +(-[a-z], )?--[a-z-]+' | grep -oE '\--[a-z-]+' | sort -u)
of_manual=$(sed 's/\\-/-/g' "$2" | grep -A1 '^\.TP' | grep -oE '(^| )--[a-z-]+' | tr -d ' ' | sort -u)
[ "$of_help" = "$of_manual" ] || {
  echo "--help has:"; echo "$of_help"
  echo "the manual page has:"; echo "$of_manual"
  exit 1
}
