#!/bin/sh
# Compares the library's binary interface with the recorded one, or records it.
#
#   scripts/abi.sh check LIBRARY
#   scripts/abi.sh record LIBRARY
set -u
. "$(dirname "$0")/setup.sh"
usage="usage: scripts/abi.sh check|record LIBRARY"
[ $# -eq 2 ] || fail "$usage"
[ -f "$2" ] || fail "no such file: $2"
library=$(realpath "$2")
cd "$(dirname "$0")/.." || exit 1
ensure_packages abigail-tools

recorded=abi/$(basename "$library" .so.0).abi

# Writes the interface of the library to a file: what the public headers declare, and no more.
describe() {
  abidw --suppressions abi/suppressions.ini --headers-dir include/larka --drop-private-types \
    --exported-interfaces-only --no-show-locs --no-corpus-path --no-comp-dir-path --no-elf-needed \
    --type-id-style hash --out-file "$1" "$library" || fail "could not describe $library"
}

case "$1" in
  check)
    if [ ! -f "$recorded" ]; then  # it is for the two processors that Larka is delivered for
      echo "The interface is not recorded for this processor: $recorded is missing."
      exit 0
    fi
    now=$(mktemp) || exit 1
    trap 'rm -f "$now"' EXIT
    describe "$now"
    # Two descriptions of the same kind: what is left out of one is left out of the other.
    report=$(abidiff "$recorded" "$now")
    status=$?
    [ $((status & 3)) -eq 0 ] || fail "abidiff failed: $report"
    [ $status -ne 0 ] || exit 0
    echo "$report"
    cat >&2 <<EOF

The binary interface of $(basename "$library") is no longer the recorded one: see above.
Hosts that were built before call the operations by their place in the interface; with this change
they would call others, or find objects of another size. If you didn't mean that, undo it: operations
are never removed, moved or put between others, and no members are added to public classes.
If you did, hosts have to be built again: raise the major version in include/larka/Version.h (the
minor one if something was only added), say so in CHANGELOG.md, and record the new interface:

    scripts/abi.sh record $2

on each architecture (scripts/in-i486.sh scripts/abi.sh record ... for the 32-bit one).
EOF
    exit 1
    ;;
  record)
    describe "$recorded"
    echo "Recorded $recorded."
    ;;
  *) fail "$usage" ;;
esac
