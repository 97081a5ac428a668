// SPDX-License-Identifier: MIT
// Query strings and templates against models that go byte by byte. An input is the size of the
// output of the template, a query string, a line feed, a template.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>

#include "foundation/store/hashtable.h"

namespace {

using Model = std::multimap<std::string, std::string>;

void Require(bool condition) {
  if (!condition) std::abort();
}

unsigned int Digit(char digit) {
  const char* const digits = "0123456789abcdef0123456789ABCDEF";
  const char* const found = std::strchr(digits, digit);
  return found ? static_cast<unsigned int>(found - digits) % 16 : 0;
}

std::string Decode(const char*& text, const char* stops) {
  std::string out;
  for (; *text && !std::strchr(stops, *text); ++text) {
    char byte = *text == '+' ? ' ' : *text;
    if (*text == '%') {
      const std::size_t left = std::strlen(text);
      text += std::min<std::size_t>(left - 1, 2);
      byte = static_cast<char>(left < 3 ? 0 : Digit(text[-1]) << 4 | Digit(*text));
    }
    if (byte) out += byte;
  }
  return out;
}

Model Load(const char* text) {
  Model model;
  while (*text) {
    const std::string name = Decode(text, "=&");
    if (*text == '=') ++text;
    const std::string value = Decode(text, "&");
    if (*text == '&') ++text;
    if (!name.empty()) model.emplace(name, value);
  }
  return model;
}

/// `emptyName` is what "%%" gives.
std::string Substitute(const LHashTable& table, const char* text, const char* emptyName) {
  std::string out;
  while (*text) {
    if (*text != '%') {
      out += *text++;
      continue;
    }
    std::string name;
    for (++text; *text && *text != '%'; ++text)
      if (name.size() < 259) name += *text;
    if (*text) ++text;
    out += name.empty() ? emptyName : table.GetString(name.c_str(), "");
  }
  return out;
}

void RequireEntries(const LHashTable& table, const Model& model) {
  LHashTableConstIterator entry(table.Entries());
  for (const auto& [key, value] : model) {
    Require(entry.Current() && entry.Current()->key.Text() == key);
    Require(entry.Current()->value->Text() == value && table.TestExists(key.c_str()));
    entry.Next();
  }
  Require(!entry.Current());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::size_t outSize = data[0];
  const std::string input(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::string query = input.substr(0, input.find('\n'));
  const std::string text = input.substr(std::min(query.size() + 1, input.size()));

  LHashTable table;
  table.LoadHTTPString(query.c_str());
  const Model model = Load(query.c_str());
  RequireEntries(table, model);
  LStringLongTemplate<char> saved;
  table.SaveHTTPString(saved);
  LHashTable loaded;
  loaded.LoadHTTPString(saved);
  RequireEntries(loaded, model);

  const std::unique_ptr<char[]> grown(table.ParseString(text.c_str()));
  Require(grown.get() == Substitute(table, text.c_str(), ""));
  const auto out = std::make_unique<char[]>(outSize);
  const bool hadName = std::strchr(text.c_str(), '%') != nullptr;
  Require(table.ParseString(text.c_str(), out.get(), outSize) == hadName);
  if (outSize > 0)
    Require(out.get() == Substitute(table, text.c_str(), "%").substr(0, outSize - 1));
  return 0;
}
