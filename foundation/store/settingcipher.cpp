// SPDX-License-Identifier: MIT
#include "foundation/store/settingcipher.h"

#include <algorithm>
#include <string>

#include "foundation/store/base64.h"
#include "foundation/store/blowfish.h"

namespace {

/// Keyed once, since that takes as long as hundreds of passwords; each caller works on a copy.
LBlowFish KeyedCipher() {
  static const LBlowFish keyed = [] {
    LBlowFish cipher;
    cipher.SetKey("vaultkeyphrase987");
    return cipher;
  }();
  return keyed;
}

}  // namespace

void LSettingEncrypt(LStringLongTemplate<char>& out, const char* plain) {
  out.SetLength(0);
  if (!plain || !*plain) return;
  std::string bytes(plain);
  bytes.resize(bytes.size() / 8 * 8 + 8);
  KeyedCipher().Encode(bytes.data(), bytes.size());
  // With line breaks, unlike LBlowFish::StringEncodeBase64: stored settings have them.
  LBase64Encode<char>(bytes.data(), bytes.size(), out, 0);
}

void LSettingDecrypt(char* text) {
  if (!text || !*text) return;
  LStringLongTemplate<char> plain;
  KeyedCipher().StringDecodeBase64(plain, text);
  // Four characters of Base64 are at most three of the password.
  std::copy_n(plain.Text(), plain.Length() + 1, text);
}
