#!/bin/sh
# Installs a build into a folder and uses what is there as a host's project would, with CMake and
# with pkg-config.
#
#   install_test.sh BUILD SOURCE FOLDER
set -eu
build=$1 source=$2 folder=$3 tree=$3/tree host=$2/examples/minimal-host.cpp
fail() { echo "$*"; exit 1; }
rm -rf "$folder"
mkdir -p "$folder/consumer"
cmake --install "$build" --prefix "$tree" >"$folder/install.log"
libraries=$(dirname "$(find "$tree/lib" -name 'liblarkabrowser-*-linux.so.0')")
for file in bin/larka-shot share/man/man1/larka-shot.1.gz share/doc/larkabrowser/LICENSE \
  share/doc/larkabrowser/integration.md; do
  [ -e "$tree/$file" ] || fail "not installed: $file"
done
export PKG_CONFIG_PATH="$libraries/pkgconfig"
version=$(pkg-config --modversion larkabrowser)
[ "$version" = "$("$tree/bin/larka-shot" --version | cut -d' ' -f2)" ] || fail "the versions differ"
numbers=$(awk '/define LARKA_VERSION_(MAJOR|MINOR|PATCH) / { printf "%s%s", dot, $3; dot = "." }' \
  "$tree/include/larka/Version.h")
[ "$version" = "$numbers" ] || fail "the package has the version $version, its headers $numbers"

cat >"$folder/consumer/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.25)
project(Consumer LANGUAGES CXX)
find_package(LarkaBrowser $version EXACT REQUIRED)
add_executable(host $host)
target_compile_features(host PRIVATE cxx_std_17)
target_link_libraries(host PRIVATE Larka::Browser)
EOF
cmake -S "$folder/consumer" -B "$folder/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$tree" >"$folder/log"
cmake --build "$folder/consumer" >>"$folder/log"
# What pkg-config says is quoted for a shell.
eval "c++ -std=c++17 \"\$host\" -o \"\$folder/host\" $(pkg-config --cflags --libs larkabrowser) \
  \"-Wl,-rpath,\$libraries\""
for program in "$folder/consumer/host" "$folder/host"; do
  case "$("$program" 2>"$folder/log")" in
    *"title: Hello"*painted*) ;;
    *) fail "$program shows nothing" ;;
  esac
done
"$tree/bin/larka-shot" --quiet "$source/share/demo/index.html" -o "$folder/demo.png"
