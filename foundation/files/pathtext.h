// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_PATHTEXT_H
#define ZORVEX_FOUNDATION_FILES_PATHTEXT_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

/// \file
/// What the path functions are made of.

inline constexpr std::size_t kPathSize = 260;  ///< of a path buffer, with the terminator
inline constexpr std::size_t kMaxPathLength = kPathSize - 1;

inline constexpr std::string_view kSeparators = "/\\";

constexpr bool IsSeparator(char c) {
  return c == '/' || c == '\\';
}

/// At most `length` first characters of a text; what comes after them is not read.
inline std::string_view FirstOf(const char* text, std::size_t length) {
  return {text, ::strnlen(text, length)};
}

/// Where the part after the last separator begins.
inline std::size_t FilePartOf(std::string_view path) {
  std::size_t start = path.size();
  while (start > 0 && !IsSeparator(path[start - 1])) {
    --start;
  }
  return start;
}

/// Writes into a path buffer, which the text may be a part of.
inline void CopyPath(char* dest, std::string_view text) {
  const std::size_t length = std::min(text.size(), kMaxPathLength);
  std::char_traits<char>::move(dest, text.data(), length);
  dest[length] = '\0';
}

/// A path that grows up to 259 characters and drops the rest. Paths are put together in here, so
/// that the caller's buffer may be one of the sources too.
class PathText {
 public:
  void Append(std::string_view text) { length_ += text.copy(text_ + length_, Room()); }
  void Append(char c) {
    if (length_ < kMaxPathLength) text_[length_++] = c;
  }
  /// A folder that parts are to be appended to: at most 258 characters of it and, behind what is
  /// not empty, a separator.
  void AppendFolder(std::string_view folder) {
    Append(folder.substr(0, kMaxPathLength - 1));
    if (length_ > 0 && !IsSeparator(text_[length_ - 1])) Append('/');
  }
  void RemoveLast(std::size_t count) { length_ -= count; }

  [[nodiscard]] std::size_t Room() const { return kMaxPathLength - length_; }
  [[nodiscard]] std::string_view Text() const { return {text_, length_}; }
  void CopyTo(char* dest) const { CopyPath(dest, Text()); }

 private:
  char text_[kMaxPathLength];
  std::size_t length_ = 0;
};

#endif  // ZORVEX_FOUNDATION_FILES_PATHTEXT_H
