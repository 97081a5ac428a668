// SPDX-License-Identifier: MIT
#include "foundation/text/stringshort.h"

#include <cstdarg>
#include <cstring>

#include "foundation/text/stringformat.h"

template <typename Char>
LStringShortTemplate<Char>::LStringShortTemplate(const Char* text) {
  const std::size_t length = strnlen(text, Size - 1);
  std::memcpy(text_, text, length);
  text_[length] = 0;
}

template <typename Char>
LStringShortTemplate<Char>::LStringShortTemplate(LStringPrintFormatTemplate<Char> format, ...) {
  va_list list;
  va_start(list, format);
  LFixedLengthStringWriterTemplate<Char> writer(text_, Size - 1);
  text_[tplprintf(writer, format.format, list)] = 0;
  va_end(list);
}

template class LStringShortTemplate<char>;
