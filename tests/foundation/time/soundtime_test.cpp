// SPDX-License-Identifier: MIT
#include "foundation/time/soundtime.h"

#include <gtest/gtest.h>

#include <iterator>
#include <limits>
#include <string>

namespace {

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

TEST(SoundTimeTest, WritesEachForm) {
  using Form = void (LSoundTime::*)(char*) const;
  constexpr Form kForms[] = {
      &LSoundTime::_GetTextMMSS,     &LSoundTime::_GetTextMMSSF,  &LSoundTime::_GetTextMMSSFF,
      &LSoundTime::_GetTextHMMSS,    &LSoundTime::_GetTextHMMSSF, &LSoundTime::_GetTextHMMSSFF,
      &LSoundTime::_GetTextHMMSSFFF, &LSoundTime::_GetText0,      &LSoundTime::_GetText1,
      &LSoundTime::_GetText2,        &LSoundTime::_GetText};
  const struct {
    std::int64_t milliseconds;
    const char* texts[std::size(kForms)];
  } cases[] = {
      {-1500,
       {"-00:01", "-00:01.5", "-00:01.50", "-0:00:01", "-0:00:01.5", "-0:00:01.50", "-0:00:01.500",
        "-0:00:02", "-0:00:01.5", "-0:00:01.50", "-0:00:01.500"}},
      {59999,
       {"00:59", "01:00.0", "01:00.00", "0:00:59", "0:01:00.0", "0:01:00.00", "0:00:59.999",
        "0:01:00", "0:01:00.0", "0:01:00.00", "0:00:59.999"}},
      {3903004,
       {"05:03", "05:03.0", "05:03.00", "1:05:03", "1:05:03.0", "1:05:03.00", "1:05:03.004",
        "1:05:03", "1:05:03.0", "1:05:03.00", "1:05:03.004"}},
      {kLeast,
       {"-12:55", "-12:55.8", "-12:55.81", "--2047687697:12:55", "--2047687697:12:55.8",
        "--2047687697:12:55.81", "--2047687697:12:55.808", "-2562047788015:12:56",
        "-2562047788015:12:55.8", "-2562047788015:12:55.81", "-2562047788015:12:55.808"}},
  };
  for (const auto& test : cases) {
    for (std::size_t i = 0; i < std::size(kForms); ++i) {
      char text[30];
      (LSoundTime(test.milliseconds).*kForms[i])(text);
      EXPECT_STREQ(text, test.texts[i]) << test.milliseconds << ", form " << i;
    }
  }
}

TEST(SoundTimeTest, ReadsTextsAndSaysWhichAPersonMayEnter) {
  enum Validity { kNever, kNegative, kAlways };
  const struct {
    const char* text;
    std::int64_t milliseconds;
    Validity validity;
  } cases[] = {
      {"", 0, kAlways},
      {nullptr, 0, kAlways},
      {"1:02:03.5", 3723500, kAlways},
      {"90", 90000, kAlways},
      {"1:30", 90000, kAlways},
      {".1239", 123, kAlways},
      {"-0:01", -1000, kNegative},
      {"-5", -5000, kNegative},
      {"5-", -5000, kNever},
      {"1:2:3:4", 3723400, kAlways},
      {"1:2:3:4:5", 3723900, kNever},  // each colon after the third begins decimals anew
      {"1:2:3.9:45", 3724350, kNever},
      {"1.5:3", 90030, kNever},  // decimals go on behind a colon
      {"1.2.3", 1230, kNever},
      {"1h 2\xc3\xbc", 12000, kNever},
      {"9223372036854775.807", kMost, kAlways},
      {"-9223372036854775.808", kLeast, kNegative},
      {"9223372036854775.809", kLeast + 1, kAlways},  // wraps around
  };
  for (const auto& test : cases) {
    LSoundTime time(77);
    time.SetText(test.text);
    const char* name = test.text ? test.text : "null";
    EXPECT_EQ(time.Milliseconds(), test.milliseconds) << name;
    EXPECT_EQ(LSoundTime::IsValid(test.text, true), test.validity != kNever) << name;
    EXPECT_EQ(LSoundTime::IsValid(test.text, false), test.validity == kAlways) << name;
  }
}

TEST(DecibelTest, ReadsWhatItWritesButForSilence) {
  for (int value = -128; value < 128; ++value) {
    char text[7];
    LdB<signed char>(static_cast<signed char>(value)).GetText(text);
    EXPECT_EQ(text, value == -128 ? "--dB" : std::to_string(value) + "dB");
    LdB<signed char> read(1);
    read.SetText(text);
    EXPECT_EQ(read, value == -128 ? -127 : value);
  }
  const struct {
    const char* text;
    int value;
  } cases[] = {{"", 0},          {nullptr, 0}, {"-6dB", -6}, {"12", 12},   {"300", 44},
               {"-128dB", -128}, {"1-2", -12}, {"3--4", 6},  {"+7 dB", 7}, {"99999999999999", -1}};
  for (const auto& test : cases) {
    LdB<signed char> read(1);
    read.SetText(test.text);
    EXPECT_EQ(read, test.value) << test.text;
  }
}

}  // namespace
