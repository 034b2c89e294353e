#!/bin/sh
# Sets everything up on Debian 12 and feeds made-up input to the reader of the cookie file, and to
# that of the messages of an engine process.
#
#   scripts/fuzz.sh [SECONDS]     for so long each (default: 60)
#
# An input that fails is left in build/fuzz. Add it to tests/fuzz/corpus (cookies) or
# tests/fuzz/messages with the fix.
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
build_preset fuzz cookie_state_fuzz message_fuzz
cd build/fuzz || exit 1

# Runs a fuzzer with what it found in earlier runs and the inputs in a folder of tests/fuzz.
run() {
  mkdir -p "$2"
  "tests/fuzz/$1" -max_total_time="$seconds" -max_len=4096 -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=1 -verbosity=0 "$2" "../../tests/fuzz/$2" || exit 1
}
run cookie_state_fuzz corpus
run message_fuzz messages
