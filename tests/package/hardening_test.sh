#!/bin/sh
# The library is built for its processor, under its name, and so that it is hard to misuse.
#
#   hardening_test.sh LIBRARY CPU
set -eu
case "$2" in
  i486) machine='ELF32.*Intel 80386' ;;
  x86_64) machine='ELF64.*X86-64' ;;
  *) machine=ELF ;;
esac
about=$(readelf -hldW --dyn-syms "$1" | tr '\n' ' ')
if echo "$about" | grep -oE 'TEXTREL|RPATH|RUNPATH'; then exit 1; fi
for expected in "$machine" "SONAME[^[]*\[liblarkabrowser-$2-linux\.so\.0\]" GNU_RELRO BIND_NOW \
  'GNU_STACK[ x0-9a-f]* RW +0x' __stack_chk_fail '__[a-z]+_chk@'; do
  echo "$about" | grep -qE "$expected" || { echo "$1: no $expected"; exit 1; }
done
