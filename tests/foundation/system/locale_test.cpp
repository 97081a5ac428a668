// SPDX-License-Identifier: MIT
#include "foundation/system/locale.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/foundation/system/stoppableprocess.h"

namespace {

struct Case {
  const char* environment;  // "NAME=value NAME=value"
  const char* names;        // of all categories, with a space behind each
};

// A process reads its environment once: each case has one of its own.
bool IsRight(const Case& each) {
  return InChild([&] {
    for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LC_CTYPE", "LC_NUMERIC", "LC_TIME",
                                   "LC_MONETARY", "LC_COLLATE", "LANG", "LANGUAGE"})
      unsetenv(name);
    std::istringstream settings(each.environment);
    for (std::string setting; settings >> setting;)
      putenv(strdup(setting.c_str()));
    std::string names;
    for (int category = 0; category < 6; ++category)
      names += LGetLocale(category) + std::string(" ");
    setenv("LC_ALL", "xx_XX", 1);
    if (LGetLocale(99) != LGetLocale(0) || LGetLocale(-1) != LGetLocale(0)) names = "unknown";
    EXPECT_EQ(names, each.names);
    std::fflush(stdout);
    return names == each.names;
  });
}

TEST(LocaleTest, EnvironmentDecidesInTheStandardOrder) {
  constexpr Case kCases[] = {
      {"", "en_US en_US en_US en_US en_US en_US "},
      {"LANG=de_AT.UTF-8", "de_AT de_AT de_AT de_AT de_AT de_AT "},
      {"LANG=de_DE LC_NUMERIC=fr_CH.utf8 LC_TIME= LC_COLLATE=C",
       "de_DE de_DE fr_CH de_DE de_DE en_US "},
      {"LANG=de_DE LC_MESSAGES=ja_JP LC_ALL=sr_RS@latin", "sr_RS sr_RS sr_RS sr_RS sr_RS sr_RS "},
      {"LANG=de_DE LC_ALL= LC_MESSAGES=eo LC_CTYPE=POSIX", "eo en_US de_DE de_DE de_DE de_DE "},
      // LANGUAGE is for texts alone, and for those who want them translated.
      {"LANG=de_DE LANGUAGE=:pt_BR.UTF-8:de", "pt_BR de_DE de_DE de_DE de_DE de_DE "},
      {"LANG=C.UTF-8 LANGUAGE=fr", "en_US en_US en_US en_US en_US en_US "},
      {"LANGUAGE=fr", "en_US en_US en_US en_US en_US en_US "},
      {"LANG=es_419 LANGUAGE=C:fr", "en_US es_419 es_419 es_419 es_419 es_419 "},
      // No names of locales.
      {"LANG=../../x LC_CTYPE=de_DE_x LC_NUMERIC=d LC_TIME=de-DE LC_MONETARY=\xC3\xA9n_US "
       "LC_COLLATE=_DE",
       "en_US en_US en_US en_US en_US en_US "},
      {"LANG=verylongname_DE LC_CTYPE=abcdefgh_XY LC_TIME=ast_41 LC_MONETARY=ast_ES.",
       "en_US abcdefgh_XY en_US en_US ast_ES en_US "},
  };
  for (const Case& each : kCases)
    EXPECT_TRUE(IsRight(each)) << each.environment;
}

}  // namespace
