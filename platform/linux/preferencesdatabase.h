// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_LINUX_PREFERENCESDATABASE_H
#define ZORVEX_PLATFORM_LINUX_PREFERENCESDATABASE_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/cfstring.h"

struct sqlite3;

/// A stored value, or one to store; a null value is to be removed.
struct Preference {
  std::string user;
  std::string host;
  std::string key;
  CFStringRef value;
  /// The database holds just that already, unless another process changed it.
  bool isUnchanged = false;
};

/// The database of an application's preferences: a table of values by user, host and key.
///
/// It is opened when it is first needed, and again when its file is not the one at its path any
/// more, after a failure, and after a fork, which SQLite's handles must not cross. It has a
/// rollback journal, not a write-ahead log: that works on network volumes, for a user who may only
/// read, and leaves one file at rest. A process killed at any moment leaves a journal that the next
/// one to open the file rolls back.
///
/// For one thread at a time.
class PreferencesDatabase {
 public:
  enum class Result { Done, Damaged, Failed };

  explicit PreferencesDatabase(std::string application) : application_(std::move(application)) {}
  ~PreferencesDatabase();
  PreferencesDatabase(const PreferencesDatabase&) = delete;
  PreferencesDatabase& operator=(const PreferencesDatabase&) = delete;

  /// As one transaction: reads all values when another process may have changed some since the last
  /// time, into `stored`, which else stays empty, and then stores the changes. Where there is no
  /// database, nothing is stored in it, and one is made only for changes. Waits for others as long
  /// as `patience` says, in milliseconds.
  Result Exchange(const std::vector<Preference>& changes,
                  std::optional<std::vector<Preference>>& stored, int patience);

  /// Renames the file that Exchange found damaged, so that the next Exchange makes a new one. False
  /// when that failed.
  bool SetAside();

 private:
  Result Attempt(const std::vector<Preference>& changes,
                 std::optional<std::vector<Preference>>& stored);
  Result Transact(const std::vector<Preference>& changes,
                  std::optional<std::vector<Preference>>& stored, bool isWriting);
  Result Store(const std::vector<Preference>& changes);
  Result ReadAll(std::vector<Preference>& stored);
  Result ReadVersion(int& version);
  Result Execute(const char* statement);
  Result ResultOf(int code) const;

  bool Open(bool isToCreate);
  void Close();
  /// Whether the open file is not at its path any more.
  bool HasMoved() const;

  const std::string application_;
  std::string path_;
  sqlite3* database_ = nullptr;
  pid_t owner_ = 0;                  ///< the process that opened it
  std::optional<int> version_;       ///< of what was read last
  std::vector<sqlite3*> abandoned_;  ///< a parent process's; neither to be used nor to be closed
};

#endif  // ZORVEX_PLATFORM_LINUX_PREFERENCESDATABASE_H
