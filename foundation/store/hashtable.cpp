// SPDX-License-Identifier: MIT
#include "foundation/store/hashtable.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "foundation/store/datfile.h"
#include "foundation/store/hashtableentry.h"
#include "foundation/text/stringhelpers.h"
#include "foundation/text/texttonumber.h"

// Other stores hold a table as a field among others.
static_assert(sizeof(LHashTable) == sizeof(void*));
static_assert(sizeof(LStringLongKey) == sizeof(LStringLongTemplate<char>));
static_assert(offsetof(LHashTable::Node, value) == 24);
static_assert(offsetof(LHashTable::Node, colour) == 32);
static_assert(offsetof(LHashTable::Node, left) == 40);
static_assert(offsetof(LHashTable::Node, right) == 48);
static_assert(offsetof(LHashTable::Node, parent) == 56);

namespace {

/// For functions that write into a buffer without a size.
constexpr std::size_t kFixedBuffer = 260;

/// A null text reads as the empty one.
const char* Text(const char* text) {
  return text ? text : "";
}

bool IsEmpty(const char* text) {
  return !text || *text == 0;
}

template <typename Integer>
void SetInteger(LHashTable& table, const char* key, Integer value) {
  char digits[24];
  *std::to_chars(digits, std::end(digits) - 1, value).ptr = 0;
  table.SetString(key, digits);
}

}  // namespace

void LHashTable::SetString(const char* key, const char* value) {
  const LStringLongKey::Probe probe = ProbeToAdd(tree_, Text(key));
  const std::string_view text(Text(value));
  Tree::Place place;
  if (Node* node = tree_.FindOrPlace(probe, place))
    AssignHashTableValue(*node, text);
  else
    tree_.Insert(MakeHashTableEntry(probe, text), place);
}

const char* LHashTable::GetString(const char* key, const char* defaultValue) const {
  const Node* node = FindHashTableEntry(tree_, Text(key));
  return node ? node->value->Text() : defaultValue;
}

void LHashTable::GetString(const char* key, const char* defaultValue, char* out) const {
  const char* text = Text(GetString(key, defaultValue));
  const std::size_t length = strnlen(text, kFixedBuffer - 1);
  // Moved: the default may stand in `out`.
  std::memmove(out, text, length);
  out[length] = 0;
}

void LHashTable::GetString(const char* key, const char* defaultValue,
                           LStringLongTemplate<char>& out) const {
  out = Text(GetString(key, defaultValue));
}

const char* LHashTable::GetParmTrim(const char* key, const char* defaultValue) {
  Node* node = FindHashTableEntry(tree_, Text(key));
  if (!node) return defaultValue;
  if (char* text = node->value->Buffer()) {
    LStringTrim(text);
    node->value->SetLength(std::strlen(text));
  }
  return node->value->Text();
}

bool LHashTable::TestFieldExists(const char* key) const {
  return FindHashTableEntry(tree_, Text(key)) != nullptr;
}

void LHashTable::DeleteField(const char* key) {
  Node* node = FindHashTableEntry(tree_, Text(key));
  if (!node) return;
  tree_.Remove(node);
  Tree::FreeNode(node);
}

void LHashTable::SetInt(const char* key, int value) {
  SetInteger(*this, key, value);
}

void LHashTable::SetInt64(const char* key, long long value) {
  SetInteger(*this, key, value);
}

void LHashTable::SetFloat(const char* key, double value) {
  // A sign, 309 digits, the point in up to four bytes, six decimals.
  char digits[336];
  std::snprintf(digits, sizeof digits, "%f", value);
  SetString(key, digits);
}

int LHashTable::GetInt(const char* key, int defaultValue) const {
  char text[kFixedBuffer];
  GetString(key, "", text);
  return IsEmpty(text) ? defaultValue : static_cast<int>(std::strtol(text, nullptr, 10));
}

long long LHashTable::GetInt64(const char* key, long long defaultValue) const {
  const char* text = GetString(key, nullptr);
  return IsEmpty(text) ? defaultValue : ttoi64template(text);
}

double LHashTable::GetFloat(const char* key, double defaultValue) const {
  const char* text = GetString(key, nullptr);
  return IsEmpty(text) ? defaultValue : std::strtod(text, nullptr);
}

bool LHashTable::GetBool(const char* key, bool defaultValue) const {
  const char* text = GetString(key, nullptr);
  return IsEmpty(text) ? defaultValue : *text == '1';
}

void LHashTable::SaveDatFile(LDatFile& datFile, const char* section) const {
  for (LHashTableConstIterator entry(tree_); entry.Current(); entry.Next())
    LDatFileSetValue(datFile.Path(), section, entry.Current()->key.Text(),
                     entry.Current()->value->Text());
}

void LHashTableCopy(LHashTable& destination, const LHashTable& source) {
  for (LHashTableConstIterator entry(source.Entries()); entry.Current(); entry.Next())
    destination.SetString(entry.Current()->key.Text(), entry.Current()->value->Text());
}
