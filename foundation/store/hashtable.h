// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_HASHTABLE_H
#define ZORVEX_FOUNDATION_STORE_HASHTABLE_H

#include <cstddef>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/store/rbtree.h>
#include <zorvex/foundation/store/stringlongkey.h>
#include <zorvex/foundation/text/stringlong.h>

class LDatFile;

// Doxygen does not know what this belongs to.
/// \cond
template <>
ZORVEX_API void LRBTree<LStringLongKey, LStringLongTemplate<char>>::FreeNode(Node* node);
/// \endcond
extern template class LRBTree<LStringLongKey, LStringLongTemplate<char>>;

/// Table from text to text, ordered by key. Despite its name it is a balanced tree: every walk over
/// it is in ascending order of the bytes of its keys, upper and lower case apart.
///
/// Keys and values are bytes, UTF-8 by convention; nothing is converted. Both are copied into the
/// table. A null text given reads as the empty one, except as a default.
///
/// Only a query string (LoadHTTPString) can bring several entries with one key; every other
/// operation then acts on one of them, whichever the shape of the tree gives.
///
/// Texts that the table returns are its own: they are valid until that value is changed or the
/// entry goes, and do not move when others do. They may be handed in again.
///
/// Adding and changing throw std::bad_alloc when there is no memory: the entry is then not added,
/// or as it was. Looking up allocates nothing, except where the result is an object or a buffer
/// that grows. One thread at a time; any number may read, GetParmTrim not among the readings.
class ZORVEX_API LHashTable {
 public:
  using Tree = LRBTree<LStringLongKey, LStringLongTemplate<char>>;
  using Node = Tree::Node;

  LHashTable() = default;
  /// Not copied: LHashTableCopy makes one entry of several with one key, which a copy should not.
  LHashTable(const LHashTable&) = delete;
  LHashTable& operator=(const LHashTable&) = delete;
  /// Takes the entries over; the other table is empty afterwards.
  LHashTable(LHashTable&&) noexcept = default;
  LHashTable& operator=(LHashTable&&) noexcept = default;
  ~LHashTable() = default;

  /// The entries, to walk over them with LHashTableConstIterator.
  [[nodiscard]] const Tree& Entries() const { return tree_; }

  /// Replaces the value of the key, or adds an entry.
  void SetString(const char* key, const char* value);
  /// The same.
  void SetParm(const char* key, const char* value) { SetString(key, value); }
  /// The same: "bottom" makes no difference, since the key alone gives the place.
  void SetParmBottom(const char* key, const char* value) { SetString(key, value); }

  /// The value, or `defaultValue` as given, which may be null, when there is no such key.
  [[nodiscard]] const char* GetString(const char* key, const char* defaultValue) const;
  /// The same.
  [[nodiscard]] const char* GetParm(const char* key, const char* defaultValue) const {
    return GetString(key, defaultValue);
  }
  /// The same, copied into 260 bytes at `out` and cut to 259. A null default gives the empty text.
  void GetString(const char* key, const char* defaultValue, char* out) const;
  /// The same, assigned to `out`. May throw std::bad_alloc; `out` is then as it was.
  void GetString(const char* key, const char* defaultValue, LStringLongTemplate<char>& out) const;
  /// Removes spaces (only those) at both ends of the stored value, and returns it as GetString.
  /// That it stays trimmed in the table is deliberate.
  const char* GetParmTrim(const char* key, const char* defaultValue);

  /// Whether there is an entry of that key, be its value empty.
  [[nodiscard]] bool TestFieldExists(const char* key) const;
  /// The same.
  [[nodiscard]] bool TestExists(const char* key) const { return TestFieldExists(key); }

  /// Removes the entry; nothing happens when there is none.
  void DeleteField(const char* key);
  /// The same.
  void DeleteParm(const char* key) { DeleteField(key); }

  /// Stores a number in decimal digits.
  void SetInt(const char* key, int value);
  /// Stores a number in decimal digits.
  void SetInt64(const char* key, long long value);
  /// Stores a number with six decimals ("%f").
  void SetFloat(const char* key, double value);

  /// The number at the beginning of the value, as strtol reads it in base 10 from its first 259
  /// bytes: text behind it is ignored, and no number is 0. `defaultValue` when the value is empty
  /// or there is no such key; this also in the following.
  [[nodiscard]] int GetInt(const char* key, int defaultValue) const;
  /// As ::ttoi64template reads it.
  [[nodiscard]] long long GetInt64(const char* key, long long defaultValue) const;
  /// As strtod reads it.
  [[nodiscard]] double GetFloat(const char* key, double defaultValue) const;
  /// True exactly when the first character is '1', so that "true" is deliberately false. Stored
  /// with SetInt or SetString, as "1" or "0".
  [[nodiscard]] bool GetBool(const char* key, bool defaultValue) const;

  /// Substitutes values in a template: copies `text` into `out`, with the value of `name` in the
  /// place of each "%name%", or nothing when there is no such key, and a percent sign in the place
  /// of each "%%". What does not fit into `outSize` bytes, the terminator among them, is dropped;
  /// nothing is written when `outSize` is 0. A name at the end of the text needs no second percent
  /// sign. Of a name the first 259 bytes count. `text` and `out` must not overlap.
  ///
  /// True when there was a percent sign in the text.
  bool ParseString(const char* text, char* out, std::size_t outSize) const;
  /// The same into a buffer that is always large enough, which the caller frees with `delete[]`.
  /// Here "%%" gives the value of the empty key, so mostly nothing: that this differs is
  /// deliberate.
  [[nodiscard]] char* ParseString(const char* text) const;

  /// Appends "key=value" for each entry, joined by "&", without any escaping. `out` is not cleared,
  /// and nothing stands between its old text and the first entry.
  void SaveString(LStringLongTemplate<char>& out) const;

  /// Adds the pairs of a query string, "name=value&name=value" in the encoding of
  /// LURIDecodeToWriterDirect. A pair with an empty name is dropped; a name without "=" has the
  /// empty value. What is in the table already stays: a name that is there, or that comes twice, is
  /// deliberately one more entry, of which a lookup finds any.
  ///
  /// When memory runs out the pairs before that place have been added.
  void LoadHTTPString(const char* text) { LoadHTTPStringUTF8(text); }
  void LoadHTTPString(const LStringLongTemplate<char>& text) { LoadHTTPStringUTF8(text.Text()); }
  /// The function of the name without UTF8, which says it all.
  void LoadHTTPStringUTF8(const char* text);

  /// Replaces the text of `out` with the table as a query string, in the encoding of
  /// LURIEncodeToWriter. Each entry has its "=", also with an empty value.
  void SaveHTTPString(LStringLongTemplate<char>& out) const;

  /// Stores each entry, in the order of the keys, as an item of that section of a dat file. Other
  /// items of the section stay.
  void SaveDatFile(LDatFile& datFile, const char* section) const;

 private:
  Tree tree_;
};

using LHashTableConstIterator = LRBTreeConstIterator<LStringLongKey, LStringLongTemplate<char>>;

/// Sets every entry of `source`, in the order of the keys, in `destination`, which is not cleared
/// first. Of entries with the same key the last one's value stays.
ZORVEX_API void LHashTableCopy(LHashTable& destination, const LHashTable& source);

#endif  // ZORVEX_FOUNDATION_STORE_HASHTABLE_H
