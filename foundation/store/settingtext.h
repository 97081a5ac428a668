// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_SETTINGTEXT_H
#define ZORVEX_FOUNDATION_STORE_SETTINGTEXT_H

#include <cstddef>
#include <string>
#include <string_view>

#include "foundation/store/cfstring.h"

/// \file
/// The texts that settings are addressed by. A null text reads as the empty one.

bool IsValidUtf8(const char* text);

/// What LCFString makes of a text, which it borrows as long as nothing needs to be made of it.
class SettingText {
 public:
  explicit SettingText(const char* text) : text_(text == nullptr ? "" : text) {
    if (IsValidUtf8(text_)) return;
    made_.SetString(text_);
    text_ = made_.Text();
  }
  SettingText(const SettingText&) = delete;
  SettingText& operator=(const SettingText&) = delete;
  [[nodiscard]] const char* Text() const { return text_; }

 private:
  LCFString made_;
  const char* text_;
};

/// The key of an item: "section/item", with one separator when the section has one at its end. Cut
/// to 519 bytes. Without an item it is what the keys of everything in the section begin with.
class SettingKeyPath {
 public:
  SettingKeyPath(const char* section, const char* item);
  [[nodiscard]] const char* Text() const { return text_; }
  [[nodiscard]] std::string_view View() const { return {text_, length_}; }

 private:
  static constexpr std::size_t kSize = 520;

  void Append(std::string_view text);

  char text_[kSize];
  std::size_t length_ = 0;
};

/// The item under which the password of an item is kept.
std::string PasswordItemOf(const char* item);

/// Whether a key begins with a text, compared without regard to the case of ASCII letters: in every
/// locale the same, since what is stored outlives the locale.
bool BeginsWith(std::string_view key, std::string_view beginning);

/// As strcasecmp in the C locale.
int CompareWithoutCase(std::string_view a, std::string_view b);

/// ASCII letters alone, in every locale the same.
void MakeLowerCase(char* text);

#endif  // ZORVEX_FOUNDATION_STORE_SETTINGTEXT_H
