// SPDX-License-Identifier: MIT
#include "foundation/store/datfile.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <climits>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <vector>

#include "foundation/store/datfilenative.h"
#include "foundation/threads/signalobject.h"
#include "tests/foundation/threads/waiting.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
namespace fs = std::filesystem;

std::string Get(const std::string& path, const char* section, const char* name) {
  char out[260];
  LDatFileGetValue(path.c_str(), section, name, "?", out);
  return out;
}

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class DatFileTest : public testing::Test {
 protected:
  DatFileTest() {
    folder_ = access("/dev/shm", W_OK) == 0 ? "/dev/shm/" : "/tmp/";  // in memory: many sets
    folder_ = mkdtemp((folder_ + "datfile-XXXXXX").data());
    path_ = folder_ + "/a.dat";
  }
  ~DatFileTest() override { fs::remove_all(folder_); }

  void Set(const char* section, const char* name, const char* value) const {
    LDatFileSetValue(path_.c_str(), section, name, value);
  }
  std::string Get(const char* section, const char* name) const {
    return ::Get(path_, section, name);
  }
  std::string Contents() const { return ::Contents(path_); }
  void Flush() const { LDatFileFlush(path_.c_str()); }

  /// What another process does. Each time is another second, unless it is given.
  void Write(const std::string& text, time_t second = 0) const {
    static time_t last = 1000;
    std::ofstream(path_, std::ios::binary) << text;
    const timespec time = {.tv_sec = second ? second : ++last, .tv_nsec = 0};
    const timespec times[] = {time, time};
    utimensat(AT_FDCWD, path_.c_str(), times, 0);
  }

  std::string folder_, path_;
};

TEST_F(DatFileTest, ReadsWhateverThereIs) {
  const std::string n259(259, 'n'), v259(259, 'v'), v300(300, 'v');
  const struct {
    std::string text, section, name, value;
  } rows[] = {
      {"[S]\na=1\rb=2\r\nc=3\n\rd=4\r\r\n\n\re=5", "S", "e", "5"},
      {"[S]\ra=1\rb=2", "S", "a", "1"},
      {"[S]\na = b \n", "S", "a ", " b "},
      {"[S]\na=b=c\n=empty\n", "S", "a", "b=c"},
      {"[S]\n=of no name\n", "S", "", "of no name"},
      {"a=1\n[S]\nb\n a=2", "S", "a", "?"},
      {"[Main\na=1", "Main", "a", "1"},
      {"[Main]]=x\na=1", "main", "A", "1"},
      {"[]\na=1", "", "a", "1"},
      {"[S]\na=1\n[T]\na=2\n[s]\nb=3\nA=4", "S", "a", "4"},
      {"[S]\na=1\0 2\nb\0c=3\nd=4"s, "S", "a", "1"},
      {"[S]\na=1\0 2\nb\0c=3\nd=4"s, "S", "d", "4"},
      {"[S]\nb\0c=3"s, "S", "b", "?"},
      {"[S\0T]\na=1"s, "S", "a", "1"},
      {"[S]\na=" + v300 + "\nb=1", "S", "a", v259},
      {"[S]\n" + n259 + "nn=1", "S", n259 + "other", "1"},
      {"[S]\n" + n259 + n259 + "=123456789012345678901234567890123456789\nb=1", "S", n259,
       "12345678901234567890123456789012"},                               // 551 - 519
      {"[S]\n" + std::string(550, 'n') + "=1\nb=2", "S", n259, ""},       // "=" is the last byte
      {"[S]\n" + std::string(551, 'n') + "=1\nb=2", "S", n259, "?"},      // it is cut off
      {"[S]\nx=" + std::string(50000, 'x') + "\r\na=1", "S", "a", "1"},   // longer than a block
      {"[S]\n" + std::string(16379, '\n') + "\r\na=1\r", "S", "a", "1"},  // between two blocks
      {"[" + n259 + "nn]\na=1", n259 + "other", "a", "1"},
  };
  for (const auto& row : rows) {
    path_ += 'x';
    Write(row.text);
    EXPECT_EQ(Get(row.section.c_str(), row.name.c_str()), row.value) << row.text.substr(0, 80);
  }
}

