// SPDX-License-Identifier: MIT
#include "platform/linux/preferencesdatabase.h"

#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "platform/linux/preferencesfile.h"

namespace {

constexpr char kCreateTable[] =
    "CREATE TABLE IF NOT EXISTS preferences("
    "user TEXT NOT NULL, host TEXT NOT NULL, key TEXT NOT NULL, value TEXT NOT NULL,"
    "PRIMARY KEY(user, host, key)) WITHOUT ROWID";
constexpr char kStore[] =
    "INSERT OR REPLACE INTO preferences(user, host, key, value) VALUES(?,?,?,?)";
constexpr char kRemove[] = "DELETE FROM preferences WHERE user = ? AND host = ? AND key = ?";
constexpr char kReadAll[] = "SELECT user, host, key, value FROM preferences";
constexpr char kFindTable[] = "SELECT 1 FROM sqlite_schema WHERE name = 'preferences'";

/// How often a file may be exchanged for another one while it is worked on.
constexpr int kMaxAttempts = 4;

struct Finalize {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

class Statement {
 public:
  Statement(sqlite3* database, const char* text) {
    sqlite3_stmt* statement = nullptr;
    code_ = sqlite3_prepare_v2(database, text, -1, &statement, nullptr);
    statement_.reset(statement);
  }
  /// How preparing it went.
  int Code() const { return code_; }

  int Step() { return code_ == SQLITE_OK ? sqlite3_step(statement_.get()) : code_; }
  /// Runs it, and makes it ready for the next time.
  int Run() {
    const int code = Step();
    sqlite3_reset(statement_.get());
    return code;
  }
  /// The text must live until the statement was run.
  void Bind(int place, const std::string& text) {
    sqlite3_bind_text64(statement_.get(), place, text.data(), text.size(), SQLITE_STATIC,
                        SQLITE_UTF8);
  }
  std::string Text(int column) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
    const int length = sqlite3_column_bytes(statement_.get(), column);
    return text == nullptr ? std::string() : std::string(text, static_cast<std::size_t>(length));
  }
  int Integer(int column) { return sqlite3_column_int(statement_.get(), column); }

 private:
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
  int code_ = SQLITE_OK;
};

/// Ends a transaction that was left in the middle, also by std::bad_alloc: nobody else could write.
struct RollBackAtEnd {
  explicit RollBackAtEnd(sqlite3* ofDatabase) : database(ofDatabase) {}
  ~RollBackAtEnd() {
    if (sqlite3_get_autocommit(database) == 0) {
      sqlite3_exec(database, "ROLLBACK", nullptr, nullptr, nullptr);
    }
  }
  RollBackAtEnd(const RollBackAtEnd&) = delete;
  RollBackAtEnd& operator=(const RollBackAtEnd&) = delete;
  sqlite3* database;
};

}  // namespace

PreferencesDatabase::~PreferencesDatabase() {
  Close();
}

PreferencesDatabase::Result PreferencesDatabase::ResultOf(int code) const {
  switch (code & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return Result::Done;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return Result::Damaged;
    default:
      return Result::Failed;
  }
}

bool PreferencesDatabase::HasMoved() const {
  int hasMoved = 0;
  sqlite3_file_control(database_, nullptr, SQLITE_FCNTL_HAS_MOVED, &hasMoved);
  return hasMoved != 0;
}

void PreferencesDatabase::Close() {
  if (database_ != nullptr && owner_ != getpid()) {
    // Closing it would end what the parent process is doing. Kept, so that it counts as in use.
    abandoned_.push_back(database_);
  } else {
    sqlite3_close_v2(database_);
  }
  database_ = nullptr;
  version_.reset();
}

bool PreferencesDatabase::Open(bool isToCreate) {
  if (isToCreate) CreatePreferencesFile(path_);
  owner_ = getpid();
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  if (sqlite3_open_v2(path_.c_str(), &database_, kFlags, nullptr) != SQLITE_OK) {
    Close();
    return false;
  }
  // A change outlives the machine's crash only once the folder knows that its journal is gone.
  sqlite3_exec(database_, "PRAGMA synchronous = EXTRA; PRAGMA trusted_schema = OFF", nullptr,
               nullptr, nullptr);
  return true;
}

