// SPDX-License-Identifier: MIT
#include "foundation/text/stringformat.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <bit>
#include <cfenv>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>

#include "foundation/text/stringshort.h"

namespace {

long arraysLeft = LONG_MAX;

}  // namespace

// Not inlined: the compiler would take malloc and delete for a mistaken pair.
[[gnu::noinline]] void* operator new[](std::size_t size) {
  if (arraysLeft-- <= 0) throw std::bad_alloc();
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete[](void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace {

using String = LStringLongTemplate<char>;

template <typename... Arguments>
std::string Formatted(const char* format, Arguments... arguments) {
  char buffer[700];
  const auto length = tplsnprintf(buffer, sizeof buffer, format, arguments...);
  EXPECT_EQ(length, std::strlen(buffer)) << format;
  return buffer;
}

template <typename... Arguments>
void ExpectAsTheLibrary(const char* width, const std::string& conversion, Arguments... arguments) {
  const std::string format = std::string("%").append(width).append(conversion);
  char expected[700];
  std::snprintf(expected, sizeof expected, format.c_str(), arguments...);
  EXPECT_EQ(Formatted(format.c_str(), arguments...), std::string(expected).substr(0, 271))
      << format;
}

constexpr const char* kWidths[] = {"",    "1",     "5",   "05",  "12",   "012", ".",
                                   ".0",  ".1",    ".4",  "6.3", "06.3", "0.9", "30.2",
                                   ".19", "40.25", "271", "300", "0300"};

void CompareIntegers() {
  for (const char* width : kWidths) {
    for (const auto value : {0LL, 7LL, -7LL, 99LL, 100LL, 10000LL, 99999999LL, 100000000LL,
                             1LL * INT_MIN, LLONG_MAX, LLONG_MIN, -1LL}) {
      for (const std::string conversion : {"d", "i", "u", "x", "X", "o"}) {
        ExpectAsTheLibrary(width, conversion, static_cast<int>(value));
        for (const std::string modifier : {"l", "ll", "z", "L"})
          ExpectAsTheLibrary(width, modifier + conversion, value);
      }
      ExpectAsTheLibrary(width, "p", std::bit_cast<void*>(value));
    }
    ExpectAsTheLibrary(width, "c", 'q');
    ExpectAsTheLibrary(width, "lc", static_cast<std::wint_t>('q'));
    ExpectAsTheLibrary(width, "S", L"wide");
  }
}

void CompareDoubles() {
  using Limits = std::numeric_limits<double>;
  for (const char* width : kWidths) {
    for (const double value : {0.0,
                               0.5,
                               1.5,
                               2.5,
                               0.125,
                               0.375,
                               1e-7,
                               0.0000005,
                               0.9999995,
                               9.5,
                               99999.9999995,
                               1e15,
                               123456.789,
                               18446744073709549568.0,
                               18446744073709551616.0,
                               1e22,
                               Limits::max(),
                               Limits::min(),
                               Limits::denorm_min(),
                               Limits::infinity(),
                               Limits::quiet_NaN()}) {
      for (const std::string conversion : {"f", "e", "g", "lf"}) {
        ExpectAsTheLibrary(width, conversion, value);
        ExpectAsTheLibrary(width, conversion, -value);
      }
      ExpectAsTheLibrary(width, "Lf", 1.0000000000000000002L * value);
      ExpectAsTheLibrary(width, "Le", static_cast<long double>(value));
    }
  }
}

TEST(StringFormatTest, NumbersAreThoseOfTheLibrary) {
  CompareIntegers();
  CompareDoubles();
  std::fesetround(FE_UPWARD);
  ExpectAsTheLibrary("", ".2f %e %g", 0.123, 0.1234567891, 0.1234567891);
  std::fesetround(FE_TONEAREST);
}

// A locale of our own, for the C library's locales may not be installed.
TEST(StringFormatTest, DecimalPointIsThatOfTheLocale) {
  const auto folder = std::filesystem::path(testing::TempDir()) /
                      ("stringformat_locale." + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  std::ofstream(folder / "source") << "comment_char %\nescape_char /\nLC_NUMERIC\n"
                                      "decimal_point \"<U002C>\"\nthousands_sep \"\"\ngrouping -1\n"
                                      "END LC_NUMERIC\n";
  const std::string command = "localedef -c -i '" + (folder / "source").string() + "' '" +
                              (folder / "xx_XX").string() + "' >/dev/null 2>&1";
  [[maybe_unused]] const int status = std::system(command.c_str());  // NOLINT(cert-env33-c)
  setenv("LOCPATH", folder.c_str(), 1);
  const bool isThere = std::setlocale(LC_NUMERIC, "xx_XX") != nullptr;
  std::filesystem::remove_all(folder);
  if (!isThere) GTEST_SKIP() << "no localedef on this machine: install the package libc-bin";
  CompareDoubles();
  EXPECT_EQ(Formatted("%.1f", 1.5), "1,5");
  std::setlocale(LC_NUMERIC, "C");
}

TEST(StringFormatTest, OwnRules) {
  const char* const none = nullptr;
  EXPECT_EQ(Formatted("%5s|%.1s|%s|%ls|%s|", "ab", "abc", none, "ab", ""), "ab|abc||ab||");
  EXPECT_EQ(Formatted("%%%5%%lz%%"), "%%%");
  EXPECT_EQ(Formatted("%d %x", 0x1234567800000005, 0xffffffff0000000aULL), "5 a");
  EXPECT_EQ(Formatted("%E %d", std::bit_cast<std::uint64_t>(1.5), 7), "1.500000E+00 7");
  EXPECT_EQ(
      Formatted("%LG %a", std::bit_cast<std::uint64_t>(-2.0), std::bit_cast<std::uint64_t>(1.0)),
      "-2 0x1p+0");
  // Conversion characters that are none, each with a slot of its own.
  EXPECT_EQ(Formatted("%-5d|%+d|% d|%#x|%*d|%hd", 1, 2, 3, 4, 5, 6), "5d|d|d|x|d|d");
  int untouched = 5;
  EXPECT_EQ(Formatted("%n%jd%td|%d", &untouched, 2, 3, 4), "dd|4");
  EXPECT_EQ(untouched, 5);
  EXPECT_EQ(Formatted("%y|%5k|%99999$d|%d", 1, 2, 3, 4), "%y|%5k|%99999$d|4");
  EXPECT_EQ(Formatted("%5.3.2d|%l5d|%Llf|%llf|%d", 1, 2, 1.5, 2.5, 3),
            "%5.3.2d|%l5d|%Llf|2.500000|3");
  EXPECT_EQ(Formatted("a%c%3c|", 0, 0), "a  |");
  EXPECT_EQ(Formatted("%S|", L"\x7fffffff"), "|");
  for (const char* format : {"100%", "100%5", "100%.3lL", "100%%"})
    EXPECT_EQ(Formatted(format), std::strchr(format, '%')[1] == '%' ? "100%" : "100") << format;
  EXPECT_EQ(Formatted(nullptr), "");
}

TEST(StringFormatTest, LongSpecifications) {
  const std::string zeros(257, '0');
  EXPECT_EQ(Formatted(("%" + zeros + "9d|%d").c_str(), 5, 6), "5|6");
  EXPECT_EQ(Formatted(("%" + zeros + "Lf|%d").c_str(), 1.5, 6), "1.500000|6");
  EXPECT_EQ(Formatted(("%" + zeros.substr(1) + "Lf").c_str(), 1.5L), "1.500000");
  EXPECT_EQ(Formatted(("%" + std::string(300, '9') + "d|").c_str(), 5),
            std::string(271, ' ') + "|");
  EXPECT_EQ(Formatted("%.2000000000f|", 0.5), "0.5" + std::string(268, '0') + "|");
  EXPECT_EQ(Formatted(("%" + std::string(300, '.') + "y").c_str(), 5),
            "%" + std::string(257, '.') + "y");
}

TEST(StringFormatTest, FixedTargetsAreCut) {
  const std::string all = "text 1234567890 -5 0012 2.50 xyz 7b";
  for (std::size_t size = 1; size <= all.size() + 2; ++size) {
    std::string buffer(size + 1, '#');
    EXPECT_EQ(tplsnprintf(buffer.data(), size, "te%s %lld %d %04d %.2f xyz %x", "xt", 1234567890LL,
                          -5, 12, 2.5, 123),
              std::min(all.size(), size - 1));
    EXPECT_EQ(buffer, (all.substr(0, size - 1) + '\0' + std::string(size, '#')).substr(0, size + 1))
        << size;
  }
  char buffer[300];
  EXPECT_EQ(tplsnprintf(buffer, 0, "%s %d %f", "no", 0, 1.0), 13U);  // No limit at all.
  EXPECT_STREQ(buffer, "no 0 1.000000");
  LFixedLengthStringWriterTemplate<char> writer(buffer, 9);
  EXPECT_EQ(sprintf(writer, "%d", 12345), 5U);
  EXPECT_EQ(sprintf(writer, "%d", 67890), 9U);
  EXPECT_STREQ(buffer, "1234567890000");  // Neither terminated nor written beyond.
  const std::string longText(300, 'x');
  const LStringShortTemplate<char> cut(LStringPrintFormatTemplate<char>("%d%s"), 1,
                                       longText.c_str());
  EXPECT_EQ(std::string(cut), "1" + longText.substr(0, 258));
}

// Whatever way characters come, the capacity is that of single ones: fourfold when it is reached.
TEST(StringFormatTest, GrowsFourfold) {
  for (const std::size_t length :
       {0U, 258U, 259U, 260U, 1038U, 1039U, 1040U, 4159U, 4160U, 20000U}) {
    const std::string text(length, 'y');
    std::uint64_t capacity = 260;
    while (capacity <= length)
      capacity *= 4;
    String plain, argument, digits;
    EXPECT_EQ(sprintf(plain, text.c_str()), length);
    EXPECT_EQ(sprintf(argument, "%s", text.c_str()), length);
    for (std::size_t i = 0; i < length; ++i)
      digits.tsprintfappend("%u", 7U);
    tsprintfappend(digits, "");
    EXPECT_EQ(text, plain.Text());
    EXPECT_EQ(text, argument.Text());
    for (const String* string : {&plain, &argument, &digits})
      EXPECT_EQ(string->Capacity(), capacity) << length;
    EXPECT_EQ(sprintf(plain, "%d", 1), 1U);
    EXPECT_EQ(plain.Capacity(), capacity);
  }
}

TEST(StringFormatTest, ArgumentsOfTheStringItself) {
  String string("abc");
  sprintf(string, "%d-%s-%s", 5, string.Text(), string.Text() + 1);
  EXPECT_STREQ(string.Text(), "5-abc-bc");
  sprintf(string, "%s!", string.Text() + 2);
  EXPECT_STREQ(string.Text(), "abc-bc!");
  for (std::string expected = string.Text(); expected.size() < 5000;) {
    expected += "<" + expected + "|" + expected.substr(1) + ">";
    EXPECT_EQ(tsprintfappend(string, "<%s|%s>", string.Text(), string.Text() + 1), expected.size());
    EXPECT_EQ(expected, string.Text());
  }
  sprintf(string, "x%s%s", string.Text(), string.Text() + 3000);  // Overwritten, but it ends.
  EXPECT_EQ(string.Length(), std::strlen(string.Text()));
}

TEST(StringFormatTest, WithoutMemoryTheStringStaysTerminated) {
  const std::string text(300, 'z');
  String string, copy;
  string.GrowToSize(260);
  arraysLeft = 0;
  EXPECT_THROW(sprintf(copy, "%d", 1), std::bad_alloc);
  EXPECT_THROW(sprintf(string, "%s", text.c_str()), std::bad_alloc);
  arraysLeft = LONG_MAX;
  EXPECT_STREQ(copy.Text(), "");
  EXPECT_EQ(string.Text(), text.substr(0, 259));
  EXPECT_EQ(string.Length(), 259U);
}

}  // namespace
