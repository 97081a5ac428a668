// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_CFSTRING_H
#define ZORVEX_FOUNDATION_STORE_CFSTRING_H

#include <zorvex/foundation/export.h>
#include <zorvex/platform/cfstring.h>

/// Holds one of the platform's texts, or none: what keys and values of settings go through.
///
/// A text is taken as UTF-8. One that is not valid UTF-8 is not refused: it is what
/// ::LCopyUnicodeFromUTF8 makes of it, so it ends in front of the first invalid character.
class ZORVEX_API LCFString {
 public:
  /// Holds none.
  LCFString() = default;
  explicit LCFString(const char* text) { SetString(text); }

  /// Lets go of the text held so far and holds this one. Null reads as the empty text. May throw
  /// std::bad_alloc; the text is then as it was.
  void SetString(const char* text);

  /// What it holds; null for none.
  [[nodiscard]] const CFStringRef& String() const { return string_; }
  /// The characters, terminated; the empty text for none. Valid until the next SetString.
  [[nodiscard]] const char* Text() const { return string_ ? string_->c_str() : ""; }

 private:
  CFStringRef string_;
};

#endif  // ZORVEX_FOUNDATION_STORE_CFSTRING_H
