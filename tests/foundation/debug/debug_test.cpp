// SPDX-License-Identifier: MIT
//
// The program starts itself again as "debug_test child STEP...", to see runs that end in every way.
#include "foundation/debug/debug.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <barrier>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <thread>

#include <gtest/gtest.h>

#include "foundation/store/usersettings.h"
#include "platform/systemversion.h"

namespace {

namespace fs = std::filesystem;

/// What a child prints, and behind a space its exit code; 128 and the number of a signal that
/// killed it.
std::string Execute(const std::string& steps) {
  const std::string self = "/proc/" + std::to_string(getpid()) + "/exe";
  FILE* const pipe = popen(("exec " + self + " child " + steps + " 2>&1").c_str(), "re");
  std::string output;
  for (int c; (c = std::fgetc(pipe)) != EOF;)
    output += static_cast<char>(c);
  const int status = pclose(pipe);
  const int code = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  return output + " " + std::to_string(code);
}

std::string LockFile() {
  return std::getenv("HOME") + std::string("/Library/Caches/_LZorvex_rl_someone");
}

std::string SystemNumber() {
  const auto [major, minor] = ReadSystemVersion();
  return std::to_string(major) + (minor < 10 ? "0" : "") + std::to_string(minor);
}

/// What happens, once, when the lock file has appeared, and before files are locked.
std::function<void()> onLink, onExclusive, onShared;

/// The steps of a child.
const std::map<std::string, std::function<void()>> actions = {
    {"init", [] { std::printf("%d", LDebugHangDetectorInit()); }},
    {"record",
     [] {
       LHangRecord record;
       LDebugHangDetectorInit(&record);
       std::printf("%ld,%ld", record.startTime, record.startTick);
     }},
    {"destroy", LDebugHangDetectorDestroy},
    {"look", [] { std::printf(fs::exists(fs::symlink_status(LockFile())) ? "+" : "-"); }},
    {"second", [] { std::printf("(%s)", Execute("init look").c_str()); }},
    {"meet", [] { onExclusive = actions.at("second"); }},
    {"ended", [] { onShared = [] { fs::remove(LockFile()); }; }},
    {"term", [] { onLink = [] { raise(SIGTERM); }; }},
    {"fork",
     [] {
       if (fork() == 0) std::exit(0);
       wait(nullptr);
     }},
    {"atexit", [] { std::atexit([] { std::printf("."); }); }},
    {"crash",
     [] {  // on another thread, and in memory that the sanitizers know nothing of
       void* const page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
       std::thread([page] { *static_cast<volatile char*>(page) = 1; }).join();
     }},
    {"handleABRT", [] { LDebugSignalHandler(SIGABRT, nullptr, nullptr); }},
    {"iid", [] { LUserSettingSetString("Software", "IID", "1-a &b"); }},
    {"report", [] { LDebugHangDetectorBugReport(true); }},
    {"print", [] { OutputDebugStringF("%-3d|%s", 7, std::string(600, 'x').c_str()); }},
};

int Child(const std::vector<std::string>& steps) {
  for (const std::string& step : steps) {
    std::fflush(stdout);
    if (const auto action = actions.find(step); action != actions.end())
      action->second();
    else if (step.starts_with("page="))
      LDebugSetBugReportPage(step.substr(5).c_str());
    else
      raise(std::stoi(step));
  }
  std::printf("end");
  return 0;
}

}  // namespace

extern "C" int link(const char* from, const char* to) noexcept {
  const long result = syscall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0);
  if (const auto hook = std::exchange(onLink, {})) hook();
  return static_cast<int>(result);
}
extern "C" int flock(int file, int operation) noexcept {
  const auto hook = std::exchange((operation & LOCK_EX) != 0 ? onExclusive : onShared, {});
  if (hook) hook();
  return static_cast<int>(syscall(SYS_flock, file, operation));
}

namespace {

/// A home of its own. The children have the library's own handlers, not the sanitizers'.
class DebugTest : public testing::Test {
 protected:
  DebugTest() {
    mkdtemp(home_.data());
    setenv("HOME", home_.c_str(), 1);
    setenv("XDG_CONFIG_HOME", home_.c_str(), 1);
    setenv("LOGNAME", "someone", 1);
    const std::string handlers = "handle_segv=1:handle_sigbus=1:handle_sigfpe=1:handle_sigill=1:";
    setenv("ASAN_OPTIONS", (handlers + "detect_leaks=0").c_str(), 1);
    setenv("TSAN_OPTIONS", (handlers + "report_signal_unsafe=0").c_str(), 1);
  }
  ~DebugTest() override { fs::remove_all(home_); }

