#!/bin/sh
# Builds the Debian packages, checks them, installs them in a bare Debian 12 and uses them there. They
# are in build/package/packages, those for 32-bit x86 in build/i486/package/packages.
#
#   scripts/package.sh           for this machine
#   scripts/package.sh --i486    for 32-bit x86, on a 64-bit machine
set -u
. "$(dirname "$0")/setup.sh"
help_if_asked "$@"
usage="usage: scripts/package.sh [--i486]"
[ $# -le 1 ] || fail "$usage"
cd "$(dirname "$0")/.." || exit 1
. scripts/roots.sh
build=build architecture=$(dpkg --print-architecture) run=
case "${1:-}" in
  "") ;;
  --i486) build=build/i486 architecture=i386 run=scripts/in-i486.sh ;;
  *) fail "$usage" ;;
esac

ensure_packages lintian
$run sh -uc '. scripts/setup.sh
  ensure_packages $build_packages $package_packages
  rm -rf build/package/packages
  build_preset package
  cd build/package && cpack >cpack.log 2>&1 || fail "cpack failed: see build/package/cpack.log"' \
  package.sh || exit 1
packages=$build/package/packages
# In 32-bit it takes the halves of strings that are moved four bytes at a time for misspelt words.
lintian --allow-root --display-info --fail-on error,warning,info \
  --suppress-tags spelling-error-in-binary "$packages"/*.deb ||
  fail "lintian complains of the packages"

copy_bare_root "$architecture" build/roots/fresh
in_root build/roots/fresh "$build" sh -euc '
  export DEBIAN_FRONTEND=noninteractive
  {
    apt-get update
    apt-get install -y --no-install-recommends ./build/package/packages/*.deb fonts-dejavu-core \
      g++ pkgconf
  } >build/package/install.log 2>&1 || { tail -n 5 build/package/install.log; exit 1; }
  larka-shot --quiet share/demo/index.html -o build/package/demo.png
  c++ -std=c++17 examples/minimal-host.cpp -o /tmp/minimal-host $(pkg-config --cflags --libs larkabrowser)
  /tmp/minimal-host 2>/dev/null | grep "^painted" >/dev/null' || fail "the installed packages don't work"
$as_root rm -rf --one-file-system build/roots/fresh
echo "Installed and used: $(cd "$packages" && echo *.deb)."
