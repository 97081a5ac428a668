// SPDX-License-Identifier: MIT
#include <cstdarg>
#include <cstdint>

#include "foundation/files/descriptorio.h"
#include "foundation/files/filewriter.h"
#include "foundation/text/stringformat.h"

int fprintf(LWriteFileRef file, const char* format, ...) {
  LStringLongTemplate<char> text;
  text.GrowToSize(260);
  LStringLongTemplateWriter<char> writer(text);
  va_list arguments;
  va_start(arguments, format);
  const std::uint64_t length = tplprintf(writer, format, arguments);
  va_end(arguments);
  text.SetLength(length);
  WriteOnce(file.Descriptor(), text.Text(), length);
  return static_cast<int>(length);
}
