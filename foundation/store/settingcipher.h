// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_SETTINGCIPHER_H
#define ZORVEX_FOUNDATION_STORE_SETTINGCIPHER_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>

/// \file
/// What passwords go through on their way into settings and out again. The key is the same
/// everywhere: this keeps them from being read at a glance, and from nothing else. May be called
/// from any thread.

/// Replaces `out` by the stored form of a password: Base64, with CR LF after every 76 characters,
/// which passwords of 56 characters and more come to. An empty or null password is the empty text.
/// `plain` must not lie in `out`.
ZORVEX_API void LSettingEncrypt(LStringLongTemplate<char>& out, const char* plain);

/// Replaces a stored form by the password, in place; it is never longer. A text that is none gives
/// something or other; empty and null stay as they are.
ZORVEX_API void LSettingDecrypt(char* text);

#endif  // ZORVEX_FOUNDATION_STORE_SETTINGCIPHER_H
