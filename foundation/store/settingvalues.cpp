// SPDX-License-Identifier: MIT
#include "foundation/store/settingvalues.h"

#include "foundation/files/pathtext.h"
#include "foundation/store/settingcipher.h"
#include "foundation/store/settingtext.h"
#include "platform/preferences.h"

namespace {

template <class Out>
bool Get(const SettingDomain& domain, const char* path, const char* defaultValue, Out&& out) {
  const CFStringRef value = CopySetting(domain, path);
  if (value) {
    CopySettingText(*value, out);
  } else {
    CopySettingText(defaultValue == nullptr ? "" : defaultValue, out);
  }
  return value != nullptr;
}

}  // namespace

void CopySettingText(std::string_view value, char* out) {
  CopyPath(out, value);
}

void CopySettingText(std::string_view value, LStringLongTemplate<char>& out) {
  // By way of a new string: the value may be a part of the old one.
  LStringLongTemplate<char> text;
  text.GrowToSize(value.size() + 1);
  text.Append(value.data(), value.size());
  out = std::move(text);
}

void CopyPassword(const LStringLongTemplate<char>& stored, char* out) {
  LStringLongTemplate<char> password = stored;
  LSettingDecrypt(password.Buffer());
  CopyPath(out, password.Text());
}

CFStringRef CopySetting(const SettingDomain& domain, const char* path) {
  return CFPreferencesCopyValue(SettingText(path).Text(), domain.application, domain.user,
                                kCFPreferencesCurrentHost);
}

bool GetSetting(const SettingDomain& domain, const char* path, const char* defaultValue,
                char* out) {
  return Get(domain, path, defaultValue, out);
}

bool GetSetting(const SettingDomain& domain, const char* path, const char* defaultValue,
                LStringLongTemplate<char>& out) {
  return Get(domain, path, defaultValue, out);
}

void ChangeSetting(const SettingDomain& domain, const char* path, const char* value) {
  const SettingText text(value);
  CFPreferencesSetValue(SettingText(path).Text(), value == nullptr ? nullptr : text.Text(),
                        domain.application, domain.user, kCFPreferencesCurrentHost);
}

bool StoreSettings(const SettingDomain& domain) {
  return CFPreferencesSynchronize(domain.application, domain.user, kCFPreferencesCurrentHost);
}

bool SetSetting(const SettingDomain& domain, const char* path, const char* value) {
  ChangeSetting(domain, path, value);
  return StoreSettings(domain);
}

CFArrayRef CopySettingKeys(const SettingDomain& domain) {
  return CFPreferencesCopyKeyList(domain.application, domain.user, kCFPreferencesCurrentHost);
}

void DeleteSettings(const SettingDomain& domain, const char* section) {
  const SettingKeyPath beginning(section, "");
  const CFArrayRef keys = CopySettingKeys(domain);
  for (const CFStringRef& key : *keys) {
    if (BeginsWith(*key, beginning.View())) ChangeSetting(domain, key->c_str(), nullptr);
  }
  StoreSettings(domain);
}
