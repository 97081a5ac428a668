// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_PNG_H
#define ZORVEX_TOOLS_PNG_H

#include <string>

#include "tools/picture.h"

/// Writes a PNG file, in place of an existing one. Throws Failure, and then leaves no part of a
/// picture behind.
void WritePng(const Picture& picture, const std::string& file);

#endif  // ZORVEX_TOOLS_PNG_H
