// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_SETTINGSRECORD_H
#define ZORVEX_FOUNDATION_STORE_SETTINGSRECORD_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>
#include <zorvex/platform/preferencesdomain.h>

/// A handle on a record of the user settings: see zorvex/foundation/store/settingkeys.h for what a
/// record is, and zorvex/foundation/store/usersettings.h for what holds of all settings. Making one
/// touches nothing. One thread at a time uses one.
class ZORVEX_API LSharedSettingsRecord {
 public:
  LSharedSettingsRecord() = default;
  /// `name` is the primary key. Both texts are cut to 259 bytes. `whose` is the user, borrowed as
  /// long as the record lives.
  LSharedSettingsRecord(const char* name, const char* path,
                        const char* whose = kCFPreferencesCurrentUser);

  // The fields and their order are part of the interface.

  const char* user = kCFPreferencesCurrentUser;  ///< whose settings; not null
  char primaryKey[260] = {};                     ///< the record's name
  char keyPath[260] = {};  ///< the way to it, its name included: "Accounts/Main"

  /// Stores an item, after the records above this one that are missing
  /// (::_LSettingMakeParentKeyPath of the key path). The result tells whether it could be stored.
  bool SetString(const char* name, const char* value);
  /// Stores an item as it is. That the text is not enciphered, and that no record is made, is
  /// deliberate: this is for a text which ::LSettingEncrypt made.
  bool SetPassword(const char* name, const char* value);

  /// The item, or the default when there is none, which is empty when it is not given; true when
  /// there is one.
  bool GetString(const char* name, const char* defaultValue, char* out) const;
  bool GetString(const char* name, char* out) const;
  bool GetString(const char* name, const char* defaultValue, LStringLongTemplate<char>& out) const;
  /// The same as GetString: on purpose nothing is deciphered.
  bool GetPassword(const char* name, const char* defaultValue, char* out) const;

  /// Renames the record with all that is in it (::_LSettingChangePrimaryKey), and takes the new
  /// name and path. False, and nothing changes, when that failed, as for a record at the top. A
  /// record that does not exist yet, because nothing is stored under its own key, just gets the
  /// name, and keeps its path.
  bool SetPrimaryKey(const char* newKey);

  /// These two deliberately look for the item in a section that is called as the record, its
  /// primary key, and not at its path, which is another place for all records that are not at the
  /// top.
  [[nodiscard]] bool TestFieldExists(const char* name) const;
  /// Removes the field; see TestFieldExists.
  void DeleteField(const char* name);

  /// Whether there is a child of that name: it has a key of its own, or an item.
  [[nodiscard]] bool TestSubRecordExists(const char* name) const;
  /// Removes the record, or a child of it, with all that is in it.
  void DeleteRecord();
  /// Removes a child of it in the same way.
  void DeleteSubRecord(const char* name);
};

#endif  // ZORVEX_FOUNDATION_STORE_SETTINGSRECORD_H
