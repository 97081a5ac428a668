// SPDX-License-Identifier: MIT
#include "foundation/system/commandline.h"

#include <cstring>

namespace {

/// Bytes beyond ASCII are letters, whatever the sign of char.
bool IsSkipped(char character) {
  return character != '\0' && static_cast<unsigned char>(character) < 33;
}

}  // namespace

LCommandLineArgumentStringExpander::LCommandLineArgumentStringExpander(const char* text)
    : position_(text != nullptr ? text : "") {}

bool LCommandLineArgumentStringExpander::NextArgument() {
  argument_.SetLength(0);
  while (IsSkipped(*position_))
    ++position_;
  bool isQuoted = false;
  for (;;) {
    const std::size_t plain = std::strcspn(position_, isQuoted ? "\\\"" : " \\\"");
    if (plain != 0) argument_.Append(position_, plain);
    position_ += plain;
    if (*position_ == '\0') break;  // not passed: the end stays the end
    const char character = *position_++;
    if (character == ' ') break;
    if (character == '"') {
      if (isQuoted) break;
      isQuoted = true;
    } else if (*position_ == ' ') {
      argument_.Append(*position_++);
    } else {
      argument_.Append(character);
    }
  }
  return !argument_.IsEmpty();
}

std::int64_t LCommandLineArgumentStringExpander::GetArgumentCount(const char* text) const {
  LCommandLineArgumentStringExpander arguments(text);
  arguments.NextArgument();  // the program, as a rule
  std::int64_t count = 0;
  while (arguments.NextArgument())
    ++count;
  return count;
}
