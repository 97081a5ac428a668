// SPDX-License-Identifier: MIT
// The helpers that parse text stay inside buffers of just their size, come to an end, and give what
// simple models give.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/text/stringhelpers.h"
#include "foundation/text/texttonumber.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

std::vector<char> Exact(const std::string& text) {
  return {text.c_str(), text.c_str() + text.size() + 1};
}

/// One item without a limit: blanks that may be trimmed are marked by another character first.
std::string ModelItem(const std::string& list, std::size_t& position) {
  constexpr char kOuterSpace = '\n';
  std::string item;
  bool isQuoted = false;
  while (position < list.size() && list[position] != '\n' && list[position] != '\r') {
    const char c = list[position++];
    if (c == ',' && !isQuoted) break;
    if (c == '"')
      isQuoted = !isQuoted;
    else
      item += c == ' ' && !isQuoted ? kOuterSpace : c;
  }
  item.erase(0, item.find_first_not_of(kOuterSpace));
  return item;
}

std::string CutItem(std::string item, std::size_t size) {
  item.resize(std::min(item.size(), size - 1));
  item.erase(item.find_last_not_of('\n') + 1);
  std::replace(item.begin(), item.end(), '\n', ' ');
  return item;
}

void CheckList(const std::string& text, std::size_t size) {
  const std::vector<char> list = Exact(text);
  std::size_t position = 0;
  std::size_t modelPosition = 0;
  for (std::size_t before = ~std::size_t{}; before != position;) {
    before = position;
    std::vector<char> out(size, '?');
    const bool isItem = GetCSVListItem(list.data(), position, out.data(), out.size());
    const std::string item = ModelItem(text, modelPosition);
    Require(position == modelPosition && isItem == !item.empty());
    Require(out.data() == CutItem(item, size));
  }
}

void CheckQuery(const std::string& name, const std::string& text) {
  std::vector<char> query = Exact(text);
  char* removed = LRemoveHTTPItem(name.c_str(), query.data());
  const std::size_t match = text.find((name + "=").substr(0, 261));
  Require((removed == nullptr) == (match == std::string::npos));
  if (!removed) {
    Require(query.data() == text);
    return;
  }
  const std::size_t cut = match > 0 && text[match - 1] == '&' ? match - 1 : match;
  const std::size_t rest = std::min(text.find('&', match), text.size());
  Require(query.data() == text.substr(0, cut) + text.substr(rest));
  Require(removed == query.data() + cut);
}

void CheckFields(const std::string& first, const std::string& second, std::size_t size) {
  const std::vector<char> text = Exact(second);
  std::vector<char> out(size, '?');
  const bool isFound =
      LStringFindTextField(text.data(), first.c_str(), first.c_str(), out.data(), out.size());
  const std::size_t start = second.find(first);
  Require(isFound == (start != std::string::npos));
  std::string field = isFound ? second.substr(start + first.size()) : "";
  field.resize(std::min(field.find(first), field.size()));
  Require(out.data() == field.substr(0, size - 1));
  out.assign(260, '?');
  const std::size_t length = LParseGetToCharacters<char>(text.data(), first.c_str(), out.data());
  Require(length == std::min(second.find_first_of(first), second.size()));
  Require(out.data() == second.substr(0, std::min<std::size_t>(length, 259)));
}

void CheckSearch(const std::string& needle, const std::string& text) {
  std::vector<char> hay = Exact(text);
  std::vector<char> wanted = Exact(needle);
  const char* found = tstristr(hay.data(), wanted.data());
  const bool isEnd = tstrcmpend(hay.data(), wanted.data()) == 0;
  Require(isEnd == text.ends_with(needle));
  const char* start = hay.data();
  strupr(hay.data());
  strupr(wanted.data());
  const char* exact = std::strstr(hay.data(), wanted.data());
  Require(found == exact && start == hay.data());
  LStringTrim<char>(hay.data());
  const std::string trimmed = hay.data();
  Require(trimmed.empty() || (trimmed.front() != ' ' && trimmed.back() != ' '));
}

void CheckNumber(const std::string& text) {
  const long long value = ttoi64template(text.c_str());
  const auto begin = std::find_if(text.begin(), text.end(),
                                  [](char c) { return static_cast<unsigned char>(c) > 32; });
  const long long model = std::strtoll(text.c_str() + (begin - text.begin()), nullptr, 10);
  Require(value == std::max(model, -9223372036854775807LL));
}

}  // namespace

/// A byte for the size of buffers, a short text up to a zero, a long one up to another.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string input(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::string first = input.c_str();
  const std::string second = first.size() < input.size() ? input.c_str() + first.size() + 1 : "";
  const std::size_t outSize = 1 + data[0] % 40;
  CheckList(first, outSize);
  CheckQuery(first, second);
  CheckFields(first, second, outSize);
  CheckSearch(first, second);
  CheckNumber(first);
  return 0;
}