TEST_F(DatFileTest, WritesWithEachSetButTheFirstOfANewSection) {
  struct Row {
    const char *section, *name, *value, *contents;
  };
  const Row rows[] = {
      {"Main", "Name", "1", ""},  // the section comes with the next set
      {"Main", "b", "2", "[Main]\r\nName=1\r\nb=2\r\n\r\n"},
      {"MAIN", "NAME", "3", "[Main]\r\nName=3\r\nb=2\r\n\r\n"},
      {"Main", "Name", nullptr, "[Main]\r\nb=2\r\n\r\n"},
      {"Main", "missing", nullptr, "[Main]\r\nb=2\r\n\r\n"},
      {"Main", "b", nullptr, "[Main]\r\n\r\n"},
      {"Main", "Name", "4", "[Main]\r\nName=4\r\n\r\n"},
      {"Gone", nullptr, "5", "[Main]\r\nName=4\r\n\r\n"},
      {"T", "x", nullptr, "[Main]\r\nName=4\r\n\r\n"},  // makes the section nevertheless
      {"T", "y", "6", "[Main]\r\nName=4\r\n\r\n[T]\r\ny=6\r\n\r\n"},
      {"T", nullptr, nullptr, "[Main]\r\nName=4\r\n\r\n[T]\r\ny=6\r\n\r\n"},  // is not written
      {"U", "z", "7", "[Main]\r\nName=4\r\n\r\n"},                            // comes last again
      {"Main", "b", "8", "[Main]\r\nName=4\r\nb=8\r\n\r\n[U]\r\nz=7\r\n\r\n"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << &row - rows);
    Set(row.section, row.name, row.value);
    EXPECT_EQ(Contents(), row.contents);
    const std::string expected = row.name && row.value ? row.value : "?";
    EXPECT_EQ(Get(row.section, row.name ? row.name : "no such item"), expected);
  }
  Set("U", nullptr, nullptr);
  LDatFileFlush();
  EXPECT_EQ(Contents(), "[Main]\r\nName=4\r\nb=8\r\n\r\n");
  EXPECT_EQ(::Get(folder_ + "/A.DAT", "Main", "b"), "8") << "paths are compared like names";
}

TEST_F(DatFileTest, MergesWhatOthersWrite) {
  Write("[S]\na=1\nb=2\n", 5000);
  EXPECT_EQ(Get("S", "a"), "1");
  Write("[S]\na=3\nc=4\n", 5000);
  EXPECT_EQ(Get("S", "a"), "1") << "the same second and size cannot be told";
  Write("[S]\na=3\nc=4\n", 5001);
  EXPECT_EQ(Get("S", "a") + Get("S", "b") + Get("S", "c"), "324") << "nothing is removed";
  Write("[S]\na=55\n", 5001);
  EXPECT_EQ(Get("S", "a"), "55") << "by its size";
  Write("", 5001), truncate(path_.c_str(), (1LL << 32) + 9);
  const timespec times[] = {{5001, 0}, {5001, 0}};
  utimensat(AT_FDCWD, path_.c_str(), times, 0);
  EXPECT_EQ(Get("S", "a"), "55") << "by the low 32 bits of it";
  fs::remove(path_);
  EXPECT_EQ(Get("S", "a"), "55");
  Set("S", "d", "6");
  EXPECT_EQ(Contents(), "[S]\r\na=55\r\nb=2\r\nc=4\r\nd=6\r\n\r\n");

  Set("S", nullptr, nullptr);
  Write("[S]\na=7\n");
  EXPECT_EQ(Get("S", "a"), "7");
  Flush();
  EXPECT_EQ(Contents(), "[S]\na=7\n") << "loading forgets that a change was not saved";
  Write("[S]\na=8\n");
  Set("S", nullptr, nullptr);
  Flush();
  EXPECT_EQ(Contents(), "") << "but not the change that brought the loading about";
}

