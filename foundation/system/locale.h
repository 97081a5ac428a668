// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_LOCALE_H
#define ZORVEX_FOUNDATION_SYSTEM_LOCALE_H

#include <zorvex/foundation/export.h>

/// What a locale is asked for, as the argument of ::LGetLocale.
enum LLocaleCategory : int {
  LLocaleMessages = 0,    ///< the language of texts (LC_MESSAGES, and LANGUAGE)
  LLocaleCharacters = 1,  ///< letters and their cases (LC_CTYPE)
  LLocaleNumbers = 2,     ///< how numbers are written (LC_NUMERIC)
  LLocaleTimes = 3,       ///< how dates and times are written (LC_TIME)
  LLocaleMoney = 4,       ///< how amounts of money are written (LC_MONETARY)
  LLocaleSorting = 5,     ///< the order of words (LC_COLLATE)
};

/// The user's language and territory, such as "en_US"; the language alone ("de") where no territory
/// is set. An encoding (".UTF-8") and a modifier ("@euro") are left out. Other categories than
/// those of LLocaleCategory read as 0.
///
/// The environment tells it: the first of LC_ALL, the category's own variable and LANG that is set
/// and not empty. For messages, the first entry of LANGUAGE comes before them, unless what they
/// name is the locale "C", which has no translations. "C" and "POSIX", nothing at all, and what is
/// not the name of a locale give "en_US": the texts of programs that are not translated, and the
/// formats of "C", are those. It is not asked whether the system has the locale installed, nor does
/// the process's own locale (setlocale) matter.
///
/// The first call of the process reads the environment, for all categories, and must not run
/// beside a setenv; later changes have no effect. Never null; valid, and the same, as long as the
/// process lives. Any thread. Allocates nothing.
ZORVEX_API const char* LGetLocale(int category);

#endif  // ZORVEX_FOUNDATION_SYSTEM_LOCALE_H
