// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_HASHTABLEENTRY_H
#define ZORVEX_FOUNDATION_STORE_HASHTABLEENTRY_H

#include <string_view>

#include "foundation/store/hashtable.h"

/// \file
/// The entries of LHashTable. One is a single block of memory: node, value string, key text, value
/// text. A value text that does not fit its place in the block any more has a buffer of its own.
///
/// The ranks of a table's entries begin behind what all its keys have in common, up to 64 bytes:
/// else the ranks of "capture.width" and "capture.height" would be the same.

/// The node of a key, or null. All keys here are terminated texts.
const LHashTable::Node* FindHashTableEntry(const LHashTable::Tree& tree, std::string_view key);
LHashTable::Node* FindHashTableEntry(LHashTable::Tree& tree, std::string_view key);

/// The probe for a key that may be added. Where the key does not begin as the others
/// do, so that it is not in the tree, the ranks of the tree are made anew.
LStringLongKey::Probe ProbeToAdd(LHashTable::Tree& tree, std::string_view key);

/// A new entry that is in no tree. Throws std::bad_alloc.
LHashTable::Node* MakeHashTableEntry(const LStringLongKey::Probe& key, std::string_view value);

/// Replaces the entry's value; `text` may be part of any value. Does not allocate when the text
/// fits the block. Throws std::bad_alloc; the old value stays then.
void AssignHashTableValue(LHashTable::Node& node, std::string_view text);

#endif  // ZORVEX_FOUNDATION_STORE_HASHTABLEENTRY_H
