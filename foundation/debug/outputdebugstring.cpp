// SPDX-License-Identifier: MIT
#include <cstdarg>
#include <cstdio>

#include "foundation/debug/debug.h"

void OutputDebugStringF(const char* format, ...) {
  char text[512];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  std::fputs(text, stderr);
  std::fflush(stderr);
}
