// SPDX-License-Identifier: MIT
#include "foundation/store/cfstring.h"

#include <cstring>
#include <vector>

#include "foundation/store/settingtext.h"
#include "foundation/text/charsets.h"

bool IsValidUtf8(const char* text) {
  if (LCharsetsIsValidASCII(text)) return true;
  std::vector<wchar_t> decoded(std::strlen(text) + 1);
  return LCopyUTF32FromUTF8(decoded.data(), text, decoded.size()) == kUtfComplete;
}

void LCFString::SetString(const char* text) {
  if (text == nullptr) text = "";
  if (IsValidUtf8(text)) {
    string_ = std::make_shared<const std::string>(text);
    return;
  }
  LStringLongTemplate<unsigned short> units;
  LCopyUnicodeFromUTF8(units, text);
  LStringLongTemplate<char> valid;
  LCopyFromUnicode(valid, units.Text());
  string_ = std::make_shared<const std::string>(valid.Text());
}
