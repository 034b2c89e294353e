#!/bin/sh
# The library is built for its processor, under its name, and so that it is hard to misuse.
#
#   hardening_test.sh LIBRARY CPU
set -eu
library=$1 cpu=$2
headers=$(readelf -hldW "$library")
symbols=$(readelf --dyn-syms -W "$library")
case "$cpu" in
  i486) class=ELF32 machine='Intel 80386' ;;
  x86_64) class=ELF64 machine='X86-64' ;;
  *) echo "what a library for $cpu looks like isn't known here"; exit 0 ;;
esac
failed=0
# What it is for, a pattern, and where to look for it.
expect() {
  echo "$3" | grep -qE "$2" || { echo "$library: no $1"; failed=1; }
}
expect "class $class" "Class: +$class" "$headers"
expect "machine $machine" "Machine: +.*$machine" "$headers"
expect "soname" "SONAME.*\[liblarkabrowser-$cpu-linux\.so\.0\]" "$headers"
expect "read-only relocations" "GNU_RELRO" "$headers"
expect "immediate binding" "FLAGS_1.*NOW|BIND_NOW" "$headers"
expect "non-executable stack" "GNU_STACK.* RW +0x" "$headers"
expect "stack protector" "__stack_chk_fail" "$symbols"
expect "fortified calls" "__[a-z]+_chk" "$symbols"
if echo "$headers" | grep -qE 'TEXTREL|RPATH|RUNPATH'; then
  echo "$library: relocations in its code, or paths to libraries"
  failed=1
fi
exit $failed
