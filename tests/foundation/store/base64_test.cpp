// SPDX-License-Identifier: MIT
#include "foundation/store/base64.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "foundation/store/blowfish.h"
#include "foundation/store/settingcipher.h"

namespace {

using Long = LStringLongTemplate<char>;

std::string Encoded(const std::string& bytes, unsigned int flags) {
  Long out = "what was here before";
  LBase64Encode<char>(bytes.data(), bytes.size(), out, flags);
  EXPECT_LE(out.Length(), static_cast<unsigned int>(Base64EncodeGetRequiredLength(
                              static_cast<int>(bytes.size()), flags)));
  return {out.Text(), out.Length()};
}

std::string Decoded(const std::string& text) {
  const std::vector<char> exact(text.begin(), text.end());  // the sanitizer sees a read beyond
  LSizedArray<unsigned char> bytes;
  bytes.Append('x');
  LBase64Decode(exact.data(), exact.size(), bytes);
  EXPECT_EQ(bytes.Capacity(), (text.size() + 3) / 4 * 3);
  return {bytes.begin(), bytes.end()};
}

std::string RandomBytes(std::mt19937& random, std::size_t length) {
  std::string bytes(length, 0);
  for (char& byte : bytes)
    byte = static_cast<char>(random());
  return bytes;
}

TEST(Base64Test, BreaksOnlyLinesOfWholeGroups) {
  const std::string line(76, 'A');
  const struct {
    std::string bytes;
    unsigned int flags;
    std::string text;
  } cases[] = {
      {"", 0, ""},
      {"Man", 0, "TWFu"},
      {"Ma", 0, "TWE="},
      {"Ma", kBase64NoPadding, "TWE"},
      {std::string(56, 0), 0, line.substr(1) + "="},
      {std::string(57, 0), 0, line + "\r\n"},
      {std::string(57, 0), kBase64NoLineBreaks, line},
      {std::string(58, 0), 0, line + "\r\nAA=="},
      {std::string(115, 0), 0, line + "\r\n" + line + "\r\nAA=="},
  };
  for (const auto& test : cases)
    EXPECT_EQ(Encoded(test.bytes, test.flags), test.text) << test.bytes.size() << test.flags;
}

TEST(Base64Test, GivesBytesBackThroughEveryWriterAndAnythingBetween) {
  std::mt19937 random(7);
  for (std::size_t length = 0; length < 1400; length = length < 130 ? length + 1 : length * 2 + 1) {
    const std::string bytes = RandomBytes(random, length);
    for (unsigned int flags = 0; flags < 4; ++flags) {
      std::string text = Encoded(bytes, flags);
      Long appended = "=";
      appended.GrowToSize(260);
      LStringLongTemplateAppender<char> appender(appended);
      LBase64Encode<char>(bytes.data(), length, appender, flags);
      appended.SetLength(appender.Length());
      EXPECT_EQ(appended.Text(), "=" + text);
      std::vector<char> fixed(260, '?');
      LBase64Encode<char>(bytes.data(), length, fixed.data(), flags);
      EXPECT_EQ(fixed.data(), text.substr(0, 259));
      EXPECT_EQ(Decoded(text), bytes);
      for (int i = 0; i < 5; ++i)
        text.insert(random() % (text.size() + 1), 1, "=\r\n -_~\x80\xff"[random() % 9]);
      EXPECT_EQ(Decoded(text), bytes) << text;
    }
  }
}

TEST(Base64Test, PassesOverEveryOtherCharacterAtEveryPlace) {
  std::mt19937 random(8);
  const std::string clean = Encoded(RandomBytes(random, 48), 0);
  for (unsigned int c = 0; c < 256; ++c) {
    const bool isValid = DecodeBase64Char(c) != ~0U;
    for (std::size_t place = 0; place < clean.size(); ++place) {
      std::string text = clean;
      text[place] = static_cast<char>(c);
      const std::string decoded = Decoded(text);
      if (isValid)
        EXPECT_EQ(Encoded(decoded, 0), text);
      else if (c == 0 && place % 4 == 0)
        EXPECT_EQ(decoded, Decoded(text.substr(0, place)));
      else
        EXPECT_EQ(decoded, Decoded(text.erase(place, 1))) << c << " at " << place;
    }
  }
  EXPECT_EQ(DecodeBase64Char(256 + 'A'), ~0U);
  EXPECT_EQ(Decoded("TW\r\nFu"), "Man");
  EXPECT_EQ(Decoded("TWE"), "Ma");
  EXPECT_EQ(Decoded("T"), "");
}

// Vectors of the published algorithm, as far as their keys have no zero byte.
TEST(BlowFishTest, GivesThePublishedVectors) {
  const std::string lengths("\xf0\xe1\xd2\xc3\xb4\xa5\x96\x87\x78\x69\x5a\x4b\x3c\x2d\x1e\x0f");
  const struct {
    std::string key;
    unsigned int plain[2];
    unsigned int cipher[2];
  } cases[] = {
      {std::string(8, '\xff'), {0xffffffff, 0xffffffff}, {0x51866fd5, 0xb85ecb8a}},
      {"\xfe\xdc\xba\x98\x76\x54\x32\x10", {0x01234567, 0x89abcdef}, {0x0aceab0f, 0xc6a0a28d}},
      {"\x7c\xa1\x10\x45\x4a\x1a\x6e\x57", {0x01a1d6d0, 0x39776742}, {0x59c68245, 0xeb05282b}},
      {lengths.substr(0, 1), {0xfedcba98, 0x76543210}, {0xf9ad597c, 0x49db005e}},
      {lengths.substr(0, 7), {0xfedcba98, 0x76543210}, {0x8bb77032, 0xf960629d}},
      {lengths, {0xfedcba98, 0x76543210}, {0x93142887, 0xee3be15c}},
  };
  LBlowFish cipher;
  for (const auto& test : cases) {
    cipher.SetKey(test.key.c_str());
    cipher.SetKey("");  // changes nothing
    unsigned int left = test.plain[0];
    unsigned int right = test.plain[1];
    cipher.Blowfish_encipher(left, right);
    EXPECT_EQ(left, test.cipher[0]);
    EXPECT_EQ(right, test.cipher[1]);
    cipher.Blowfish_decipher(left, right);
    EXPECT_EQ(left, test.plain[0]);
    EXPECT_EQ(right, test.plain[1]);
  }
  LBlowFish longest;
  cipher.SetKey(std::string(80, 'k').replace(72, 8, "ignored").c_str());
  longest.SetKey(std::string(72, 'k').c_str());
  EXPECT_EQ(std::memcmp(&cipher, &longest, sizeof cipher), 0);
}

TEST(BlowFishTest, TakesEachBlockByItselfInLittleEndianWords) {
  std::mt19937 random(9);
  LBlowFish cipher;
  cipher.SetKey("a key");
  for (std::size_t blocks = 0; blocks < 12; ++blocks) {
    const std::string plain = RandomBytes(random, 1 + 8 * blocks);  // 1: at an odd address
    std::string expected = plain.substr(0, 1);
    for (std::size_t place = 1; place < plain.size(); place += 8) {
      unsigned int half[2] = {};
      for (unsigned int i = 0; i < 8; ++i)
        half[i / 4] |= static_cast<unsigned int>(static_cast<unsigned char>(plain[place + i]))
                       << 8 * (i % 4);
      cipher.Blowfish_encipher(half[0], half[1]);
      for (unsigned int i = 0; i < 8; ++i)
        expected += static_cast<char>(half[i / 4] >> 8 * (i % 4));
    }
    std::string bytes = plain;
    cipher.Encode(bytes.data() + 1, 8 * blocks - (blocks > 0 ? 3 : 0));  // the last one as a whole
    EXPECT_EQ(bytes, expected);
    cipher.Decode(bytes.data() + 1, 8 * blocks);
    EXPECT_EQ(bytes, plain);
  }
}

TEST(BlowFishTest, CarriesTextsAsBase64) {
  LBlowFish cipher;
  cipher.SetKey("another key");
  Long out;
  cipher.StringEncodeBase64(out, "some text");
  EXPECT_STREQ(out.Text(), "khNj6PNTg3ykwSjOp9wzPQ==");  // from another implementation
  char fixed[260];
  for (const std::size_t length : {0, 7, 8, 191, 192, 263, 300}) {
    const std::string text(length, 'x');
    cipher.StringEncodeBase64(out, text.c_str());
    cipher.StringEncodeBase64(fixed, text.c_str());
    EXPECT_EQ(fixed, std::string(out.Text()).substr(0, 259));
    EXPECT_EQ(out.Length() <= 259, length <= 191);
    cipher.StringDecodeBase64(fixed, out.Text());
    EXPECT_EQ(fixed, text.substr(0, 259));
    cipher.StringDecodeBase64(out, out.Text());
    EXPECT_EQ(out.Text(), text);
  }
}

TEST(SettingCipherTest, ReadsAndWritesWhatIsStored) {
  const struct {
    std::string plain;
    std::string stored;
  } cases[] = {
      {"", ""},
      {"a", "IxNogwKL++c="},
      {"seven77", "/0jBNHp1K4A="},
      {"\xc3\xbc", "RaLmZC43rBE="},
      {std::string(60, 'y'),
       "xwjNfD0jHKfHCM18PSMcp8cIzXw9IxynxwjNfD0jHKfHCM18PSMcp8cIzXw9IxynxwjNfD0jHKfd\r\n"
       "k0XCUuxW4w=="},
  };
  Long stored = "before";
  for (const auto& test : cases) {
    LSettingEncrypt(stored, test.plain.c_str());
    EXPECT_EQ(stored.Text(), test.stored);
    LSettingDecrypt(stored.Buffer());
    EXPECT_EQ(stored.Text(), test.plain);
  }
  LSettingEncrypt(stored, nullptr);
  EXPECT_TRUE(stored.IsEmpty());
  // Two characters are one byte, of which at most that one byte may come back.
  std::vector<char> other = {'Q', 'Q', 0};
  LSettingDecrypt(other.data());
  EXPECT_LE(std::string(other.data()).size(), 1U);
}

}  // namespace
