// SPDX-License-Identifier: MIT
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/debug/debugthread.h"
#include "foundation/system/unixapp.h"
#include "fuzz/commandlinemodel.h"

namespace {

using Strings = std::vector<std::string>;

TEST(CommandLineTest, DividesBySpacesAndQuotes) {
  const struct {
    const char* text;
    Strings arguments;
    int count;
  } rows[] = {
      {R"(prog one "two three" fo\ ur)", {"prog", "one", "two three", "fo ur"}, 3},
      {R"(prog "" next)", {"prog"}, 0},
      {R"(prog "ab"cd)", {"prog", "ab", "cd"}, 2},
      {" \t\n\x01 prog  \t x\ty \x02 ", {"prog", "x\ty"}, 1},
      {R"(a"b c"d "e\ f" "g)", {"ab c", "d", "e f", "g"}, 3},
      {R"(\n \\ \\\ x "\" y \)", {R"(\n)", R"(\ \\ x)", R"(\)", "y", R"(\)"}, 4},
      {"\xc3\xa4 \x80\xff", {"\xc3\xa4", "\x80\xff"}, 1},
      {R"("" x y)", {}, 2},
      {"", {}, 0},
      {nullptr, {}, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text != nullptr ? row.text : "null");
    LCommandLineArgumentStringExpander expander(row.text);
    Strings arguments;
    while (expander.NextArgument())
      arguments.emplace_back(expander.Argument());
    EXPECT_EQ(arguments, row.arguments);
    EXPECT_EQ(expander.GetArgumentCount(row.text), row.count);
  }
  std::mt19937 random(1);
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    for (auto length = random() % 24; length > 0; --length)
      text += "  \"\"\\ab\t\xe4"[random() % 9];
    ASSERT_TRUE(commandlinemodel::Agrees(text)) << text;
  }
}

/// The count and the whole vector after arguments were copied and then some removed.
std::string Vector(Strings arguments, const std::vector<int>& removed) {
  std::vector<char*> argv;
  for (std::string& argument : arguments)
    argv.push_back(argument.data());
  LUnixAppCopyCommandLineArguments(static_cast<int>(argv.size()), argv.data());
  const std::unique_ptr<char*[]> owned(gargv);  // for the leak detector
  for (const int index : removed)
    LRemoveCommandLineArgument(index);
  std::string text = std::to_string(gargc);
  for (std::size_t i = 0; i <= argv.size(); ++i)
    text += std::string(" ") + (gargv[i] != nullptr ? gargv[i] : "null");
  return text;
}

TEST(CommandLineTest, TheLibrarysVectorOfArguments) {
  EXPECT_EQ(Vector({"app", "-psn_0_12345", "-x"}, {}), "2 app -x null null");
  EXPECT_EQ(Vector({"app", "-x", "-psn_0_1"}, {}), "3 app -x -psn_0_1 null");
  EXPECT_EQ(Vector({"-psn", "-ps", "-psn"}, {}), "3 -psn -ps -psn null");
  EXPECT_EQ(Vector({}, {}), "0 null");
  EXPECT_EQ(Vector({"a", "b"}, {0}), "1 b null null");
  EXPECT_EQ(Vector({"a", "b"}, {5}), "1 a b null");
  EXPECT_EQ(Vector({"a", "b"}, {2}), "1 a b null");
  EXPECT_EQ(Vector({"a", "b", "c"}, {1, 1, 0}), "0 null null null null");
}

/// The limit that the library gives a process with these; 0 when it gets something else wrong.
int Prepare(rlim_t soft, rlim_t hard) {
  rlimit limit = {soft, hard};
  char* argv[] = {nullptr};
  char thread[8] = "";
  if (setrlimit(RLIMIT_NOFILE, &limit) != 0 || !LUnixAppInitCommon(0, argv)) return 0;
  LDebugThreadFindData()->GetName(thread);
  const bool isPrepared = umask(077) == 0 && thread == std::string("MAIN") && gargv != nullptr;
  getrlimit(RLIMIT_NOFILE, &limit);
  return isPrepared && limit.rlim_max == hard ? static_cast<int>(limit.rlim_cur) : 0;
}

TEST(CommandLineTest, PreparingAProcess) {
  const auto prepared = testing::ExitedWithCode(0);
  EXPECT_EXIT(_exit(Prepare(256, 2048) != 1024), prepared, "");
  EXPECT_EXIT(_exit(Prepare(2048, 2048) != 1024), prepared, "") << "lowered, on purpose";
  EXPECT_EXIT(_exit(Prepare(100, 512) != 100), prepared, "") << "refused";
}

}  // namespace
