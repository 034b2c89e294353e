#!/bin/sh
# Installs a build into a folder and uses what is there as a host's project would, with CMake and
# with pkg-config.
#
#   run.sh BUILD SOURCE FOLDER
set -eu
build=$1 source=$2 folder=$3
rm -rf "$folder"
mkdir -p "$folder"
tree=$folder/tree
cmake --install "$build" --prefix "$tree" >"$folder/install.log"
library=$(cd "$tree" && find lib -name 'liblarkabrowser-*-linux.so.0')
libraries=$tree/$(dirname "$library")
for file in "${library%.0}" include/larka/larka.h bin/larka-shot share/man/man1/larka-shot.1.gz \
  share/doc/larkabrowser/LICENSE share/doc/larkabrowser/integration.md; do
  [ -e "$tree/$file" ] || { echo "not installed: $file"; exit 1; }
done

run_host() {
  output=$("$1" 2>/dev/null)
  case "$output" in
    *"title: Hello"*painted*) ;;
    *) echo "$1 printed: $output"; exit 1 ;;
  esac
}

host=$source/examples/minimal-host.cpp
cmake -S "$source/tests/install" -B "$folder/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$tree" \
  -DHOST_SOURCE="$host" >"$folder/consumer.log"
cmake --build "$folder/consumer" >>"$folder/consumer.log"
run_host "$folder/consumer/host"
"$folder/consumer/version" || { echo "the versions differ"; exit 1; }

export PKG_CONFIG_PATH="$libraries/pkgconfig"
# What pkg-config says is quoted for a shell.
eval "c++ -std=c++17 \"\$host\" -o \"\$folder/host\" $(pkg-config --cflags --libs larkabrowser) \
  \"-Wl,-rpath,\$libraries\""
run_host "$folder/host"

"$tree/bin/larka-shot" --quiet "$source/share/demo/index.html" -o "$folder/demo.png"
[ "$(pkg-config --modversion larkabrowser)" = "$("$tree/bin/larka-shot" --version | cut -d' ' -f2)" ]