TEST_F(DatFileTest, TypedItems) {
  const LDatFile file(path_.c_str());
  file.SetLong("S", "first", 0);
  const auto stored = [&](const char* expected) { EXPECT_EQ(Get("S", "x"), expected); };
  file.SetLong("S", "x", 4294967297), stored("1");
  file.SetLong("S", "x", LONG_MIN), stored("0");
  file.SetInt64("S", "x", LLONG_MIN), stored("-9223372036854775808");
  EXPECT_EQ(file.GetInt64("S", "x", 0), -LLONG_MAX);
  file.SetDayTime("S", "x", 3723), stored("01:02:03");
  file.SetDayTime("S", "x", -3723), stored("-01:-02:-03");
  EXPECT_EQ(file.GetDayTime("S", "x", 0), -3723);
  file.SetDB("S", "x", -128), stored("--dB");
  EXPECT_EQ(file.GetDB("S", "x", 0), -127);
  file.SetDB("S", "x", -6), stored("-6dB");
  EXPECT_EQ(file.GetDB("S", "x", 0), -6);
  file.SetSoundTime("S", "x", -3723456), stored("-1:02:03.456");
  EXPECT_EQ(file.GetSoundTime("S", "x", 0), -3723456);

  const struct {
    const char* text;
    long number;
    bool truth;
    int dayTime;
  } rows[] = {
      {nullptr, 77, true, 77},       {"", 77, false, 77},
      {"true", 0, true, 0},          {"t", 0, true, 0},
      {"True", 0, false, 0},         {"1", 1, false, 3600},
      {" -12x", -12, false, -43200}, {"1:2", 1, false, 3720},
      {"1 :2", 1, false, 3600},      {"1: +2:3", 1, false, 3723},
      {"1::3", 1, false, 3600},      {"x:1", 0, false, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text ? row.text : "missing");
    Set("S", "x", row.text);
    EXPECT_EQ(file.GetLong("S", "x", 77), row.number);
    EXPECT_EQ(file.GetInt64("S", "x", 77), row.number);
    EXPECT_EQ(file.GetBool("S", "x", true), row.truth);
    EXPECT_EQ(file.GetDayTime("S", "x", 77), row.dayTime);
    if (row.number != 77) continue;
    EXPECT_EQ(file.GetDB("S", "x", 77), 77);
    EXPECT_EQ(file.GetSoundTime("S", "x", 77), 77);
  }
  EXPECT_FALSE(file.GetBool("S", "missing", false));
}

TEST_F(DatFileTest, Lists) {
  const LDatFile file(path_.c_str());
  EXPECT_EQ(file.GetListCount("S", "File"), 0);
  EXPECT_EQ(file.AddList("S", "File"), 0);
  EXPECT_EQ(file.AddList("S", "File"), 1);
  Set("S", "File0Name", "zero"), Set("S", "File1Name", "one"), Set("S", "File0Size", "10");
  file.MoveListItem("S", "File", "Name", 0, 1);
  file.MoveListItem("S", "File", "Size", 7, 0);
  file.SetListCount("S", "File", 9);
  EXPECT_EQ(Contents(), "[S]\r\nFilecount=9\r\nFile1Name=zero\r\nFile0Size=\r\n\r\n");
}

// Deletions and growth, against a list that is searched from its head.
TEST_F(DatFileTest, ManyItemsAreThoseOfASimpleList) {
  std::vector<std::pair<std::string, std::string>> model;
  std::mt19937 random(1);
  Set("S", "x", nullptr);
  for (int i = 0; i < 3000; ++i) {
    std::string name = std::to_string(random() % (i < 1500 ? 300 : 40)) + "abcdefghi";
    name.resize(1 + random() % name.size());
    const std::string value = std::to_string(i);
    const auto same = [&](const auto& item) { return item.first == name; };
    const auto found = std::find_if(model.begin(), model.end(), same);
    std::string given = name;
    if (i % 2) given.back() = static_cast<char>(std::toupper(given.back()));
    if (random() % 3 == 0) {
      if (found != model.end()) model.erase(found);
      Set("S", given.c_str(), nullptr);
      continue;
    }
    found == model.end() ? void(model.emplace_back(name, value)) : void(found->second = value);
    Set("S", (found == model.end() ? name : given).c_str(), value.c_str());
  }
  std::string expected = "[S]\r\n";
  for (const auto& [name, value] : model) {
    expected.append(name).append("=").append(value).append("\r\n");
    EXPECT_EQ(Get("S", name.c_str()), value);
  }
  EXPECT_EQ(strcasecmp(Contents().c_str(), (expected + "\r\n").c_str()), 0);
}

TEST_F(DatFileTest, FollowsTheLocaleWithinTheProcess) {
  const std::string made =
      "localedef --no-archive -i tr_TR -f ISO-8859-9 " + folder_ + "/tr_TR.ISO-8859-9 2>&1";
  if (std::system(made.c_str()) != 0) GTEST_SKIP() << "localedef makes no tr_TR: install locales";
  Set("S", "I", "dotless"), Set("S", "i", "dotted"), Set("S", "\xdd", "capital dotted");
  EXPECT_EQ(Get("S", "i"), "dotted") << "one item, by ASCII";
  setenv("LOCPATH", folder_.c_str(), 1);
  ASSERT_TRUE(setlocale(LC_CTYPE, "tr_TR.ISO-8859-9"));
  if (strcasecmp("I", "\xfd") != 0) GTEST_SKIP() << "a sanitizer's strcasecmp knows ASCII only";
  EXPECT_EQ(Get("S", "i"), "capital dotted");
  EXPECT_EQ(Get("S", "\xfd"), "dotted") << "the small letter of I";
  Set("S", "i", nullptr);
  setlocale(LC_CTYPE, "C");
  EXPECT_EQ(Get("S", "i") + Get("S", "\xdd"), "dotted?");
}

