#!/bin/sh
# Builds the 32-bit library and programs, on a 32-bit or a 64-bit machine.
set -u
. "$(dirname "$0")/setup.sh"
help_if_asked "$@"
[ $# -eq 0 ] || fail "usage: scripts/build-i486.sh"
cd "$(dirname "$0")/.." || exit 1

scripts/in-i486.sh sh -uc '. scripts/setup.sh; ensure_packages $build_packages; build_preset release' \
  build-i486.sh || exit 1
build=build
[ "$(dpkg --print-architecture)" = i386 ] || build=build/i486
file=$build/release/src/liblarkabrowser-i486-linux.so.0
[ -f "$file" ] || fail "no $file was built"
echo "Built $file."
