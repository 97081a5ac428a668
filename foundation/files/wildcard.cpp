// SPDX-License-Identifier: MIT
#include "foundation/files/wildcard.h"

#include <array>
#include <cstddef>
#include <cstring>

#include "foundation/files/file.h"

namespace {

struct ByBytes {
  static bool IsSame(char a, char b) { return a == b; }
  static const char* Find(const char* begin, const char* end, char wanted) {
    return static_cast<const char*>(
        std::memchr(begin, wanted, static_cast<std::size_t>(end - begin)));
  }
};

struct AnyCase {
  static constexpr auto kLower = [] {
    std::array<char, 256> lower{};
    for (std::size_t code = 0; code < lower.size(); ++code)
      lower[code] = static_cast<char>(code >= 'A' && code <= 'Z' ? code - 'A' + 'a' : code);
    return lower;
  }();
  static char Lower(char c) { return kLower[static_cast<unsigned char>(c)]; }

  static bool IsSame(char a, char b) { return Lower(a) == Lower(b); }
  static const char* Find(const char* begin, const char* end, char wanted) {
    for (wanted = Lower(wanted); begin != end; ++begin) {
      if (Lower(*begin) == wanted) return begin;
    }
    return nullptr;
  }
};

template <typename Compare>
bool IsSameOrAny(char pattern, char c) {
  return pattern == '?' || Compare::IsSame(pattern, c);
}

/// Whether the part of a pattern up to `partEnd`, without `*`, fits the characters at `name`.
template <typename Compare>
bool IsPartAt(const char* part, const char* partEnd, const char* name) {
  while (part != partEnd && IsSameOrAny<Compare>(*part, *name)) {
    ++part, ++name;
  }
  return part == partEnd;
}

/// Where a part that begins with a plain character first fits; null when nowhere.
template <typename Compare>
const char* FindPart(const char* part, const char* partEnd, const char* name, const char* nameEnd) {
  const std::ptrdiff_t length = partEnd - part;
  while (nameEnd - name >= length) {
    name = Compare::Find(name, nameEnd - length + 1, *part);
    if (name == nullptr || IsPartAt<Compare>(part + 1, partEnd, name + 1)) return name;
    ++name;
  }
  return nullptr;
}

/// The pattern begins with `*`. Each part between two `*` may be put where it first fits, since
/// what comes later has most room then, and the last one has its place at the end; so nothing is
/// ever tried again, and the work is at worst pattern times name.
template <typename Compare>
bool IsMatchBehindStar(const char* pattern, const char* name) {
  const char* const nameEnd = name + std::strlen(name);
  for (;;) {
    // "*?" is "?*": what is left is a part that begins with a plain character.
    for (; *pattern == '*' || *pattern == '?'; ++pattern) {
      if (*pattern == '?' && name++ == nameEnd) return false;
    }
    if (*pattern == '\0') return true;
    const char* partEnd = pattern + 1;
    while (*partEnd != '\0' && *partEnd != '*') {
      ++partEnd;
    }
    const std::ptrdiff_t length = partEnd - pattern;
    if (*partEnd == '\0') {
      return nameEnd - name >= length && IsPartAt<Compare>(pattern, partEnd, nameEnd - length);
    }
    name = FindPart<Compare>(pattern, partEnd, name, nameEnd);
    if (name == nullptr) return false;
    name += length;
    pattern = partEnd;
  }
}

template <typename Compare>
bool IsMatchBy(const char* pattern, const char* name) {
  for (; *pattern != '*'; ++pattern, ++name) {
    if (*name == '\0') return *pattern == '\0';
    if (!IsSameOrAny<Compare>(*pattern, *name)) return false;
  }
  return IsMatchBehindStar<Compare>(pattern, name);
}

}  // namespace

template <typename Character>
bool LFile::IsMatch(const Character* pattern, const Character* name) {
  return IsMatchBy<ByBytes>(pattern, name);
}

template bool LFile::IsMatch(const char* pattern, const char* name);

bool IsMatchAnyCase(const char* pattern, const char* name) {
  return IsMatchBy<AnyCase>(pattern, name);
}
