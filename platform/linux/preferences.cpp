// SPDX-License-Identifier: MIT
#include "platform/preferences.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>

#include "platform/linux/preferencesdatabase.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kPatience = 5000;  // ms
/// How often a look tries to read what could not be read before. It does not wait for others again.
constexpr auto kTimeBetweenTries = std::chrono::seconds(1);

struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const {
    return std::hash<std::string_view>()(text);
  }
};

template <class Value>
using TextMap = std::unordered_map<std::string, Value, TextHash, std::equal_to<>>;

/// Set by this process and not stored yet.
struct Change {
  CFStringRef value;  // null: removed
  unsigned long long number = 0;
  bool isUnchanged = false;
};

/// What there is of one user and host.
struct Table {
  std::string user;
  std::string host;
  TextMap<CFStringRef> values;  // the changes among them
  TextMap<Change> changes;
  CFArrayRef keys;  // made when they are asked for; null when they changed
};

struct Application {
  explicit Application(const std::string& name) : database(name) {}

  PreferencesDatabase database;
  std::vector<std::unique_ptr<Table>> tables;
  bool isLoaded = false;
  bool hasFailed = false;
  Clock::time_point nextTry;
};

/// Locks: `exchange` is held while a database is worked on, `memory` for a moment around what is
/// kept of them all; who holds both took `exchange` first. One of each is enough: who synchronises
/// is a rare guest, and everybody else never waits for it.
class Preferences {
 public:
  static Preferences& Get() {
    // Never destroyed: threads may outlive main.
    static Preferences* const preferences = std::make_unique<Preferences>().release();
    return *preferences;
  }

  Preferences() {
    // Nobody forks in the middle of a transaction, whose locks the child would believe to be its
    // own, nor while another thread holds a mutex that the child needs.
    pthread_atfork([] { Get().LockAll(); }, [] { Get().UnlockAll(); },
                   [] { Get().BeginAsChild(); });
  }

  CFStringRef CopyValue(std::string_view key, const char* name, const char* user, const char* host);
  CFArrayRef CopyKeyList(const char* name, const char* user, const char* host);
  void SetValue(std::string_view key, CFStringRef value, const char* name, const char* user,
                const char* host);
  bool Synchronize(const char* name);

 private:
  using Lock = std::unique_lock<std::mutex>;

  void LockAll() {
    exchange_.lock();
    memory_.lock();
  }
  void UnlockAll() {
    memory_.unlock();
    exchange_.unlock();
  }

  void BeginAsChild() {
    // What the parent process set is the parent's to store.
    for (auto& [name, application] : applications_)
      ForgetChanges(application, lastNumber_);
    UnlockAll();
  }

  // With the memory's lock held.
  Application& ApplicationOf(std::string_view name);
  static Table& TableOf(Application& application, std::string_view user, std::string_view host);
  static std::vector<Preference> ChangesOf(const Application& application);
  static std::vector<Preference> ValuesOf(const Application& application);
  static void TakeStored(Application& application, std::vector<Preference>& stored,
                         const std::vector<Preference>& written);
  static void ForgetChanges(Application& application, unsigned long long lastNumber);

  /// Makes sure that what is stored was read, if that is possible. Leaves the lock held.
  void Load(Application& application, Lock& memory);
  bool Exchange(Application& application, int patience, bool isStoring);

  std::mutex exchange_;
  std::mutex memory_;
  std::map<std::string, Application, std::less<>> applications_;
  unsigned long long lastNumber_ = 0;  // of a change
};

Application& Preferences::ApplicationOf(std::string_view name) {
  const auto found = applications_.find(name);
  if (found != applications_.end()) return found->second;
  return applications_.try_emplace(std::string(name), std::string(name)).first->second;
}

Table& Preferences::TableOf(Application& application, std::string_view user,
                            std::string_view host) {
  for (const auto& table : application.tables) {
    if (table->user == user && table->host == host) return *table;
  }
  auto table = std::make_unique<Table>();
  table->user = user;
  table->host = host;
  application.tables.push_back(std::move(table));
  return *application.tables.back();
}

std::vector<Preference> Preferences::ChangesOf(const Application& application) {
  std::vector<Preference> changes;
  for (const auto& table : application.tables) {
    for (const auto& [key, change] : table->changes)
      changes.push_back({table->user, table->host, key, change.value, change.isUnchanged});
  }
  return changes;
}

std::vector<Preference> Preferences::ValuesOf(const Application& application) {
  std::vector<Preference> values;
  for (const auto& table : application.tables) {
    for (const auto& [key, value] : table->values)
      values.push_back({table->user, table->host, key, value});
  }
  return values;
}

void Preferences::ForgetChanges(Application& application, unsigned long long lastNumber) {
  for (const auto& table : application.tables) {
    std::erase_if(table->changes,
                  [&](const auto& change) { return change.second.number <= lastNumber; });
  }
}

