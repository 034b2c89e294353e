#!/bin/sh
# Compares the library's binary interface with the recorded one, or records it.
#
#   scripts/abi.sh check LIBRARY
#   scripts/abi.sh record LIBRARY
set -u
. "$(dirname "$0")/setup.sh"
help_if_asked "$@"
usage="usage: scripts/abi.sh check|record LIBRARY"
[ $# -eq 2 ] || fail "$usage"
[ -f "$2" ] || fail "no such file: $2"
library=$(realpath "$2")
case "$(basename "$library")" in
  liblarkabrowser-*-linux.so.0) ;;
  *) fail "not the library: $2" ;;
esac
cd "$(dirname "$0")/.." || exit 1
ensure_packages abigail-tools

recorded=abi/$(basename "$library" .so.0).abi

# Writes the interface of the library to a file: what the public headers declare, and no more.
describe() {
  abidw --suppressions abi/suppressions.ini --headers-dir include/larka --drop-private-types \
    --exported-interfaces-only --no-show-locs --no-corpus-path --no-comp-dir-path --no-elf-needed \
    --type-id-style hash --out-file "$1" "$library" || fail "could not describe $library"
  # Wherever it was compiled.
  sed -i "s|\(<abi-instr .* path='\)[^']*/\([^/']*/[^/']*'\)|\1\2|" "$1" || fail "can't write $1"
  for interface in ILarkaBrowser ILarkaCallbacks IExtraCallbacks ITimer; do
    operations "$1" | grep -q "^$interface " ||
      fail "$library doesn't tell its interface: it is built without debug information"
  done
}

# The operations of the four interfaces in a description, with their places.
operations() {
  awk -F"'" '
    /<class-decl name=/ { class = $2 }
    /<member-function .*vtable-offset=/ {
      for (i = 1; i < NF; i++) if ($i ~ /vtable-offset=$/) place = $(i + 1)
    }
    /<function-decl name=/ && place != "" {
      if (class ~ /^(ILarkaBrowser|ILarkaCallbacks|IExtraCallbacks|ITimer)$/ && $2 !~ /^~/)
        printf "%s %02d %s\n", class, place, $2
      place = ""
    }' "$1" | sort -u
}

now=$(mktemp) || exit 1
trap 'rm -f "$now" "$now.recorded" "$now.operations"' EXIT
case "$1" in
  check)
    if [ ! -f "$recorded" ]; then
      case "$recorded" in  # the two processors that Larka is delivered for
        *-i486-* | *-x86_64-*) fail "$recorded is missing" ;;
      esac
      echo "The interface is not recorded for this processor: there is no $recorded."
      exit 0
    fi
    describe "$now"
    # Two descriptions of the same kind: what is left out of one is left out of the other.
    report=$(abidiff "$recorded" "$now")
    status=$?
    [ $((status & 3)) -eq 0 ] || fail "abidiff failed: $report"
    [ $status -ne 0 ] || exit 0
    echo "$report"
    operations "$recorded" >"$now.recorded"
    operations "$now" >"$now.operations"
    echo
    echo "Operations by their places (<: as recorded, >: now):"
    diff "$now.recorded" "$now.operations" | grep '^[<>]' || echo "  all as they were"
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
    describe "$now"
    cat "$now" >"$recorded" || fail "can't write $recorded"
    echo "Recorded $recorded."
    ;;
  *) fail "$usage" ;;
esac
