// SPDX-License-Identifier: MIT
#include "platform/preferences.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

/// Milliseconds that were not slept; while that is negative they are slept.
std::atomic<long> notSlept = -1;

}  // namespace

// In place of the C library's, for who waits for a lock.
#pragma GCC visibility push(default)
extern "C" int usleep(useconds_t microseconds) {
  if (notSlept < 0) return poll(nullptr, 0, static_cast<int>(microseconds / 1000));
  notSlept += microseconds / 1000;
  return 0;
}
#pragma GCC visibility pop

namespace {

namespace fs = std::filesystem;

std::string application;

std::string Get(const std::string& key, const char* user = kCFPreferencesCurrentUser,
                const char* host = kCFPreferencesCurrentHost, const std::string& of = application) {
  const CFStringRef value = CFPreferencesCopyValue(key.c_str(), of.c_str(), user, host);
  return value ? *value : "none";
}
void Set(const std::string& key, const char* value, const char* user = kCFPreferencesCurrentUser,
         const char* host = kCFPreferencesCurrentHost, const std::string& of = application) {
  CFPreferencesSetValue(key.c_str(), value, of.c_str(), user, host);
}
bool Synchronize(const std::string& of = application) {
  return CFPreferencesSynchronize(of.c_str(), kCFPreferencesCurrentUser, kCFPreferencesCurrentHost);
}
std::string Keys() {
  std::string keys;
  const CFArrayRef list = CFPreferencesCopyKeyList(application.c_str(), kCFPreferencesCurrentUser,
                                                   kCFPreferencesCurrentHost);
  for (const CFStringRef& key : *list)
    keys += *key + " ";
  return keys;
}

pid_t Start(const std::function<bool()>& work) {
  const pid_t child = fork();
  // Not _exit, in which the thread sanitizer would miss the parent's threads.
  if (child == 0) syscall(SYS_exit_group, work() ? 0 : 1);
  return child;
}
bool HasSucceeded(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}
bool InAnotherProcess(const std::function<bool()>& work) {
  return HasSucceeded(Start(work));
}
std::string StoredValue(const std::string& key) {
  auto* const value = static_cast<char*>(
      mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  EXPECT_TRUE(InAnotherProcess([&] {
    Synchronize();
    std::snprintf(value, 4096, "%s", Get(key).c_str());
    return true;
  }));
  std::string result = value;
  munmap(value, 4096);
  return result;
}

class PreferencesTest : public testing::Test {
 protected:
  PreferencesTest() {
    // In memory where there is such a place: what is stored goes to the disk each time.
    std::string name = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    name += "/preferences-XXXXXX";
    root_ = mkdtemp(name.data());
    folder_ = root_ / "config";
    setenv("XDG_CONFIG_HOME", folder_.c_str(), 1);
    Use("Test");
    Synchronize();
  }
  ~PreferencesTest() override { fs::remove_all(root_); }

  void Use(const std::string& name) {
    application = name;
    file_ = folder_ / "zorvex" / (name + ".sqlite");
  }

  fs::path root_, folder_, file_;
};

TEST_F(PreferencesTest, ValuesAreSeenAtOnceHereAndByOthersOnceTheyAreSynchronised) {
  EXPECT_EQ(Get("a"), "none");
  EXPECT_FALSE(fs::exists(folder_)) << "made by looking";
  Set("b", "two");
  Set("a/x", "on\xc3\xa9");
  Set("B", "");
  EXPECT_EQ(Get("a/x") + Get("b") + Get("B"), "on\xc3\xa9two");
  EXPECT_EQ(Keys(), "B a/x b ");
  EXPECT_EQ(StoredValue("b"), "none");
  ASSERT_TRUE(Synchronize());
  EXPECT_EQ(StoredValue("b"), "two");
  EXPECT_EQ(fs::status(file_).permissions(), fs::perms::owner_read | fs::perms::owner_write);

  const CFStringRef kept = CFPreferencesCopyValue(
      "b", application.c_str(), kCFPreferencesCurrentUser, kCFPreferencesCurrentHost);
  ASSERT_TRUE(InAnotherProcess([] {
    Set("b", "three"), Set("a/x", nullptr), Set("c", "new");
    return Synchronize();
  }));
  EXPECT_EQ(Get("b"), "two");
  // Though it is the same as here: what is synchronised last counts.
  Set("b", "two");
  ASSERT_TRUE(Synchronize());
  Set("d", "mine");
  ASSERT_TRUE(Synchronize());
  EXPECT_EQ(Keys() + Get("c") + StoredValue("b") + StoredValue("d"), "B b c d newtwomine");
  EXPECT_EQ(*kept, "two");
  Set("d", nullptr);
  EXPECT_EQ(Get("d"), "none");
}

TEST_F(PreferencesTest, ApplicationsUsersAndHostsHaveValuesOfTheirOwn) {
  const std::vector<std::string> names = {"", ".", "../../up", "a/b", "a%2Fb", "a\n", "Test"};
  const auto forAll = [&](const auto& work) {
    for (const std::string& name : names) {
      for (const char* user : {kCFPreferencesCurrentUser, kCFPreferencesAnyUser, "someone"}) {
        for (const char* host : {kCFPreferencesCurrentHost, kCFPreferencesAnyHost})
          work(name, user, host, name + user + host);
      }
      EXPECT_TRUE(Synchronize(name)) << name;
    }
  };
  forAll([](const auto& name, auto user, auto host, const std::string& value) {
    Set("key", value.c_str(), user, host, name);
  });
  setenv("XDG_CONFIG_HOME", (folder_.string() + "/.").c_str(), 1);  // to be read again
  for (const std::string& name : names)
    Synchronize(name);
  forAll([](const auto& name, auto user, auto host, const std::string& value) {
    EXPECT_EQ(Get("key", user, host, name), value);
  });
  // Nothing anywhere else.
  EXPECT_EQ(std::distance(fs::directory_iterator(root_), {}), 1);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "zorvex"), {}), 7);
  const std::string tooLong(300, 'x');
  Set("key", "value", kCFPreferencesCurrentUser, kCFPreferencesCurrentHost, tooLong);
  EXPECT_FALSE(Synchronize(tooLong));
}

