#!/bin/sh
# SPDX-License-Identifier: MIT
# Compares what the shared library exports with the list of what it should export.
#   exportedsymbols.sh NM LIBRARY LIST [--update]
set -eu
nm=$1 library=$2 list=$3
found=$("$nm" -D --defined-only --demangle "$library" | cut -d ' ' -f 3- | LC_ALL=C sort -u)
if [ "${4-}" = --update ]; then
  printf '%s\n' "$found" > "$list"
elif ! printf '%s\n' "$found" | diff -u --label "$list" --label "$library" "$list" -; then
  echo "Exported symbols changed. If that is meant: $0 $nm $library $list --update"
  exit 1
fi