void Preferences::TakeStored(Application& application, std::vector<Preference>& stored,
                             const std::vector<Preference>& written) {
  for (const auto& table : application.tables) {
    table->values.clear();
    table->keys.reset();
  }
  for (Preference& row : stored) {
    TableOf(application, row.user, row.host)
        .values.insert_or_assign(std::move(row.key), std::move(row.value));
  }
  const auto apply = [](Table& table, const std::string& key, const CFStringRef& value) {
    if (value) {
      table.values.insert_or_assign(key, value);
    } else {
      table.values.erase(key);
    }
  };
  for (const Preference& change : written)
    apply(TableOf(application, change.user, change.host), change.key, change.value);
  // Among them those of other threads, made while the database was read.
  for (const auto& table : application.tables) {
    for (const auto& [key, change] : table->changes)
      apply(*table, key, change.value);
  }
}

bool Preferences::Exchange(Application& application, int patience, bool isStoring) {
  Lock memory(memory_);
  std::vector<Preference> changes;
  if (isStoring) changes = ChangesOf(application);
  unsigned long long lastNumber = lastNumber_;
  memory.unlock();

  using Result = PreferencesDatabase::Result;
  std::optional<std::vector<Preference>> stored;
  Result result = application.database.Exchange(changes, stored, patience);
  if (result == Result::Damaged && !changes.empty() && application.database.SetAside()) {
    memory.lock();
    changes = ValuesOf(application);
    lastNumber = lastNumber_;
    memory.unlock();
    result = application.database.Exchange(changes, stored, patience);
  }

  memory.lock();
  application.hasFailed = result == Result::Failed;
  application.nextTry = Clock::now() + kTimeBetweenTries;
  if (result == Result::Failed) return false;
  // What is damaged holds nothing that could be read later.
  application.isLoaded = true;
  if (result == Result::Damaged) return !isStoring;
  if (stored) TakeStored(application, *stored, changes);
  if (isStoring) ForgetChanges(application, lastNumber);
  return true;
}

void Preferences::Load(Application& application, Lock& memory) {
  const auto isToLoad = [&] {
    return !application.isLoaded && (!application.hasFailed || Clock::now() >= application.nextTry);
  };
  if (!isToLoad()) return;
  memory.unlock();
  {
    const Lock exchange(exchange_);
    memory.lock();
    const bool isStillToLoad = isToLoad();
    const int patience = application.hasFailed ? 0 : kPatience;
    memory.unlock();
    if (isStillToLoad) Exchange(application, patience, false);
  }
  memory.lock();
}

CFStringRef Preferences::CopyValue(std::string_view key, const char* name, const char* user,
                                   const char* host) {
  Lock memory(memory_);
  Application& application = ApplicationOf(name);
  Load(application, memory);
  const Table& table = TableOf(application, user, host);
  const auto found = table.values.find(key);
  return found == table.values.end() ? nullptr : found->second;
}

CFArrayRef Preferences::CopyKeyList(const char* name, const char* user, const char* host) {
  Lock memory(memory_);
  Application& application = ApplicationOf(name);
  Load(application, memory);
  Table& table = TableOf(application, user, host);
  if (!table.keys) {
    std::vector<CFStringRef> keys;
    keys.reserve(table.values.size());
    for (const auto& value : table.values)
      keys.push_back(std::make_shared<const std::string>(value.first));
    std::sort(keys.begin(), keys.end(),
              [](const CFStringRef& a, const CFStringRef& b) { return *a < *b; });
    table.keys = std::make_shared<const std::vector<CFStringRef>>(std::move(keys));
  }
  return table.keys;
}

void Preferences::SetValue(std::string_view key, CFStringRef value, const char* name,
                           const char* user, const char* host) {
  const Lock memory(memory_);
  Application& application = ApplicationOf(name);
  Table& table = TableOf(application, user, host);
  const auto found = table.values.find(key);
  const bool isThere = found != table.values.end();
  const bool isEqual = isThere ? value && *value == *found->second : !value;

  const auto [change, isNew] = table.changes.try_emplace(std::string(key));
  change->second = {value, ++lastNumber_, isNew && isEqual && application.isLoaded};
  if (isEqual) return;
  if (!value) {
    table.values.erase(found);
    table.keys.reset();
  } else if (isThere) {
    found->second = std::move(value);
  } else {
    table.values.emplace(key, std::move(value));
    table.keys.reset();
  }
}

bool Preferences::Synchronize(const char* name) {
  const Lock exchange(exchange_);
  Lock memory(memory_);
  Application& application = ApplicationOf(name);
  memory.unlock();
  return Exchange(application, kPatience, true);
}

}  // namespace

CFStringRef CFPreferencesCopyValue(const char* key, const char* application, const char* user,
                                   const char* host) {
  return Preferences::Get().CopyValue(key, application, user, host);
}

void CFPreferencesSetValue(const char* key, const char* value, const char* application,
                           const char* user, const char* host) {
  Preferences::Get().SetValue(key, value ? std::make_shared<const std::string>(value) : nullptr,
                              application, user, host);
}

bool CFPreferencesSynchronize(const char* application, const char* /*user*/, const char* /*host*/) {
  return Preferences::Get().Synchronize(application);
}

CFArrayRef CFPreferencesCopyKeyList(const char* application, const char* user, const char* host) {
  return Preferences::Get().CopyKeyList(application, user, host);
}
