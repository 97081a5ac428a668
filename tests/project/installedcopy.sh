#!/bin/sh
# SPDX-License-Identifier: MIT
# Installs a build into an empty folder and uses the copy as its users do: through the CMake
# package, through pkg-config, and each header by itself under strict warnings.
#   installedcopy.sh BUILD SOURCE WORK COMPILER [COMPILER-FLAG]
set -eu
build=$1 source=$2 work=$3 compiler=$4 flag=${5-}
prefix=$work/prefix
export ZORVEX_DEVICES=simulated

rm -rf "$work"
cmake --install "$build" --prefix "$prefix" > "$work.log"

count=0
for header in $(cd "$prefix/include" && find zorvex -name '*.h'); do
  echo "#include <$header>" | "$compiler" -std=c++20 -Wall -Wextra -Wpedantic -Wshadow -Werror \
    -I "$prefix/include" -fsyntax-only -x c++ - || { echo "<$header> does not stand alone"; exit 1; }
  count=$((count + 1))
done
test "$count" -gt 2
echo "headers: $count"

cmake -G Ninja -S "$source/examples" -B "$work/package" -D CMAKE_PREFIX_PATH="$prefix" \
  -D CMAKE_CXX_COMPILER="$compiler" -D CMAKE_CXX_FLAGS="$flag" > "$work.log"
# The copy must be the one that was found, not one that the system has.
grep -q "zorvex_DIR:PATH=$prefix/" "$work/package/CMakeCache.txt"
cmake --build "$work/package" >> "$work.log" || { cat "$work.log"; exit 1; }
ctest --test-dir "$work/package" --output-on-failure --no-tests=error

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name zorvex.pc)")
export PKG_CONFIG_PATH
libraries=$(pkg-config --variable=libdir zorvex)
test -f "$libraries/libzorvex.so"
# shellcheck disable=SC2046 # the flags are words
"$compiler" -std=c++20 $flag "$source/examples/hello.cpp" $(pkg-config --cflags --libs zorvex) \
  -Wl,-rpath,"$libraries" -o "$work/hello"
"$work/hello"
