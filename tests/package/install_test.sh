#!/bin/sh
# Installs a build into a folder and uses what is there as a host's project would, with CMake and
# with pkg-config.
#
#   install_test.sh BUILD SOURCE FOLDER
set -eu
source=$2 folder=$3 tree=$3/tree
rm -rf "$folder"
mkdir -p "$folder/consumer"
cmake --install "$1" --prefix "$tree" >"$folder/install.log"
libraries=$(dirname "$(find "$tree/lib" -name 'liblarkabrowser-*-linux.so.0')")
ls "$tree/share/man/man1/larka-shot.1.gz" "$tree/share/doc/larkabrowser/integration.md"
export PKG_CONFIG_PATH="$libraries/pkgconfig"
version=$(pkg-config --modversion larkabrowser)
"$tree/bin/larka-shot" --version | grep "$version"
# The README's project of a host.
awk '/^```cmake$/ { show = 1; next } /^```$/ { show = 0 } show' "$source/README.md" \
  >"$folder/consumer/CMakeLists.txt"
cp "$source/examples/minimal-host.cpp" "$folder/consumer"
cmake -S "$folder/consumer" -B "$folder/consumer" -DCMAKE_PREFIX_PATH="$tree"
cmake --build "$folder/consumer"
# The same with an engine process, which the library has to find.
sed -e 's/char platform/char process[] = "--engine-process", platform/' \
  -e 's/offscreen, nullptr/offscreen, process, nullptr/' -e 's/Initialize(3/Initialize(4/' \
  "$source/examples/minimal-host.cpp" >"$folder/process.cpp"
# What pkg-config says is quoted for a shell.
for host in "$source/examples/minimal-host.cpp" "$folder/process.cpp"; do
  eval "c++ -std=c++17 \"\$host\" -o \"\$folder/$(basename "$host" .cpp)\" \
    $(pkg-config --cflags --libs larkabrowser) \"-Wl,-rpath,\$libraries\""
done
for program in "$folder/consumer/minimal-host" "$folder/minimal-host" "$folder/process"; do
  "$program" | grep '#008080'
done