TEST_F(DatFileTest, ChangesWaitForAFileThatCannotBeWritten) {
  const std::string later = folder_ + "/later", folder = folder_ + "/folder";
  fs::create_directory(folder);
  path_ = later + "/a.dat";
  Set("S", "a", "1"), Set("S", "b", "2");
  LDatFileSetValue(folder.c_str(), "S", "a", "1");
  EXPECT_EQ(Get("S", "b") + ::Get(folder, "S", "a"), "21");
  const std::string pipe = folder + "/pipe";
  mkfifo(pipe.c_str(), 0600);
  const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  LDatFileSetValue(pipe.c_str(), "S", "a", "1");
  LDatFileSetValue(pipe.c_str(), "S", "b", "2");
  char byte = 0;
  EXPECT_EQ(read(reader, &byte, 1), 0) << "writing to a pipe may never end";
  close(reader);
  fs::create_directory(later);
  LDatFileFlush();
  EXPECT_EQ(Contents(), "[S]\r\na=1\r\nb=2\r\n\r\n");
}

TEST_F(DatFileTest, AFullDiskLosesNothing) {
  signal(SIGXFSZ, SIG_IGN);
  const std::string value(100, 'v');
  Set("S", "a", value.c_str()), Set("S", "b", value.c_str());
  const std::string before = Contents();
  rlimit limit = {};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit full = {150, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &full);
  Set("S", "c", "new");
  EXPECT_EQ(Contents(), "[S]\r\na=" + value + "\r\n") << "whole lines only";
  EXPECT_EQ(Get("S", "b") + Get("S", "c"), value + "new");
  setrlimit(RLIMIT_FSIZE, &limit);
  LDatFileFlush();
  EXPECT_EQ(Contents(), before.substr(0, before.size() - 2) + "c=new\r\n\r\n");
}

TEST_F(DatFileTest, ForgetsWhatWasIdleForTenMinutes) {
  const struct {
    std::uint32_t idle;
    bool leaves;
  } rows[] = {{599000, false}, {600000, true}, {0xffffffff, true}};  // the last: clock set back
  for (const auto& row : rows) {
    SCOPED_TRACE(row.idle);
    path_ += 'x';
    Set("S", "a", "1"), Set("S", "b", "2"), Set("S", nullptr, nullptr);
    gDatFileNativeSystem.Find(path_.c_str())->SetLastAccess(LDatFileNativeSystem::Now() - row.idle);
    LDatFileFlush();
    EXPECT_EQ(gDatFileNativeSystem.Find(path_.c_str()) == nullptr, row.leaves);
    EXPECT_EQ(Contents(), "") << "written in any case";
  }
  path_ = folder_ + "/no/such/folder";
  Set("S", "a", "1");
  gDatFileNativeSystem.Find(path_.c_str())->SetLastAccess(LDatFileNativeSystem::Now() - 600000);
  LDatFileFlush();
  EXPECT_EQ(Get("S", "a"), "1") << "the only place where it is";
}

TEST_F(DatFileTest, WaitsForLocksOfOthers) {
  Write("[S]\na=ha");
  const int other = open(path_.c_str(), O_RDWR | O_APPEND | O_CLOEXEC);
  flock(other, LOCK_EX);
  BlockedThread reader([&] { EXPECT_EQ(Get("S", "a"), "half and half"); });
  EXPECT_TRUE(reader.Asleep());
  EXPECT_EQ(write(other, "lf and half\n", 12), 12);
  flock(other, LOCK_UN);
  reader.Join();

  flock(other, LOCK_SH);
  const auto start = std::chrono::steady_clock::now();
  const std::string before = Contents();
  BlockedThread writer([&] { Set("S", "a", "new"); });
  EXPECT_TRUE(writer.Asleep());
  const std::string meanwhile = Contents();
  const bool inTime = std::chrono::steady_clock::now() - start < 900ms;
  EXPECT_TRUE(!inTime || meanwhile == before) << meanwhile;
  flock(other, LOCK_UN);
  writer.Join();
  EXPECT_EQ(Contents(), "[S]\r\na=new\r\n\r\n");
  close(other);
}

