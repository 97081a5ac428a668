// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TEXT_CONVERSIONTEXT_H
#define ZORVEX_FOUNDATION_TEXT_CONVERSIONTEXT_H

#include <cstdint>
#include <string_view>

#include "foundation/text/formatspecification.h"

/// The text of one conversion other than %s and %%: that of the C library, which is asked wherever
/// it is not certain without it. Nothing is allocated here. Inside the library only.
class ConversionText {
 public:
  /// The most characters that a conversion gives; what is longer is cut.
  static constexpr int Most = 271;

  /// Every conversion that takes an integer, and every one that nobody knows.
  void SetSlot(const FormatSpecification& specification, std::uint64_t slot);
  /// e, f, g.
  void SetDouble(const FormatSpecification& specification, double value);
  void SetLongDouble(const FormatSpecification& specification, long double value);

  /// Not terminated; valid as long as this object.
  [[nodiscard]] const char* Text() const { return text_; }
  [[nodiscard]] std::uint64_t Length() const { return static_cast<std::uint64_t>(length_); }

 private:
  void SetSigned(const FormatSpecification& specification, std::uint64_t slot);
  void SetUnsigned(const FormatSpecification& specification, std::uint64_t slot);
  void SetPointer(const FormatSpecification& specification, std::uint64_t slot);
  void SetCharacter(const FormatSpecification& specification, std::uint64_t slot);
  void SetWideText(const FormatSpecification& specification, std::uint64_t slot);
  void SetUnknown(const FormatSpecification& specification);
  bool SetDigits(const FormatSpecification& specification, double value);
  template <typename Float>
  void SetByLibrary(const FormatSpecification& specification, Float value);
  void SetPrinted(int result);
  void SetNumber(const FormatSpecification& specification, char* first, std::string_view prefix,
                 bool integer);

  // Numbers are written from behind: the longest are an integer with the largest precision and
  // prefix, or one of the largest width.
  static constexpr int Room = FormatSpecification::Largest + 2;
  char* End() { return scratch_ + Room; }

  const char* text_ = nullptr;
  int length_ = 0;
  char scratch_[Room];
};

#endif  // ZORVEX_FOUNDATION_TEXT_CONVERSIONTEXT_H
