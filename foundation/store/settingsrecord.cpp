// SPDX-License-Identifier: MIT
#include "foundation/store/settingsrecord.h"

#include "foundation/files/pathtext.h"
#include "foundation/store/settingkeys.h"
#include "foundation/store/settingtext.h"
#include "foundation/store/settingvalues.h"

namespace {

SettingDomain DomainOf(const LSharedSettingsRecord& record) {
  SettingDomain domain;
  domain.user = record.user;
  return domain;
}

}  // namespace

LSharedSettingsRecord::LSharedSettingsRecord(const char* name, const char* path, const char* whose)
    : user(whose) {
  CopyPath(primaryKey, name == nullptr ? "" : name);
  CopyPath(keyPath, path == nullptr ? "" : path);
}

bool LSharedSettingsRecord::SetString(const char* name, const char* value) {
  MakeParentKeyPath(DomainOf(*this), keyPath);
  return SetPassword(name, value);
}

bool LSharedSettingsRecord::SetPassword(const char* name, const char* value) {
  return SetSetting(DomainOf(*this), SettingKeyPath(keyPath, name).Text(),
                    value == nullptr ? "" : value);
}

bool LSharedSettingsRecord::GetString(const char* name, const char* defaultValue, char* out) const {
  return GetSetting(DomainOf(*this), SettingKeyPath(keyPath, name).Text(), defaultValue, out);
}

bool LSharedSettingsRecord::GetString(const char* name, char* out) const {
  return GetString(name, "", out);
}

bool LSharedSettingsRecord::GetString(const char* name, const char* defaultValue,
                                      LStringLongTemplate<char>& out) const {
  return GetSetting(DomainOf(*this), SettingKeyPath(keyPath, name).Text(), defaultValue, out);
}

bool LSharedSettingsRecord::GetPassword(const char* name, const char* defaultValue,
                                        char* out) const {
  return GetString(name, defaultValue, out);
}

bool LSharedSettingsRecord::SetPrimaryKey(const char* newKey) {
  if (newKey == nullptr) newKey = "";
  const SettingKeyPath ownKey(keyPath, "");
  if (CopySetting(DomainOf(*this), ownKey.Text())) {
    char newPath[kPathSize];
    if (!_LSettingChangePrimaryKey(user, ownKey.Text(), newKey, newPath)) return false;
    CopyPath(keyPath, newPath);
  }
  CopyPath(primaryKey, newKey);
  return true;
}

bool LSharedSettingsRecord::TestFieldExists(const char* name) const {
  return CopySetting(DomainOf(*this), SettingKeyPath(primaryKey, name).Text()) != nullptr;
}

void LSharedSettingsRecord::DeleteField(const char* name) {
  SetSetting(DomainOf(*this), SettingKeyPath(primaryKey, name).Text(), nullptr);
}

bool LSharedSettingsRecord::TestSubRecordExists(const char* name) const {
  char found[kPathSize];
  std::size_t index = 0;
  return _LSettingFindRecord(user, found, index, keyPath, name);
}

void LSharedSettingsRecord::DeleteRecord() {
  DeleteSettings(DomainOf(*this), keyPath);
}

void LSharedSettingsRecord::DeleteSubRecord(const char* name) {
  DeleteSettings(DomainOf(*this), SettingKeyPath(keyPath, name).Text());
}
