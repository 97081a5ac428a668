// SPDX-License-Identifier: MIT
#include "foundation/store/datfilenames.h"

#include <cctype>
#include <cstring>

constinit DatFileNameHash gDatFileNameHash;

namespace {

// Capital and small letters of ASCII, and of many 8-bit sets, differ in this bit.
constexpr int kCaseBit = 0x20;

std::uint64_t Load(const char* text, std::size_t size) {
  std::uint64_t word = 0;
  std::memcpy(&word, text, size);
  return word;
}

// The bytes of a name of less than eight, at least once each.
std::uint64_t LoadShort(const char* text, std::size_t length) {
  if (length >= 4) return Load(text, 4) << 32 | Load(text + length - 4, 4);
  if (length == 0) return 0;
  return Load(text, 1) << 16 | Load(text + length / 2, 1) << 8 | Load(text + length - 1, 1);
}

std::uint64_t Mix(std::uint64_t hash, std::uint64_t word) {
  constexpr std::uint64_t caseBits = kCaseBit * 0x0101010101010101;
  constexpr std::uint64_t odd = 0x9e3779b97f4a7c15;  // 2^64 over the golden ratio
  hash = (hash ^ (word | caseBits)) * odd;
  return hash ^ hash >> 32;
}

std::uint32_t HashWithoutCaseBit(const char* text, std::size_t length) {
  std::uint64_t hash = length;
  if (length < 8) return static_cast<std::uint32_t>(Mix(hash, LoadShort(text, length)));
  for (std::size_t i = 0; i + 8 < length; i += 8)
    hash = Mix(hash, Load(text + i, 8));
  return static_cast<std::uint32_t>(Mix(hash, Load(text + length - 8, 8)));
}

}  // namespace

void DatFileNameHash::FollowLocale() {
#if defined(__GLIBC__)
  // The whole table at once: 256 calls of tolower would cost more than all the rest of a look-up.
  const std::int32_t* const table = *__ctype_tolower_loc();
  if (generation_ != 0 && std::memcmp(lower_, table, sizeof lower_) == 0) return;
#else
  int difference = generation_ == 0;
  for (int c = 0; c < kCharacters; ++c)
    difference |= lower_[c] ^ std::tolower(c);
  if (difference == 0) return;
#endif
  BeginGeneration();
}

void DatFileNameHash::BeginGeneration() {
  ++generation_;
  bitTells_ = true;
  for (int c = 0; c < kCharacters; ++c) {
    lower_[c] = std::tolower(c);
    bitTells_ = bitTells_ && (lower_[c] | kCaseBit) == (c | kCaseBit);
  }
}

std::uint32_t DatFileNameHash::Of(const char* name, std::size_t length) const {
  if (bitTells_) return HashWithoutCaseBit(name, length);
  char lower[kDatFileLongestName];
  for (std::size_t i = 0; i < length; ++i)
    lower[i] = static_cast<char>(lower_[static_cast<unsigned char>(name[i])]);
  return HashWithoutCaseBit(lower, length);
}
