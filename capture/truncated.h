// SPDX-License-Identifier: MIT
#ifndef ZORVEX_CAPTURE_TRUNCATED_H
#define ZORVEX_CAPTURE_TRUNCATED_H

#include <limits>

/// A size or a rate as a whole number. What does not fit, where a cast would not be defined,
/// becomes the nearest number that does; what is no number, 0.
inline unsigned long Truncated(double value) {
  constexpr double kEnd = 18446744073709551616.0;  // 2 to the 64th
  if (!(value > 0)) return 0;
  return value < kEnd ? static_cast<unsigned long>(value)
                      : std::numeric_limits<unsigned long>::max();
}

#endif  // ZORVEX_CAPTURE_TRUNCATED_H
