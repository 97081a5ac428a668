// SPDX-License-Identifier: MIT
// Base64 is what a model makes of it that works bit by bit; whatever is deciphered stays in its
// buffer; what was enciphered comes back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/store/base64.h"
#include "foundation/store/settingcipher.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string ModelEncode(const std::string& bytes, unsigned int flags) {
  std::string text;
  unsigned int value = 0;
  std::size_t bits = 0;
  for (const char byte : bytes) {
    for (unsigned int bit = 8; bit-- > 0;) {
      value = value * 2 + (static_cast<unsigned char>(byte) >> bit & 1U);
      if (++bits % 6 != 0) continue;
      text += kAlphabet[value];
      value = 0;
      const std::size_t groups = bits / 24;
      if (bits % (19 * 24) == 0 && groups * 3 <= bytes.size() && !(flags & kBase64NoLineBreaks))
        text += "\r\n";
    }
  }
  if (bits % 6 != 0) text += kAlphabet[value << (6 - bits % 6)];
  if (!(flags & kBase64NoPadding)) text.append((3 - bytes.size() % 3) % 3, '=');
  return text;
}

std::string ModelDecode(const std::string& text) {
  std::string bytes;
  unsigned int bits = 0;
  int count = 0;
  bool isGroupsBeginning = true;
  for (const char c : text) {
    if (c == 0 && isGroupsBeginning) break;
    isGroupsBeginning = false;
    const char* place = c == 0 ? nullptr : std::strchr(kAlphabet, c);
    if (!place) continue;
    bits = bits * 64 + static_cast<unsigned int>(place - kAlphabet);
    isGroupsBeginning = ++count % 4 == 0;
    if (count % 4 != 1) bytes += static_cast<char>(bits >> (2 * (3 - (count + 3) % 4)));
  }
  return bytes;
}

void CheckCodec(const std::string& input) {
  for (unsigned int flags = 0; flags < 4; ++flags) {
    const std::string expected = ModelEncode(input, flags);
    LStringLongTemplate<char> text;
    LBase64Encode<char>(input.data(), input.size(), text, flags);
    Require(text.Text() == expected && text.Length() == expected.size());
    Require(Base64EncodeGetRequiredLength(static_cast<int>(input.size()), flags) >=
            static_cast<int>(expected.size()));
    std::vector<char> fixed(260);
    LBase64Encode<char>(input.data(), input.size(), fixed.data(), flags);
    Require(fixed.data() == expected.substr(0, 259));
    LSizedArray<unsigned char> back;
    LBase64Decode(text.Text(), text.Length(), back);
    Require(std::string(back.begin(), back.end()) == input);
  }
  const std::vector<char> exact(input.begin(), input.end());
  LSizedArray<unsigned char> decoded;
  LBase64Decode(exact.data(), exact.size(), decoded);
  Require(std::string(decoded.begin(), decoded.end()) == ModelDecode(input));
}

void CheckSettings(const std::string& text) {
  std::vector<char> stored(text.c_str(), text.c_str() + text.size() + 1);
  LSettingDecrypt(stored.data());
  Require(std::strlen(stored.data()) <= text.size());
  LStringLongTemplate<char> enciphered;
  LSettingEncrypt(enciphered, text.c_str());
  LSettingDecrypt(enciphered.Buffer());
  Require(enciphered.Text() == text || enciphered.Buffer() == text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  CheckCodec(input);
  CheckSettings(input.c_str());
  return 0;
}
