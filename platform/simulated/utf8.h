// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_UTF8_H
#define ZORVEX_PLATFORM_SIMULATED_UTF8_H

#include <string_view>

/// Whether a text is well-formed UTF-8 without control characters: fit for a list in an interface.
bool IsPlainUtf8(std::string_view text);

#endif  // ZORVEX_PLATFORM_SIMULATED_UTF8_H
