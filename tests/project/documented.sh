#!/bin/sh
# SPDX-License-Identifier: MIT
# Fails for each exported name that the API reference says nothing about. Overloads are one name,
# what is said of a class holds for its constructors, destructor, conversions and type information,
# and nobody calls what is private.
#   documented.sh DOXYGEN DOXYFILE LIST WORKFOLDER
set -eu
doxygen=$1 doxyfile=$2 list=$3 work=$4
rm -rf "$work"
mkdir -p "$work"
{
  cat "$doxyfile"
  printf '%s\n' "OUTPUT_DIRECTORY = $work" 'GENERATE_HTML = NO' 'GENERATE_XML = YES' \
    'XML_PROGRAMLISTING = NO' 'EXTRACT_ALL = NO' 'EXTRACT_PRIVATE = YES' 'WARNINGS = NO' \
    'WARN_AS_ERROR = NO'
} | "$doxygen" - > "$work/log" 2>&1 || { cat "$work/log"; exit 1; }

# One line for each class, function and variable that is described.
awk '
  function text(line) { sub(/^[^>]*>/, "", line); sub(/<.*/, "", line); return line }
  /<compounddef /          { kind = $0; sub(/.* kind="/, "", kind); sub(/".*/, "", kind); said = 0 }
  /<compoundname>/         { scope = kind == "file" ? "" : text($0) }
  /<memberdef /            { saidOfScope = said; said = / prot="private"/; member = "" }
  /<name>/ && member == "" { member = text($0) }
  /<(brief|detailed)description>/   { isText = 1 }
  isText && /<para>/                { said = 1 }
  /<\/(brief|detailed)description>/ { isText = 0 }
  /<\/memberdef>/  { if (said) print scope (scope == "" ? "" : "::") member; said = saidOfScope }
  /<\/compounddef>/ { if (said && scope != "") print scope }
' "$work"/xml/*.xml | sed 's/&lt;.*&gt;//' | LC_ALL=C sort -u > "$work/described"

# The exported names, without what stands before and after them. Twice, for nested arguments.
sed -E '
  s/^(typeinfo for|typeinfo name for|vtable for|VTT for|(non-)?virtual thunk to|guard variable for) //
  s/operator\(\)/operator_call/
  s/operator (new|delete)/operator_\1/
  s/::operator .*//
  s/\(.*//
  :again
  s/<[^<>]*>//g
  t again
  s/^.* ([^ ]+)$/\1/
  s/^((.*::)?([^:]+))::~?\3$/\1/
  s/operator_call/operator()/
  s/operator_(new|delete)/operator \1/
' "$list" | LC_ALL=C sort -u > "$work/exported"

LC_ALL=C comm -13 "$work/described" "$work/exported" > "$work/missing"
if ! [ -s "$work/exported" ] || ! [ -s "$work/described" ]; then
  echo 'No names found.'
  exit 1
fi
if [ -s "$work/missing" ]; then
  echo 'Exported, and described in no installed header:'
  cat "$work/missing"
  exit 1
fi
