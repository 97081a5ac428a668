#!/bin/sh
# SPDX-License-Identifier: MIT
# The host program in the README is the example that is compiled and run, to the letter.
#   readme.sh SOURCE
set -eu
shown=$(sed -n '/^```cpp$/,/^```$/p' "$1/README.md" | sed '1d;$d')
example=$(sed 1d "$1/examples/hello.cpp")
if [ "$shown" != "$example" ]; then
  echo "README.md and examples/hello.cpp differ"
  exit 1
fi