TEST_F(PreferencesTest, ProcessesAndThreadsThatWriteAtOnceLoseNothing) {
  constexpr int kWriters = 4, kSets = 12;
  const auto write = [](const std::string& name, int from, int step) {
    for (int i = from; i < kSets; i += step) {
      const std::string key = name + std::to_string(i);
      Set(key, key.c_str());
      while (!Synchronize()) {
      }
    }
  };
  std::vector<pid_t> processes;
  {
    std::vector<std::thread> threads;
    for (int i = 0; i < kWriters; ++i) {
      const std::string name(1, static_cast<char>('a' + i));
      // Of all threads only the one that forks goes on in the new process.
      processes.push_back(Start([&] { return write(name, 0, 1), true; }));
      threads.emplace_back(write, "t", i, kWriters);
    }
    while (Get("t" + std::to_string(kSets - 1)) == "none")
      Keys();
    for (auto& thread : threads)
      thread.join();
  }
  for (const pid_t process : processes)
    EXPECT_TRUE(HasSucceeded(process));
  ASSERT_TRUE(Synchronize());
  for (const char name : std::string("abcdt")) {
    for (int i = 0; i < kSets; ++i)
      EXPECT_EQ(Get(name + std::to_string(i)), name + std::to_string(i));
  }
}

TEST_F(PreferencesTest, WhatWasSynchronisedOutlivesAKillAtAnyMoment) {
  std::mt19937 random(1);
  auto* const synchronised = static_cast<std::atomic<int>*>(
      mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  for (int done = 0; done < 1000; done = *synchronised) {
    const pid_t writer = Start([&] {
      for (int i = *synchronised + 1;; ++i) {
        // Both or none, over several pages.
        const std::string value = std::to_string(i) + std::string(9000, '.');
        Set("first" + std::to_string(i % 7), value.c_str());
        Set("second" + std::to_string(i % 7), value.c_str());
        if (Synchronize()) *synchronised = i;
      }
      return true;
    });
    const int enough = done + 1 + static_cast<int>(random() % 9);
    while (*synchronised < enough)
      sched_yield();
    for (unsigned int spin = random() % 4096; spin > 0; --spin)
      (void)getppid();
    kill(writer, SIGKILL);
    HasSucceeded(writer);

    ASSERT_TRUE(Synchronize());
    ASSERT_TRUE(!fs::exists(file_.string() + ".damaged1"));
    const int last = *synchronised;
    for (int i = std::max(last - 6, 1); i <= last + 1; ++i) {
      const long stored = std::strtol(Get("first" + std::to_string(i % 7)).c_str(), nullptr, 10);
      // The one after the last may just have made it.
      EXPECT_GE(stored, std::min(i, last) - (i > last ? 7 : 0));
      EXPECT_LE(stored, last + 1);
      EXPECT_EQ(Get("first" + std::to_string(i % 7)), Get("second" + std::to_string(i % 7)));
    }
  }
  munmap(synchronised, 4096);
}

int writesLeft = 0;
bool isToKill = false;

ssize_t WriteUntilTheLast(int file, const void* bytes, std::size_t count, off_t offset) {
  if (--writesLeft > 0) return pwrite(file, bytes, count, offset);
  if (isToKill) raise(SIGKILL);
  errno = ENOSPC;
  return -1;
}

TEST_F(PreferencesTest, EachWriteMayBeTheLastOne) {
  for (const bool isKill : {true, false}) {
    ASSERT_TRUE(InAnotherProcess([] {
      Set("a", "none"), Set("b", "none");
      return Synchronize();
    }));
    bool isCompleted = false;
    int count = 1;
    for (; !isCompleted; ++count) {
      const std::string value = std::to_string(count) + std::string(9000, '.');
      const pid_t writer = Start([&] {
        sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
        for (const char* call : {"pwrite", "pwrite64"}) {
          system->xSetSystemCall(system, call,
                                 reinterpret_cast<sqlite3_syscall_ptr>(&WriteUntilTheLast));
        }
        writesLeft = count, isToKill = isKill;
        Set("a", value.c_str()), Set("b", value.c_str());
        const bool isStored = Synchronize();
        writesLeft = 1000;
        // On the full disk, once there is room again.
        return isStored || (!Synchronize() ? abort() : void(), false);
      });
      isCompleted = HasSucceeded(writer);
      ASSERT_TRUE(Synchronize());
      EXPECT_EQ(Get("a"), Get("b"));
      if (!isKill || isCompleted) {
        EXPECT_EQ(Get("a"), value);
      }
    }
    EXPECT_GT(count, 6) << "writes go another way";
  }
}

void Overwrite(const fs::path& file, long from, const std::string& bytes) {
  std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
  stream.seekp(from);
  stream << bytes;
}

TEST_F(PreferencesTest, DamageCostsNoMoreThanWhatWasStored) {
  const std::string garbage(20000, '\x5a');
  const struct {
    const char* name;
    std::function<void()> damage;
    bool isSetAside;
  } rows[] = {
      {"garbage", [&] { std::ofstream(file_) << garbage; }, true},
      {"half", [&] { fs::resize_file(file_, fs::file_size(file_) / 2 + 100); }, true},
      {"pages", [&] { Overwrite(file_, 4096, garbage); }, true},
      {"head", [&] { Overwrite(file_, 20, garbage.substr(0, 70)); }, true},
      {"others",
       [&] {
         fs::remove(file_);
         sqlite3* other = nullptr;
         sqlite3_open(file_.c_str(), &other);
         sqlite3_exec(other, "CREATE TABLE preferences(x)", nullptr, nullptr, nullptr);
         sqlite3_close(other);
       },
       true},
      {"empty", [&] { fs::resize_file(file_, 0); }, false},
      {"gone", [&] { fs::remove_all(folder_); }, false},
      {"journal", [&] { std::ofstream(file_.string() + "-journal") << garbage; }, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Use(row.name);  // of which this process has nothing in memory
    const bool isJournal = std::string(row.name) == "journal";
    ASSERT_TRUE(InAnotherProcess([] {
      for (int i = 0; i < 200; ++i)
        Set("old" + std::to_string(i), std::string(100, 'x').c_str());
      return Synchronize();
    }));
    row.damage();
    EXPECT_TRUE(InAnotherProcess([&] {
      const bool isDefault = Get("old1") == (isJournal ? std::string(100, 'x') : "none");
      Set("new", "value");
      return isDefault && Get("new") == "value" && Synchronize();
    }));
    EXPECT_EQ(StoredValue("new"), "value");
    EXPECT_EQ(fs::exists(file_.string() + ".damaged1"), row.isSetAside);
    EXPECT_FALSE(fs::exists(file_.string() + "-journal"));
  }
  // Whoever comes second leaves the new one alone.
  Use("many");
  fs::create_directories(file_.parent_path());
  std::ofstream(file_) << garbage;
  std::vector<pid_t> processes;
  for (const char* const key : {"a", "b", "c", "d"}) {
    processes.push_back(Start([&] {
      Set(key, "v");
      while (!Synchronize()) {
      }
      return true;
    }));
  }
  for (const pid_t process : processes)
    EXPECT_TRUE(HasSucceeded(process));
  EXPECT_TRUE(Synchronize());
  EXPECT_EQ(Keys(), "a b c d ");
  EXPECT_FALSE(fs::exists(file_.string() + ".damaged2"));

  Use("known");
  // Who still knows the values keeps them.
  Set("known", "value"), Synchronize();
  std::ofstream(file_) << garbage;
  EXPECT_FALSE(Synchronize());
  EXPECT_EQ(Get("known"), "value");
  Set("more", "of it");
  EXPECT_TRUE(Synchronize());
  EXPECT_EQ(StoredValue("known") + StoredValue("more"), "valueof it");
  // Who removes them does so for everybody, and the open file does not swallow what comes then.
  fs::remove_all(folder_);
  Set("new", "value");
  EXPECT_TRUE(Synchronize());
  EXPECT_EQ(Keys() + StoredValue("new"), "new value");
}

TEST_F(PreferencesTest, AStoreThatCannotBeWrittenKeepsItsValuesAndLaterTakesTheNewOnes) {
  Use("Fresh");  // of which this process has nothing in memory
  ASSERT_TRUE(InAnotherProcess([] { return Set("old", "stored"), Synchronize(); }));
  const fs::path saved = root_ / "saved", zorvex = folder_ / "zorvex";
  const struct {
    const char* name;
    std::function<void()> obstruct, clear;
    const char* oldValue;
  } rows[] = {
      {"read-only",
       [&] {
         for (const auto& path : {root_, folder_, zorvex, file_})
           fs::permissions(path, fs::perms(0555));
         // Nothing is read-only for root.
         if (geteuid() == 0 && seteuid(65534) != 0) abort();
       },
       [&] {
         if (getuid() == 0 && seteuid(0) != 0) abort();
         fs::permissions(zorvex, fs::perms(0755));
         fs::permissions(file_, fs::perms(0644));
       },
       "stored"},
      {"no folder", [&] { fs::rename(folder_, saved), std::ofstream(folder_) << "a file"; },
       [&] { fs::remove(folder_), fs::rename(saved, folder_); }, "none"},
      {"a folder", [&] { fs::rename(file_, saved), fs::create_directory(file_); },
       [&] { fs::remove(file_), fs::rename(saved, file_); }, "none"},
  };
  for (const auto& row : rows) {
    EXPECT_TRUE(InAnotherProcess([&] {
      row.obstruct();
      EXPECT_EQ(Get("old"), row.oldValue);
      Set("new", std::string(2000, '.').c_str());
      EXPECT_FALSE(Synchronize());
      EXPECT_EQ(Get("new").size(), 2000U);
      row.clear();
      EXPECT_TRUE(Synchronize());
      EXPECT_EQ(Get("old"), "stored");
      return !testing::Test::HasFailure();
    })) << row.name;
    EXPECT_EQ(StoredValue("new").size(), 2000U) << row.name;
    ASSERT_TRUE(InAnotherProcess([] { return Set("new", nullptr), Synchronize(); }));
  }
}

TEST_F(PreferencesTest, WaitsForALockedDatabaseNoLongerThanFiveSeconds) {
  Use("Locked");  // of which this process has nothing in memory
  ASSERT_TRUE(InAnotherProcess([] { return Set("old", "stored"), Synchronize(); }));
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file_.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  notSlept = 0;
  EXPECT_EQ(Get("old"), "none");
  EXPECT_EQ(notSlept, 5000);
  EXPECT_EQ(Get("old"), "none");
  EXPECT_EQ(notSlept, 5000) << "only the first look waits";
  Set("new", "value");
  EXPECT_FALSE(Synchronize());
  EXPECT_EQ(notSlept, 10000);
  EXPECT_EQ(Get("new"), "value");
  notSlept = -1;
  sqlite3_close(other);
  EXPECT_TRUE(Synchronize());
  EXPECT_EQ(Get("old") + StoredValue("new"), "storedvalue");
}

}  // namespace
