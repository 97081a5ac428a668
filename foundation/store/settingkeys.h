// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_SETTINGKEYS_H
#define ZORVEX_FOUNDATION_STORE_SETTINGKEYS_H

#include <cstddef>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>

/// \file
/// The keys of user settings as a tree of records. "Accounts/Main/Server" is the item Server of the
/// record Main in the record Accounts. A record's own key ends with a separator, "Accounts/Main/",
/// and holds the record's name, "Main", its primary key.
///
/// `user` is kCFPreferencesCurrentUser or another text of zorvex/platform/preferencesdomain.h, not
/// null; every other null text reads as the empty one. An `out` of `char*` has 260 bytes and may be
/// one of the other texts. "Without regard to case" means the letters of ASCII. Any thread. May
/// throw std::bad_alloc.

/// The last component of a path, of which one separator at the end does not count: "A/Main/" and
/// "A/Main" give "Main".
ZORVEX_API void _LSettingMakePrimaryKeyFromPath(const char* path, char* out);

/// Makes the records on the way to a path that are missing: for each beginning of it that ends with
/// a separator and under which nothing is stored, stores its last component there. Separators in
/// front of the first component do not count, several in a row count as one. "R/S" and "R/S/f" give
/// "R/", the latter and "R/S/" also "R/S/".
ZORVEX_API void _LSettingMakeParentKeyPath(const char* user, const char* path);

/// Finds the next child of a record: a key that begins, without regard to case, with the path, or
/// with "path/name" when there is a name, goes on with a separator, and has at most one more, at
/// its end. On purpose that is true of records and of items. The search goes through the keys in
/// their order from number `index` on. When one is found, `index` is its number, to go on behind
/// it, and `outName` has its last component. The own key of the path is not a child of it; that of
/// "path/name" is what tells that there is a child of that name.
///
/// False when there is none; `index` and `outName` are then as they were.
ZORVEX_API bool _LSettingFindRecord(const char* user, char* outName, std::size_t& index,
                                    const char* path, const char* name);

/// Renames a record: moves all keys that begin, without regard to case, with `recordPath` to the
/// same place below its parent and `newKey`, and gives the record's own key the new name for a
/// value. New keys are made by LFile::_MakeFilePath, which cuts them after 259 bytes. The record's
/// new path, without a separator at its end, goes into `outNewPath`.
///
/// The path should end with a separator. It is on purpose that "A/Main" without one takes
/// "A/Main2/x" along.
///
/// False, with an empty `outNewPath` and nothing changed, when `newKey` is empty or the record is
/// at the top, without a parent. Whether it could be stored is not told.
ZORVEX_API bool _LSettingChangePrimaryKey(const char* user, const char* recordPath,
                                          const char* newKey, char* outNewPath);

/// Whether something is in a record, an item or a child: a key that begins with the path and a
/// separator, without regard to case, and goes on behind that.
ZORVEX_API bool _LSettingTestKeyHasValue(const char* user, const char* path);

/// Walks over what is in a record, items and children, in ascending order without regard to case:
/// finds the smallest first component behind "path/" in all keys that is greater than `current`, or
/// the smallest of all when that is empty. Of names that differ in case only, one is found. With an
/// empty path it walks over what is at the top. False when there is none; `outNext` is then empty.
ZORVEX_API bool _LSettingPlistGetNextKey(const char* user, const char* path, const char* current,
                                         char* outNext);

/// The value stored under a whole key of the user settings, or `defaultValue`; true when there is
/// one. Into 260 bytes, or whole.
ZORVEX_API bool _LSettingGetString(const char* user, const char* path, const char* defaultValue,
                                   char* out);
ZORVEX_API bool _LSettingGetString(const char* user, const char* path, const char* defaultValue,
                                   LStringLongTemplate<char>& out);

#endif  // ZORVEX_FOUNDATION_STORE_SETTINGKEYS_H
