// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_STRINGSHORT_H
#define ZORVEX_FOUNDATION_TEXT_STRINGSHORT_H

#include <zorvex/foundation/export.h>

/// Says of a text that it is a format, for the formatting constructor of LStringShortTemplate.
template <typename Char>
struct LStringPrintFormatTemplate {
  explicit LStringPrintFormatTemplate(const Char* text) : format(text) {}
  const Char* format;
};

/// String of at most 259 characters, held by value; always terminated. What is longer is cut.
template <typename Char>
class ZORVEX_API LStringShortTemplate {
 public:
  static constexpr unsigned int Size = 260;  ///< the terminator included

  LStringShortTemplate() { text_[0] = 0; }
  /// Copies the text; it must not be null.
  explicit LStringShortTemplate(const Char* text);
  /// Formats as ::tplsnprintf does:
  ///
  ///     LStringShortTemplate<char> name(LStringPrintFormatTemplate<char>("%s_%u"), "take", 7U);
  LStringShortTemplate(LStringPrintFormatTemplate<Char> format, ...);

  operator const Char*() const { return text_; }
  /// Terminated, valid while the string lives.
  [[nodiscard]] const Char* Text() const { return text_; }
  /// The 260 characters, for functions that write into such a buffer.
  [[nodiscard]] Char* Buffer() { return text_; }

 private:
  Char text_[Size];
};

extern template class LStringShortTemplate<char>;

#endif  // ZORVEX_FOUNDATION_TEXT_STRINGSHORT_H
