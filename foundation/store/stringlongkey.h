// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_STRINGLONGKEY_H
#define ZORVEX_FOUNDATION_STORE_STRINGLONGKEY_H

#include <bit>
#include <cstdint>
#include <cstring>

/// Key of a table of texts: laid out as LStringLongTemplate<char>, but never changed once it is
/// made, so that its text may stand in the block of its node. It frees nothing.
///
/// Keys order byte by byte as strcmp does. One without a buffer is the empty text.
class LStringLongKey {
 public:
  /// Eight bytes of the key, the first one highest; 0 for those behind its end.
  using Rank = std::uint64_t;

  /// The rank of a text of that length, which begins at its byte `skip`: what stands before is the
  /// same in all keys of the tree.
  static Rank RankOf(const char* text, std::uint64_t length, std::uint64_t skip) {
    Rank rank = 0;
    if (length - skip >= sizeof rank) {
      std::memcpy(&rank, text + skip, sizeof rank);
      return std::endian::native == std::endian::little ? __builtin_bswap64(rank) : rank;
    }
    for (unsigned int shift = 56; skip < length; shift -= 8)
      rank |= Rank{static_cast<unsigned char>(text[skip++])} << shift;
    return rank;
  }

  /// A text that is looked for, borrowed. Like all keys of the tree it begins with what they skip.
  struct Probe {
    Probe(const char* key, std::uint64_t keyLength, std::uint64_t bytesToSkip)
        : text(key),
          length(keyLength),
          skip(bytesToSkip),
          rank(RankOf(key, keyLength, bytesToSkip)) {}

    /// As LRBTree asks for it.
    [[nodiscard]] int Compare(const LStringLongKey& key) const {
      // Both have ended within the rank's bytes, or neither has.
      const std::uint64_t behind = skip + sizeof rank;
      return (rank & 0xff) == 0 ? 0 : std::strcmp(text + behind, key.buffer_ + behind);
    }

    const char* text;
    std::uint64_t length;
    std::uint64_t skip;
    Rank rank;
  };

  LStringLongKey() = default;
  LStringLongKey(char* buffer, std::uint64_t length)
      : buffer_(buffer), length_(length), capacity_(length + 1) {}

  [[nodiscard]] const char* Text() const { return buffer_ ? buffer_ : ""; }
  /// In bytes, the terminator not counted.
  [[nodiscard]] std::uint64_t Length() const { return length_; }
  /// Bytes of the buffer, the terminator among them.
  [[nodiscard]] std::uint64_t Capacity() const { return capacity_; }

 private:
  char* buffer_ = nullptr;
  std::uint64_t length_ = 0;
  std::uint64_t capacity_ = 0;
};

#endif  // ZORVEX_FOUNDATION_STORE_STRINGLONGKEY_H
