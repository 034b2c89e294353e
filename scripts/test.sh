#!/bin/sh
# Sets everything up on Debian 12, builds, and runs every test.
#
#   scripts/test.sh            the developers' build
#   scripts/test.sh --asan     the build with AddressSanitizer and UndefinedBehaviorSanitizer
#   scripts/test.sh --i486     the developers' build in 32-bit, on a 64-bit machine
set -u
. "$(dirname "$0")/setup.sh"
help_if_asked "$@"
usage="usage: scripts/test.sh [--asan|--i486]"
[ $# -le 1 ] || fail "$usage"
cd "$(dirname "$0")/.." || exit 1
preset=dev
case "${1:-}" in
  "") ;;
  --asan) preset=asan ;;
  --i486) exec scripts/in-i486.sh scripts/test.sh ;;
  *) fail "$usage" ;;
esac

# shellcheck disable=SC2086
ensure_packages $build_packages $test_packages $docs_packages
if [ "$preset" = dev ]; then
  # First, so that a changed interface isn't hidden among other errors.
  build_preset dev larkabrowser
  scripts/abi.sh check build/dev/src/liblarkabrowser-*-linux.so.0 || exit 1
fi
build_preset "$preset"
if [ "$preset" = dev ]; then build_preset dev docs; fi
exec ctest --preset "$preset" -j "$(nproc)"
