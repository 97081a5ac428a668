// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_VERSIONS_H
#define ZORVEX_FOUNDATION_SYSTEM_VERSIONS_H

#include <zorvex/foundation/export.h>

/// Compares the texts of two versions: below 0 when the first is older, 0 when they are the same,
/// above 0 when it is newer.
///
/// A version is a row of numbers and words; everything else only stands between them. Numbers of
/// any length are compared by their values ("1.10" is newer than "1.9", "1.02" is "1.2"), words by
/// their bytes, without regard to the case of letters of ASCII. Missing numbers are 0: "1.0" is
/// "1.0.0". In one place, a number is newer than a word, a word ("1.2a", "1.2-git") is newer than
/// nothing, and words that announce a release are older than nothing: "alpha", "beta", "dev",
/// "pre", "preview", "rc", and "a", "b" and "c" with a number behind them ("1.2rc1", "1.2b2"). What
/// follows a `+` does not count, nor does a "v" in front of the first number.
///
/// Null reads as the empty text, which is "0". Allocates nothing. Any thread.
ZORVEX_API int LVersionCompare(const char* left, const char* right);

#endif  // ZORVEX_FOUNDATION_SYSTEM_VERSIONS_H
