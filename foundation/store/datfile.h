// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_DATFILE_H
#define ZORVEX_FOUNDATION_STORE_DATFILE_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/time/daytime.h>
#include <zorvex/foundation/time/soundtime.h>

/// \file
/// Dat files: small text files of "[section]" and "name=value" lines, for settings that several
/// processes may share. A process keeps each file that it has touched in memory. Reads come from
/// there and only look whether another process has changed the file; each set writes the whole
/// file.
///
/// Texts are bytes, without escapes: a line break in a name or a value, "=" in an item's name, a
/// name that begins with "[" or "]" in a section's name are not what they were when the file is
/// read again. Paths, names and values are cut to 259 bytes. Sections and items, and paths, are the
/// same without regard to case (strcasecmp) and keep the case in which they came first.
///
/// No function reports a failure. A file that cannot be written keeps its changes in memory until a
/// later set or flush, or the exit of the process, writes them. What several processes can rely on
/// is on the page docs/datfile.md.
///
/// Threads: all functions may be called from any thread; one of them runs at a time, whatever file
/// it is about, its disk access included. It waits at most 2 s for a file that another process has
/// locked to read it, and 1 s to write it, and then goes on without the lock.
///
/// Pointers must not be null unless it says so. Only std::bad_alloc is thrown; what was to be set
/// is then not set, or not written.

/// Sets an item and writes the file. A null `value` deletes the item; a null `name` deletes the
/// whole section, which is not written on purpose before the next set or flush.
///
/// The first value of a new section is seen by gets at once, but it reaches the file with the next
/// set of that file and not before, not even when the process exits. That is deliberate: set the
/// first item of a new section twice where it must be on the disk.
ZORVEX_API void LDatFileSetValue(const char* path, const char* section, const char* name,
                                 const char* value);

/// Copies the item's value, or `defaultValue` when there is none, into `out`, which has room for
/// 260 bytes; it may be the buffer of `defaultValue`.
ZORVEX_API void LDatFileGetValue(const char* path, const char* section, const char* name,
                                 const char* defaultValue, char* out);

/// Writes that file if it has changes that are not on the disk.
ZORVEX_API void LDatFileFlush(const char* path);

/// Writes all files that have such changes, and forgets those that were not used for ten minutes.
ZORVEX_API void LDatFileFlush();

/// A dat file by its path, with typed items. Reading gives the default when the item is missing or
/// empty, unless a function says something else. An object holds nothing but the path: it is free
/// to make and to copy, and any number may stand for one file.
class ZORVEX_API LDatFile {
 public:
  explicit LDatFile(const char* path);
  [[nodiscard]] const char* Path() const { return path_; }

  /// In decimal digits.
  void SetInt64(const char* section, const char* name, long long value) const;
  /// As ttoi64template reads it.
  [[nodiscard]] long long GetInt64(const char* section, const char* name,
                                   long long defaultValue) const;

  /// Stores the low 32 bits only, as a signed number; this is deliberate.
  void SetLong(const char* section, const char* name, long value) const;
  /// As strtol reads it, base 10.
  [[nodiscard]] long GetLong(const char* section, const char* name, long defaultValue) const;

  /// True when the text begins with a lower-case "t": "true" is, "1" and "True" are not. An empty
  /// text is false, whatever the default. There is nothing to set it with: store "true" or "false".
  [[nodiscard]] bool GetBool(const char* section, const char* name, bool defaultValue) const;

  /// As "01:02:03".
  void SetDayTime(const char* section, const char* name, LDayTime value) const;
  /// Hours, minutes and seconds; those that are missing are 0.
  [[nodiscard]] LDayTime GetDayTime(const char* section, const char* name,
                                    LDayTime defaultValue) const;

  /// As "-6dB"; silence as "--dB", which GetDB reads as -127.
  void SetDB(const char* section, const char* name, LdB<signed char> value) const;
  /// What SetDB wrote; the default when the item is missing.
  [[nodiscard]] LdB<signed char> GetDB(const char* section, const char* name,
                                       LdB<signed char> defaultValue) const;

  /// As LSoundTime::_GetText writes it, to the millisecond.
  void SetSoundTime(const char* section, const char* name, LSoundTime value) const;
  /// What SetSoundTime wrote; the default when the item is missing.
  [[nodiscard]] LSoundTime GetSoundTime(const char* section, const char* name,
                                        LSoundTime defaultValue) const;

  /// Lists inside a section: the item "PREFIXcount" holds the length, and each entry has items
  /// named "PREFIXindexSUFFIX", one for each suffix: "Filecount", "File0Name", "File0Size".
  [[nodiscard]] int GetListCount(const char* section, const char* prefix) const;
  /// Sets how many entries the list has; the entries themselves stay as they are.
  void SetListCount(const char* section, const char* prefix, int count) const;
  /// Counts one more entry and returns its index. Its items are the caller's to set. Two processes,
  /// or threads, that add at the same time can get the same index.
  int AddList(const char* section, const char* prefix) const;
  /// Moves the item of one suffix from one index to another, over what was there. An item that is
  /// missing arrives as an empty one.
  void MoveListItem(const char* section, const char* prefix, const char* suffix, int from,
                    int to) const;

 private:
  char path_[260];
};

#endif  // ZORVEX_FOUNDATION_STORE_DATFILE_H
