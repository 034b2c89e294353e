#!/bin/sh
# Sets everything up on Debian 12, builds, and runs every test.
#
#   scripts/test.sh            the developers' build
#   scripts/test.sh --asan     the build with AddressSanitizer and UndefinedBehaviorSanitizer
set -u
. "$(dirname "$0")/setup.sh"
preset=dev
case "${1:-}" in
  "") ;;
  --asan) preset=asan ;;
  *) fail "usage: scripts/test.sh [--asan]" ;;
esac
[ $# -le 1 ] || fail "usage: scripts/test.sh [--asan]"
cd "$(dirname "$0")/.." || exit 1

# shellcheck disable=SC2086
ensure_packages $build_packages $test_packages
build_preset "$preset"
exec ctest --preset "$preset" -j "$(nproc)"
