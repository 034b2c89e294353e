#!/bin/sh
# Renders a page, by default the bundled one, to larka-demo.png in the project's folder. First it
# installs the Debian 12 packages that it needs, as root or with sudo, and builds Larka.
#
#   scripts/demo.sh [URL]     a page: its address, a local file, or a host name without a scheme
#   scripts/demo.sh --tv [OPTION...]
#                             starts the television host of examples/tv-host instead, in a window;
#                             --tv --help lists its options. Without a display it plays a bundled
#                             script, which leaves its screenshots in the folder larka-tv.
set -u
. "$(dirname "$0")/setup.sh"
help_if_asked "$@"
usage="usage: scripts/demo.sh [URL] or scripts/demo.sh --tv [OPTION...]"

run_television() {
  root=$(cd "$(dirname "$0")/.." && pwd) || exit 1
  # shellcheck disable=SC2086
  (cd "$root" && ensure_packages $build_packages $docs_packages $television_packages xvfb xauth &&
    build_preset release tv-host) || exit
  host=$root/build/release/examples/tv-host/tv-host
  case "${DISPLAY:-}${WAYLAND_DISPLAY:-}${1:-}" in
    "" | --[!h]*) ;;
    *) exec "$host" "$@" ;;
  esac
  pictures=$root/larka-tv  # what is there afterwards is of this run
  rm -rf "$pictures" && mkdir "$pictures" || exit 1
  SDL_RENDER_DRIVER=software SDL_VIDEODRIVER=x11 xvfb-run -a -s "-screen 0 1280x720x24" \
    "$host" --script "$root/examples/tv-host/tour.script" --pictures "$pictures" "$@" || exit
  echo "No display: the television host has played its script. The screenshots are in $pictures."
  exit 0
}

if [ "${1:-}" = --tv ]; then
  shift
  run_television "$@"
fi
[ $# -le 1 ] || fail "$usage"
case "${1:-}" in
  -*) fail "$usage" ;;
esac
# What is typed is meant from where it is typed. What must be a file is looked for before anything
# is installed or built.
page=${1:-}
file=$page
[ -e "$file" ] || file=${page%%[?#]*}  # "page.html#place"
if [ -d "$file" ]; then
  fail "is a folder: $file"
elif [ -e "$file" ]; then
  page=$(realpath "$file")${page#"$file"}
else
  case "$file" in
    /* | ./* | ../*) fail "no such file: $file" ;;
    */* | *:*) ;;
    *.html | *.htm) fail "no such file: $file" ;;
  esac
fi
cd "$(dirname "$0")/.." || exit 1
rm -f larka-demo.png || exit 1  # what is there afterwards is of this run

# shellcheck disable=SC2086
ensure_packages $build_packages $docs_packages
build_preset release larka-shot
started=$(date +%s%N)
build/release/tools/larka-shot --quiet "${page:-share/demo/index.html}" -o larka-demo.png || exit
milliseconds=$((($(date +%s%N) - started) / 1000000))
echo "Rendered ${page:-the demo page} to $(pwd)/larka-demo.png in $milliseconds ms."
