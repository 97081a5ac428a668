// SPDX-License-Identifier: MIT
// Short patterns give what the rule gives when it is followed step by step; long ones read no byte
// behind the texts and take no longer than pattern times name, which the fuzzer's time limit for
// one input would show: what is repeated here would take the plain rule for ever.
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/files/file.h"
#include "foundation/files/wildcard.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

bool IsMatchSlowly(std::string_view pattern, std::string_view name) {
  if (pattern.empty()) return name.empty();
  if (pattern[0] == '*') {
    for (std::size_t skipped = 0; skipped <= name.size(); ++skipped) {
      if (IsMatchSlowly(pattern.substr(1), name.substr(skipped))) return true;
    }
    return false;
  }
  return !name.empty() && (pattern[0] == '?' || pattern[0] == name[0]) &&
         IsMatchSlowly(pattern.substr(1), name.substr(1));
}

/// A text that ends where its memory ends.
std::unique_ptr<char[]> MemoryOf(const std::string& text) {
  auto memory = std::make_unique<char[]>(text.size() + 1);
  std::memcpy(memory.get(), text.c_str(), text.size() + 1);
  return memory;
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(c < 128 ? std::tolower(c) : c); });
  return text;
}

std::string Repeated(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i)
    all += text;
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string input(reinterpret_cast<const char*>(data), size);
  std::replace(input.begin(), input.end(), '\0', '*');
  const std::size_t middle = std::min(input.find('\n'), input.size());
  const std::string pattern = input.substr(0, middle);
  const std::string name = input.substr(std::min(middle + 1, input.size()));

  if (pattern.size() <= 8 && name.size() <= 12) {
    const auto patternMemory = MemoryOf(pattern), nameMemory = MemoryOf(name);
    Require(LFile::IsMatch(patternMemory.get(), nameMemory.get()) == IsMatchSlowly(pattern, name));
    Require(IsMatchAnyCase(patternMemory.get(), nameMemory.get()) ==
            IsMatchSlowly(Lower(pattern), Lower(name)));
  }
  const auto longPattern = MemoryOf(Repeated(pattern, 40)), longName = MemoryOf(Repeated(name, 90));
  const bool isMatch = LFile::IsMatch(longPattern.get(), longName.get());
  Require(!isMatch || IsMatchAnyCase(longPattern.get(), longName.get()));
  return 0;
}