/// Runs in a process of its own, which leaves by exit if `function` returns true.
template <typename Function>
pid_t Start(Function function) {
  const pid_t process = fork();
  if (process != 0) return process;
  alarm(50);
  function() ? std::exit(0) : _exit(1);
}

int StatusOf(pid_t process) {
  int status = -1;
  waitpid(process, &status, 0);
  return status;
}

TEST_F(DatFileTest, ASignalInTheMiddleOfAReadEndsTheProcess) {
  Write("[S]\na=1\n");
  const int other = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  flock(other, LOCK_EX);
  const pid_t reader = Start([&] { return Get("S", "a") == "no signal"; });
  usleep(200'000);  // it waits for the lock for a second
  kill(reader, SIGTERM);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(StatusOf(reader), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 8s);
  close(other);
}

TEST_F(DatFileTest, GoesOnWithoutALockThatIsNeverReleased) {
  const auto lock = [&] {
    const int other = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    flock(other, LOCK_EX);
    return other;
  };
  Write("[S]\na=1\n");
  const int toRead = lock();
  const pid_t reader = Start([&] { return Get("S", "a") == "1"; });
  path_ += 'x';
  Set("S", "a", "1");
  const int toWrite = lock();
  Set("S", "a", "2");
  EXPECT_EQ(Contents(), "[S]\r\na=2\r\n\r\n");
  EXPECT_EQ(StatusOf(reader), 0);
  close(toRead), close(toWrite);
}

TEST_F(DatFileTest, ThreadsShareTheCache) {
  std::vector<std::jthread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([this, t] {
      for (int i = 0; i < 50; ++i) {
        const std::string name = std::to_string(t) + "." + std::to_string(i);
        Set("S", name.c_str(), "1");
        EXPECT_EQ(Get("S", name.c_str()), "1");
        if (i % 10 == 0) LDatFileFlush();
      }
    });
  }
  threads.clear();
  const std::string text = Contents();
  EXPECT_EQ(std::count(text.begin(), text.end(), '='), 200);
}

TEST_F(DatFileTest, ExitWritesWhatTheProcessChanged) {
  const std::string before = "[S]\na=1\n";
  Write(before);
  const pid_t process = Start([&] {
    Set("S", nullptr, nullptr);
    const int child = StatusOf(Start([] { return true; }));
    return child == 0 && Contents() == before;  // its child left that to it
  });
  EXPECT_EQ(StatusOf(process), 0);
  EXPECT_EQ(Contents(), "");

  Write(before);
  const pid_t ended = Start([&] {
    gDatFileNativeSystem.End();
    Set("S", nullptr, nullptr);
    return Contents().empty();  // nobody else would write it any more
  });
  EXPECT_EQ(StatusOf(ended), 0);
}

// Nothing that a living process has set is lost: its next set brings back what others overwrote.
TEST_F(DatFileTest, ProcessesThatSetAtOnceEndUpWithEverything) {
  const std::string value(200, 'v');
  LSignalObject done[3], final[2], killable;
  const auto work = [&](int self, int count) {
    for (int i = 0; i < count; ++i) {
      Set("S", (std::to_string(self) + "." + std::to_string(i)).c_str(), value.c_str());
      if (i == 5 && self == 2) killable.Signal();
      std::this_thread::sleep_for(2ms);
    }
    done[self].Signal();
    if (!final[self].WaitSignal(30000)) return false;
    Set("S", (std::to_string(self) + "." + std::to_string(count)).c_str(), value.c_str());
    return true;
  };
  const pid_t victim = Start([&] { return work(2, INT_MAX); });
  const pid_t workers[] = {Start([&] { return work(0, 20); }), Start([&] { return work(1, 20); })};
  EXPECT_TRUE(killable.WaitSignal(30000));
  kill(victim, SIGKILL);
  StatusOf(victim);
  for (const int i : {0, 1})
    EXPECT_TRUE(done[i].WaitSignal(30000));
  for (int i = 0; i < 2; ++i) {
    Write(Contents());  // so that it is another second
    final[i].Signal();
    EXPECT_EQ(StatusOf(workers[i]), 0);
  }
  for (int i = 0; i < 42; ++i) {
    const std::string name = std::to_string(i % 2) + "." + std::to_string(i / 2);
    EXPECT_EQ(Get("S", name.c_str()), value) << name;
  }
}

}  // namespace