PreferencesDatabase::Result PreferencesDatabase::Exchange(
    const std::vector<Preference>& changes, std::optional<std::vector<Preference>>& stored,
    int patience) {
  Result result = Result::Failed;
  for (int attempts = 0; attempts < kMaxAttempts; ++attempts) {
    std::string path = PreferencesPath(application_);
    if (database_ != nullptr && (owner_ != getpid() || path != path_ || HasMoved())) Close();
    path_ = std::move(path);
    if (database_ == nullptr) {
      const bool isMissing = access(path_.c_str(), F_OK) != 0;
      if (isMissing && changes.empty()) {
        stored.emplace();
        return Result::Done;
      }
      if (!Open(isMissing)) return Result::Failed;
    }
    sqlite3_busy_timeout(database_, patience);
    result = Attempt(changes, stored);
    // Somebody put it aside, or removed it, meanwhile: what was stored then is not at its place.
    if (!HasMoved()) break;
    result = Result::Failed;
  }
  // After a failure nothing of the old state is relied upon; a damaged file is still to be set
  // aside.
  if (result == Result::Failed && database_ != nullptr) Close();
  return result;
}

PreferencesDatabase::Result PreferencesDatabase::Attempt(
    const std::vector<Preference>& changes, std::optional<std::vector<Preference>>& stored) {
  stored.reset();
  const bool isWriting = std::any_of(changes.begin(), changes.end(),
                                     [](const Preference& change) { return !change.isUnchanged; });
  Result result = Transact(changes, stored, isWriting);
  // They are only unchanged as long as nobody else wrote.
  if (result == Result::Done && stored && !isWriting && !changes.empty()) {
    version_.reset();
    result = Transact(changes, stored, true);
  }
  return result;
}

PreferencesDatabase::Result PreferencesDatabase::Transact(
    const std::vector<Preference>& changes, std::optional<std::vector<Preference>>& stored,
    bool isWriting) {
  const RollBackAtEnd unlessCommitted{database_};
  Result result = Execute(isWriting ? "BEGIN IMMEDIATE" : "BEGIN");
  int version = 0;
  if (result == Result::Done) result = ReadVersion(version);
  if (result == Result::Done && version_ != version) result = ReadAll(stored.emplace());
  if (result == Result::Done && isWriting) result = Store(changes);
  if (result == Result::Done) result = Execute("COMMIT");
  if (result == Result::Done) version_ = version;
  return result;
}

PreferencesDatabase::Result PreferencesDatabase::Execute(const char* statement) {
  return ResultOf(Statement(database_, statement).Step());
}

PreferencesDatabase::Result PreferencesDatabase::ReadVersion(int& version) {
  Statement statement(database_, "PRAGMA data_version");
  const Result result = ResultOf(statement.Step());
  version = statement.Integer(0);
  return result;
}

PreferencesDatabase::Result PreferencesDatabase::ReadAll(std::vector<Preference>& stored) {
  stored.clear();
  Statement find(database_, kFindTable);
  const int found = find.Step();
  if (found != SQLITE_ROW) return ResultOf(found);  // a process was killed before it made the table
  Statement read(database_, kReadAll);
  // A table of that name, but not ours.
  if (read.Code() == SQLITE_ERROR) return Result::Damaged;
  int code = read.Step();
  for (; code == SQLITE_ROW; code = read.Step()) {
    stored.push_back({read.Text(0), read.Text(1), read.Text(2),
                      std::make_shared<const std::string>(read.Text(3))});
  }
  return ResultOf(code);
}

PreferencesDatabase::Result PreferencesDatabase::Store(const std::vector<Preference>& changes) {
  Result result = Execute(kCreateTable);
  if (result != Result::Done) return result;
  Statement store(database_, kStore);
  Statement remove(database_, kRemove);
  for (const Preference& change : changes) {
    Statement& statement = change.value ? store : remove;
    statement.Bind(1, change.user);
    statement.Bind(2, change.host);
    statement.Bind(3, change.key);
    if (change.value) statement.Bind(4, *change.value);
    result = ResultOf(statement.Run());
    if (result != Result::Done) break;
  }
  return result;
}

bool PreferencesDatabase::SetAside() {
  // Not path_: that may be a link to the file.
  const char* const name = sqlite3_db_filename(database_, "main");
  const bool isAside =
      name != nullptr && SetPreferencesFileAside(name, [this] { return !HasMoved(); });
  Close();
  return isAside;
}
