// SPDX-License-Identifier: MIT
#include "foundation/store/usersettings.h"

#include <cwchar>
#include <string>
#include <vector>

#include "foundation/store/settingcipher.h"
#include "foundation/store/settingtext.h"
#include "foundation/store/settingvalues.h"
#include "foundation/text/charsets.h"

namespace {

constexpr std::size_t kMaxTextLength = 259;

void CopyWide(const wchar_t* text, wchar_t* out) {
  const std::size_t length = wcsnlen(text, kMaxTextLength);
  std::char_traits<wchar_t>::move(out, text, length);
  out[length] = L'\0';
}

}  // namespace

bool LUserSettingSetString(const char* section, const char* name, const char* value) {
  return SetSetting({}, SettingKeyPath(section, name).Text(), value == nullptr ? "" : value);
}

bool _LUserSettingGetString(const char* section, const char* name, const char* defaultValue,
                            char* out) {
  return GetSetting({}, SettingKeyPath(section, name).Text(), defaultValue, out);
}

bool _LUserSettingGetString(const char* section, const char* name, const char* defaultValue,
                            LStringLongTemplate<char>& out) {
  return GetSetting({}, SettingKeyPath(section, name).Text(), defaultValue, out);
}

void LUserSettingDeleteItem(const char* section, const char* name) {
  const SettingKeyPath item(section, name);
  const SettingKeyPath password(section, PasswordItemOf(name).c_str());
  SetSetting({}, item.Text(), nullptr);
  SetSetting({}, password.Text(), nullptr);
}

void LUserSettingDeleteSection(const char* section) {
  DeleteSettings({}, section);
}

bool LUserSettingTestExists(const char* section, const char* name) {
  return LUserSettingTestKeyExists(SettingKeyPath(section, name).Text());
}

bool LUserSettingTestKeyExists(const char* path) {
  return LUserSettingTestKeyFullPathExists(kCFPreferencesCurrentUser, path);
}

bool LUserSettingTestKeyFullPathExists(const char* user, const char* path) {
  SettingDomain domain;
  domain.user = user;
  return CopySetting(domain, path) != nullptr;
}

bool LUserSettingSetPassword(const char* section, const char* name, const char* password) {
  LStringLongTemplate<char> stored;
  LSettingEncrypt(stored, password);
  return LUserSettingSetString(section, PasswordItemOf(name).c_str(), stored.Text());
}

bool LUserSettingGetPassword(const char* section, const char* name, const char* /*defaultValue*/,
                             char* out) {
  LStringLongTemplate<char> stored;
  const bool isFound = _LUserSettingGetString(section, PasswordItemOf(name).c_str(), "", stored);
  CopyPassword(stored, out);
  return isFound;
}

bool LSettingGetUnicodeString(const char* section, const char* name, const wchar_t* defaultValue,
                              wchar_t* out) {
  const CFStringRef value = CopySetting({}, SettingKeyPath(section, name).Text());
  if (!value) {
    CopyWide(defaultValue == nullptr ? L"" : defaultValue, out);
    return false;
  }
  std::vector<wchar_t> decoded(value->size() + 1);
  LCopyUTF32FromUTF8(decoded.data(), value->c_str(), decoded.size());
  CopyWide(decoded.data(), out);
  return true;
}

bool LSettingSetUnicodeString(const char* section, const char* name, const wchar_t* value) {
  if (value == nullptr) value = L"";
  // 4 bytes for each character.
  std::vector<char> encoded(std::wcslen(value) * 4 + 1);
  LCopyUTF8FromUTF32(encoded.data(), value, encoded.size());
  return LUserSettingSetString(section, name, encoded.data());
}
