// SPDX-License-Identifier: MIT
#include "foundation/store/settingtext.h"

#include <algorithm>

namespace {

constexpr unsigned char LowerCaseOf(char c) {
  return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

}  // namespace

SettingKeyPath::SettingKeyPath(const char* section, const char* item) {
  Append(section == nullptr ? "" : section);
  if (length_ == 0 || text_[length_ - 1] != '/') Append("/");
  Append(item == nullptr ? "" : item);
  text_[length_] = '\0';
}

void SettingKeyPath::Append(std::string_view text) {
  length_ += text.copy(text_ + length_, kSize - 1 - length_);
}

std::string PasswordItemOf(const char* item) {
  return std::string("__") + (item == nullptr ? "" : item);
}

int CompareWithoutCase(std::string_view a, std::string_view b) {
  const std::size_t length = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < length; ++i) {
    const int difference = LowerCaseOf(a[i]) - LowerCaseOf(b[i]);
    if (difference != 0) return difference;
  }
  return (a.size() > b.size() ? 1 : 0) - (a.size() < b.size() ? 1 : 0);
}

bool BeginsWith(std::string_view key, std::string_view beginning) {
  return key.size() >= beginning.size() &&
         CompareWithoutCase(key.substr(0, beginning.size()), beginning) == 0;
}

void MakeLowerCase(char* text) {
  for (; *text != '\0'; ++text)
    *text = static_cast<char>(LowerCaseOf(*text));
}
