#!/bin/sh
# Renders pages of Debian's documentation packages with larka-shot and with the library, and compares
# both with what QtWebKit renders in one go. Names the pictures that are blank or differ, prints a
# table, and fails if there are any.
#
#   scripts/real-pages.sh [PAGES [SEED]]     about so many pages (default: 130), chosen by SEED
#
# The packages are unpacked, not installed: about 1 GB in build/real-pages. The pictures stay there.
# LARKA_SHOT names another larka-shot than that of the build.
set -u
. "$(dirname "$0")/setup.sh"
help_if_asked "$@"
pages=${1:-130}
seed=${2:-1}
case "$pages$seed" in
  *[!0-9]* | "") fail "usage: scripts/real-pages.sh [PAGES [SEED]]" ;;
esac
[ $# -le 2 ] || fail "usage: scripts/real-pages.sh [PAGES [SEED]]"
cd "$(dirname "$0")/.." || exit 1

# Manuals, and examples of JavaScript libraries.
packages="apache2-doc cmake-doc debian-reference-en developers-reference doxygen-doc erlang-doc
  git-doc groff libboost1.74-doc libglib2.0-doc libgtk-3-doc libjs-bootstrap4 libjs-bootstrap5-doc
  libjs-codemirror libjs-flotr libjs-iscroll libjs-jquery-flot-docs libjs-jquery-ui-docs
  libjs-json-editor libjs-leaflet.markercluster libjs-mathjax libjs-rainbow libjs-rickshaw
  libjs-vue-router node-pikaday nodejs-doc octave-doc postgresql-doc-15 python-django-doc
  python-sphinx-gallery-doc python3.11-doc qtbase5-doc-html r-doc-html sqlite3-doc"
# What their pages load.
libraries="libjs-d3 libjs-excanvas libjs-jquery libjs-jquery-flot libjs-jquery-mousewheel
  libjs-jquery-ui libjs-leaflet libjs-popper.js libjs-prototype libjs-sphinxdoc libjs-underscore
  libjs-vue node-requirejs"
# Pages that keep the processor busy for long before they paint; always among those chosen.
always="doc/nodejs/api/all.html doc/libjs-jquery-ui-docs/examples/controlgroup/default.html"

root=$(pwd)/build/real-pages/root

# Unpacks a package, once, and lists its pages in build/real-pages/PACKAGE.list.
unpack() {
  [ ! -e "build/real-pages/$1.list" ] || return 0
  (cd build/real-pages && apt-get download -q "$1" >/dev/null 2>&1) ||
    fail "can't download $1; does apt-get update help?"
  package=$(echo build/real-pages/"$1"_*.deb)
  dpkg-deb -x "$package" build/real-pages/root || fail "can't unpack $1"
  dpkg-deb --fsys-tarfile "$package" | tar -t | LC_ALL=C sort |
    grep -E '^\./usr/share/[A-Za-z0-9_./+-]+\.(html?|js)$' >"build/real-pages/$1.new"
  # Some name their files from the root of the file system.
  # Links are left out: they may lead into packages that come later.
  (cd build/real-pages/root && tr '\n' '\0' <"../$1.new" |
    xargs -0r sh -c 'find "$@" -type f -print0' sh |
    xargs -0r sed -i -E "s#([\"'(])(file://)?/usr/share/#\1file://$root/usr/share/#g") || exit 1
  grep -v '\.js$' "build/real-pages/$1.new" >"build/real-pages/$1.list"
  rm "build/real-pages/$1.new"
  rm "$package"
}

# shellcheck disable=SC2086
ensure_packages $build_packages $test_packages
build_preset dev larka-shot larka-real-pages
mkdir -p build/real-pages/root || exit 1
for package in $packages $libraries; do unpack "$package"; done
# jQuery UI's examples look for it there.
ln -sf requirejs/require.js "$root/usr/share/nodejs/require.js"

# shellcheck disable=SC2086
set -- $packages
each=$(((pages + $# - 1) / $#))
shot=$(realpath "${LARKA_SHOT:-build/dev/tools/larka-shot}")
# Numbered, so that no page has a link that counts as visited because another page was rendered.
printf '%-32d' "$seed" >build/real-pages/seed
{
  for page in $always; do echo "./usr/share/$page"; done
  for package in "$@"; do
    LC_ALL=C sort -R --random-source=build/real-pages/seed "build/real-pages/$package.list" |
      head -n "$each"
  done
} | awk -v root="$root" '!seen[$0]++ { print "file://" root substr($0, 2) "?" NR }' >build/real-pages/list
cd build/real-pages || exit 1
rm -rf pictures
# Without a network, the same everywhere.
export http_proxy=http://127.0.0.1:1 https_proxy=http://127.0.0.1:1 no_proxy=
started=$(date +%s)
"$shot" --quiet --list list -o pictures/
echo "larka-shot: status $?, $(($(date +%s) - started)) s"
nl -n rz -w 3 list | xargs -P 4 -n 2 sh -c \
  '../dev/bench/larka-real-pages "$2" "pictures/$1.png" || echo "crashed $2"' sh >verdicts

grep -vE "^(same|empty) " verdicts
for verdict in same empty moving random failed crashed blank stale different; do
  printf '%-10s %4d\n' $verdict "$(grep -c "^$verdict " verdicts)"
done
! grep -qE "^(failed|crashed|blank|stale|different) " verdicts && [ "$(wc -l <list)" -ge 100 ]
