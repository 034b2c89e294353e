#!/bin/sh
# Runs a command of this project in 32-bit x86, on a 64-bit machine: in a Debian 12 of its own in
# build/roots/i486, which is made where it is missing. What it builds is in build/i486.
#
#   scripts/in-i486.sh COMMAND [ARGUMENT...]
set -u
. "$(dirname "$0")/setup.sh"
help_if_asked "$@"
case "${1:--}" in
  -*) fail "usage: scripts/in-i486.sh COMMAND [ARGUMENT...]" ;;
esac
cd "$(dirname "$0")/.." || exit 1
. scripts/roots.sh

case "$(dpkg --print-architecture)" in
  amd64) ;;
  i386) exec "$@" ;;
  *) fail "needs a 32-bit or 64-bit x86 machine" ;;
esac
[ -e build/roots/i486 ] || copy_bare_root i386 build/roots/i486
in_root build/roots/i486 build/i486 "$@" && exit 0
status=$?
echo "in-i486.sh: failed; remove build/roots/i486 if that system itself is damaged" >&2
exit $status