  using Rows = std::vector<std::pair<std::string, std::string>>;
  void Check(const Rows& rows) {
    for (const auto& [steps, outcome] : rows)
      EXPECT_EQ(Execute(steps), outcome) << steps;
  }

  std::string home_ = "/tmp/debug-XXXXXX";
};

TEST_F(DebugTest, TheNextRunKnowsHowThisOneEnded) {
  const Rows scenes[] = {
      {{"init look", "0+end 0"}, {"init destroy look", "0-end 0"}, {"init", "0end 0"}},
      {{"init 9", "0 137"}, {"init look", "1-end 0"}, {"init look", "0+end 0"}},
      // Ends that go through exit, and so take the file away.
      {{"init 11", "0 154"}, {"init 15", "0 0"}, {"init", "0end 0"}},
      {{"init second look", "0(0+end 0)+end 0"}, {"init", "0end 0"}},
      {{"init fork look second", "0+(0+end 0)end 0"}, {"init", "0end 0"}},
      {{"init init look", "01-end 0"}},  // its own file
      {{"meet init", "(0+end 0)0end 0"}},
      {{"init 9", "0 137"}, {"ended init", "0end 0"}},
  };
  for (const auto& rows : scenes) {
    Check(rows);
    EXPECT_TRUE(fs::is_empty(home_ + "/Library/Caches"));
  }
}

TEST_F(DebugTest, TheLockFile) {
  const std::time_t before = std::time(nullptr);
  Check({{"init 9", "0 137"}});
  std::int64_t record[2];
  std::ifstream(LockFile()).read(reinterpret_cast<char*>(record), sizeof record);
  EXPECT_EQ(fs::file_size(LockFile()), sizeof record);
  EXPECT_TRUE(record[0] >= before && record[0] <= std::time(nullptr));
  EXPECT_EQ((record[1] - static_cast<std::uint32_t>(record[0] * 1000)) / 1000, 0);
  Check({{"record look", std::to_string(record[0]) + "," + std::to_string(record[1]) + "-end 0"}});

  std::ofstream(LockFile()) << "short";
  Check({{"record look", "0,0-end 0"}});
  fs::remove(LockFile());
  fs::create_symlink("nowhere", LockFile());  // cannot be opened
  Check({{"init look", "0+end 0"}});
  std::ofstream(home_ + "/Library/Caches/nowhere") << "kept";
  Check({{"record look", "0,0-end 0"}});
  EXPECT_EQ(fs::file_size(home_ + "/Library/Caches/nowhere"), 4U);
  fs::create_directory(LockFile());
  Check({{"init look", "0+end 0"}});
  fs::remove(LockFile());
  Check({{"term init", " 0"}, {"init", "0end 0"}});
  setenv("LOGNAME", "some/one", 1);
  Check({{"init", "0end 0"}});
  setenv("LOGNAME", "", 1);
  setenv("USER", "user", 1);
  Check({{"init 9", "0 137"}});
  EXPECT_TRUE(fs::exists(home_ + "/Library/Caches/_LZorvex_rl_user"));
}

TEST_F(DebugTest, SignalsAndOutput) {
  Check({{"atexit 8", ". 154"},
         {"atexit 11", ". 154"},
         {"atexit 7", ". 154"},
         {"atexit crash", ". 154"},
         {"atexit 2", ". 0"},
         {"atexit 15", ". 0"},
         {"atexit 6", " 134"},
         {"3 4 13", "end 0"},
         {"3 8 11 7", "end 0"},  // only the first one counts, whichever it is
         {"handleABRT", " 154"},
         {"print", "7  |" + std::string(507, 'x') + "end 0"}});
}

TEST_F(DebugTest, BugReports) {
  const std::string query =
      "software=LZorvex&version=8&xi=AbTermOrHang-Mac" + SystemNumber() + "&iid=";
  // In place of the desktop's program. Opening the other end waits for it.
  fs::create_directory(home_ + "/bin");
  std::ofstream(home_ + "/bin/xdg-open")
      << "#!/bin/sh\nexec >/dev/null 2>&1\nprintf %s \"$1\" >$HOME/opened\n";
  fs::permissions(home_ + "/bin/xdg-open", fs::perms::owner_all);
  mkfifo((home_ + "/opened").c_str(), 0600);
  setenv("PATH", (home_ + "/bin:" + std::getenv("PATH")).c_str(), 1);
  const auto opened = [&](const std::string& steps) {
    Check({{steps, "end 0"}});
    std::string address;
    std::getline(std::ifstream(home_ + "/opened"), address);
    return address;
  };
  Check({{"report", "end 0"}});  // without a page nothing is opened
  setenv("ZORVEX_BUG_REPORT_PAGE", "https://bugs.example/new", 1);
  EXPECT_EQ(opened("page=https://x.example page= report"), "https://bugs.example/new?" + query);
  EXPECT_EQ(opened("iid page='https://other.example/?a=b' report"),
            "https://other.example/?a=b&" + query + "1-a%20%26b");
  EXPECT_EQ(opened("page=https://x.example/" + std::string(2050, 'a') + " report").size(), 2084U);
}

std::string XI(const std::string& prefix = "P") {
  char text[260];
  LDebugGenerateXIString(text, prefix.c_str(), "M");
  return text;
}

TEST(DebugThreadTest, XIStrings) {
  const std::string head = "P-MacIntel" + SystemNumber() + "-M-";
  EXPECT_EQ(XI(), head + "UnknownGloIni1");
  LDebugThreadDataStartThread(nullptr);
  const std::string id = "000" + std::to_string(gettid());
  const std::string digits(id.rbegin(), id.rbegin() + 3);
  char name[8];
  LDebugThreadFindData()->GetName(name);
  EXPECT_EQ(name, id.substr(id.size() - 4));
  const struct {
    const char *name, *dialog;
    int command;
    std::string expected;
  } rows[] = {
      {nullptr, nullptr, 1, "GloIni1"},
      {"Worker", nullptr, 2, "WorkGuiIni2"},
      {nullptr, "Opt", 3, "WorkOpt" + digits + "GuiDes3"},
      {"7a", nullptr, 4, "Opt" + digits + "GloDes4"},
      {"", "A dialog whose name is longer than it may be", 5,
       "A dialog whose name is longer t(Cmd5)"},
      {"x", "", 0, "x" + digits + "Ukn0(LstCmd9)"},
      {nullptr, nullptr, -1, "x" + digits + "(Cmd-1)"},
  };
  gwDebugLastCommand = 9;
  for (const auto& row : rows) {
    if (row.name != nullptr) LDebugThreadSetName(row.name);
    if (row.dialog != nullptr) LDebugThreadSetLastDialog(row.dialog);
    gwDebugCurrentCommand = row.command;
    for (const char* const block : {"Block", ""}) {
      const LBugReportBlockScope scope(block);
      EXPECT_EQ(XI().find("Bloc") == std::string::npos, *block == '\0');
    }
    EXPECT_EQ(XI(), head + row.expected);
  }
  EXPECT_EQ(XI(std::string(300, 'p')), std::string(259, 'p'));
  std::thread([&] { EXPECT_EQ(XI(), head + "Unknown"); }).join();
  LDebugThreadDataStopThread();
  EXPECT_EQ(gnDebugThreads, 0);
}

TEST(DebugThreadTest, SixtyFourThreadsHaveRecords) {
  std::barrier barrier(65);
  std::atomic<int> withRecord = 0;
  std::vector<std::jthread> threads;
  for (int i = 0; i < 65; ++i) {
    threads.emplace_back([&, i] {
      LDebugThreadDataStartThread(("t" + std::to_string(i)).c_str());
      barrier.arrive_and_wait();
      LDebugThreadSetLastDialog("D");
      const LDebugThreadData* const own = LDebugThreadFindData();
      withRecord += own != nullptr;
      EXPECT_NE(XI().find(own != nullptr ? "M-t" + std::to_string(i) + "D" : "M-Unknown"),
                std::string::npos);
      const LBugReportBlockScope scope("busy");
      char text[32];
      for (const LDebugThreadData& data : gDebugThreadData)
        data.GetName(text), data.GetLastDialog(text);  // of the others, who change them
      barrier.arrive_and_wait();
      if (own != &gDebugThreadData[63]) LDebugThreadDataStopThread();
      barrier.arrive_and_wait();
      EXPECT_EQ(gnDebugThreads, 64) << "the last one is in use";
      barrier.arrive_and_wait();
      LDebugThreadDataStopThread();
    });
  }
  threads.clear();
  EXPECT_EQ(withRecord, 64);
  EXPECT_EQ(gnDebugThreads, 0);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && argv[1] == std::string("child")) return Child({argv + 2, argv + argc});
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
