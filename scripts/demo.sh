#!/bin/sh
# Sets everything up on Debian 12 and renders a page (by default the bundled one) to larka-demo.png.
#
#   scripts/demo.sh [URL]
set -u
. "$(dirname "$0")/setup.sh"
usage="usage: scripts/demo.sh [URL]"
[ $# -le 1 ] || fail "$usage"
case "${1:-}" in
  -h | --help) echo "$usage" && exit ;;
  -*) fail "$usage" ;;
esac
# What is typed is meant from where it is typed.
page=${1:-}
if [ -n "$page" ] && [ -e "$page" ]; then page=$(realpath "$page"); fi
cd "$(dirname "$0")/.." || exit 1
rm -f larka-demo.png || exit 1  # what is there afterwards is of this run

# shellcheck disable=SC2086
ensure_packages $build_packages $docs_packages
build_preset release larka-shot
started=$(date +%s%N)
build/release/tools/larka-shot --quiet "${page:-share/demo/index.html}" -o larka-demo.png || exit
milliseconds=$((($(date +%s%N) - started) / 1000000))
echo "Rendered ${page:-the demo page} to $(pwd)/larka-demo.png in $milliseconds ms."
