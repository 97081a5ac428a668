// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_TIME_SOUNDTIME_H
#define ZORVEX_FOUNDATION_TIME_SOUNDTIME_H

#include <compare>
#include <cstdint>

#include <zorvex/foundation/export.h>

/// A position or a length in media: signed milliseconds, every value of 64 bits.
///
/// Text forms: each writes into a buffer of 30 bytes, which always suffices. A negative time is "-"
/// and the form of its absolute value, so that there is "-00:00", too. The names tell the form: H
/// hours, as many digits as they need, MM minutes and SS seconds, two digits each, F decimals of
/// the seconds. Some forms round to their last place, the others cut.
///
/// | form | of 3723456 ms | rounds | remarks |
/// |---|---|---|---|
/// | _GetTextMMSS | 02:03 | no | hours are left out on purpose |
/// | _GetTextMMSSF | 02:03.5 | yes | the same |
/// | _GetTextMMSSFF | 02:03.46 | yes | the same |
/// | _GetTextHMMSS | 1:02:03 | no | hours as an int, so only their low 32 bits |
/// | _GetTextHMMSSF | 1:02:03.5 | yes | the same |
/// | _GetTextHMMSSFF | 1:02:03.46 | yes | the same |
/// | _GetTextHMMSSFFF | 1:02:03.456 | | the same |
/// | _GetText0 | 1:02:03 | yes | all hours |
/// | _GetText1 | 1:02:03.5 | yes | all hours |
/// | _GetText2 | 1:02:03.46 | yes | all hours |
/// | _GetText | 1:02:03.456 | | all hours |
class ZORVEX_API LSoundTime {
 public:
  constexpr LSoundTime(std::int64_t milliseconds = 0) : milliseconds_(milliseconds) {}
  [[nodiscard]] constexpr std::int64_t Milliseconds() const { return milliseconds_; }
  friend constexpr auto operator<=>(LSoundTime, LSoundTime) = default;

  /// Minutes and seconds, without the hours, cut.
  void _GetTextMMSS(char* text) const;
  /// Minutes, seconds and tenths, without the hours.
  void _GetTextMMSSF(char* text) const;
  /// Minutes, seconds and hundredths, without the hours.
  void _GetTextMMSSFF(char* text) const;
  /// Hours, minutes and seconds, cut.
  void _GetTextHMMSS(char* text) const;
  /// With tenths.
  void _GetTextHMMSSF(char* text) const;
  /// With hundredths.
  void _GetTextHMMSSFF(char* text) const;
  /// With milliseconds.
  void _GetTextHMMSSFFF(char* text) const;
  /// All hours, minutes and seconds, rounded.
  void _GetText0(char* text) const;
  /// All hours, with tenths.
  void _GetText1(char* text) const;
  /// All hours, with hundredths.
  void _GetText2(char* text) const;
  /// All hours, with milliseconds.
  void _GetText(char* text) const;

  /// Reads any of the forms, and takes what else comes: seconds without normalisation ("90"),
  /// minutes and seconds, hours, minutes and seconds, each with decimals, of which three count.
  /// Behind a third colon stand decimals, too: "1:2:3:4" is "1:2:3.4". A minus anywhere makes the
  /// time negative; other characters are passed over. A null text is the empty one, which is 0. Too
  /// large a number wraps around in 64 bits.
  void SetText(const char* text);

  /// Whether a person may enter that: only digits, '-', '.' and ':'; the minus in front and only if
  /// `allowNegative`; at most one point and three colons, none of them behind the point. An empty
  /// or null text is valid.
  static bool IsValid(const char* text, bool allowNegative);

 private:
  std::int64_t milliseconds_;
};

template <typename Value>
class LdB;

/// A gain in whole decibels; -128 is silence.
template <>
class ZORVEX_API LdB<signed char> {
 public:
  constexpr LdB(signed char decibels = 0) : decibels_(decibels) {}
  constexpr operator signed char() const { return decibels_; }

  /// "--dB" for silence, else as "-6dB". `text` has room for 7 characters.
  void GetText(char* text) const;

  /// Reads the digits of a text and negates them when there is a minus anywhere; passes over the
  /// rest. The number is cut to 8 bits: "300" is 44. A null text is the empty one, which is 0.
  ///
  /// A second minus makes the number so far 127. So "--dB" is -127, not silence; it stays like that
  /// because files have been read so. "-128dB" is silence.
  void SetText(const char* text);

 private:
  signed char decibels_;
};

#endif  // ZORVEX_FOUNDATION_TIME_SOUNDTIME_H
