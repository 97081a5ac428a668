// SPDX-License-Identifier: MIT
#include "foundation/system/locale.h"

#include <array>
#include <cstdlib>
#include <iterator>
#include <string_view>

namespace {

constexpr const char* kVariables[] = {"LC_MESSAGES", "LC_CTYPE",    "LC_NUMERIC",
                                      "LC_TIME",     "LC_MONETARY", "LC_COLLATE"};
constexpr std::string_view kUntranslated = "en_US";

/// Room for the longest name that is taken, a language of eight letters with its territory.
using Name = std::array<char, 16>;

std::string_view Environment(const char* variable) {
  const char* const value = std::getenv(variable);
  return value == nullptr ? std::string_view() : value;
}

// Not isalpha: which letters there are must not depend on a locale here.
bool IsLetters(std::string_view text, std::size_t least, std::size_t most) {
  for (const char c : text) {
    if ((c < 'a' || c > 'z') && (c < 'A' || c > 'Z')) return false;
  }
  return text.size() >= least && text.size() <= most;
}

bool IsArea(std::string_view text) {
  return text.size() == 3 && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// Language and territory of a locale's name; empty for "C" and for what is no such name.
std::string_view NameIn(std::string_view locale) {
  const std::string_view name = locale.substr(0, locale.find_first_of(".@"));
  const std::size_t separator = name.find('_');
  if (name == "POSIX" || !IsLetters(name.substr(0, separator), 2, 8)) return {};
  if (separator == std::string_view::npos) return name;
  const std::string_view territory = name.substr(separator + 1);
  return IsLetters(territory, 2, 2) || IsArea(territory) ? name : std::string_view();
}

std::string_view ReadName(int category) {
  std::string_view locale;
  for (const char* const variable : {"LC_ALL", kVariables[category], "LANG"}) {
    if (locale.empty()) locale = Environment(variable);
  }
  const std::string_view name = NameIn(locale);
  if (category != LLocaleMessages || name.empty()) return name;
  const std::string_view languages = Environment("LANGUAGE");
  const std::size_t begin = languages.find_first_not_of(':');
  if (begin == std::string_view::npos) return name;
  return NameIn(languages.substr(begin, languages.find(':', begin) - begin));
}

using Names = std::array<Name, std::size(kVariables)>;

Names ReadNames() {
  Names names = {};
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string_view name = ReadName(static_cast<int>(i));
    (name.empty() ? kUntranslated : name).copy(names[i].data(), names[i].size() - 1);
  }
  return names;
}

}  // namespace

const char* LGetLocale(int category) {
  static const Names names = ReadNames();
  const auto index = static_cast<std::size_t>(category);
  return (index < names.size() ? names[index] : names[LLocaleMessages]).data();
}
