#!/bin/sh
# Sets everything up on Debian 12 and feeds the reader of the cookie file with made-up input.
#
#   scripts/fuzz.sh [SECONDS]     for so long (default: 60)
#
# An input that fails is left in build/fuzz. Add it to tests/fuzz/corpus with the fix.
set -u
. "$(dirname "$0")/setup.sh"
help_if_asked "$@"
seconds=${1:-60}
case "$seconds" in
  *[!0-9]* | "" | 0*) fail "usage: scripts/fuzz.sh [SECONDS]" ;;
esac
[ $# -le 1 ] || fail "usage: scripts/fuzz.sh [SECONDS]"
cd "$(dirname "$0")/.." || exit 1

# shellcheck disable=SC2086
ensure_packages $build_packages $fuzz_packages
build_preset fuzz cookie_state_fuzz
mkdir -p build/fuzz/corpus
cd build/fuzz || exit 1
exec tests/fuzz/cookie_state_fuzz -max_total_time="$seconds" -max_len=4096 -timeout=10 \
  -rss_limit_mb=2048 -print_final_stats=1 -verbosity=0 corpus ../../tests/fuzz/corpus
