// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SMPTETIME_H
#define ZORVEX_PLATFORM_SMPTETIME_H

#include <cstdint>

/// A SMPTE 12M time code: the platform's record, fields in its order.
struct SMPTETime {
  std::int16_t mSubframes;        ///< subframes passed in this frame
  std::int16_t mSubframeDivisor;  ///< subframes in a frame; 0 when they are not counted
  std::uint32_t mCounter;         ///< frames since 00:00:00:00
  std::uint32_t mType;            ///< one of SMPTETimeType
  std::uint32_t mFlags;           ///< a union of SMPTETimeFlags
  std::int16_t mHours;
  std::int16_t mMinutes;
  std::int16_t mSeconds;
  std::int16_t mFrames;
};

/// The values of SMPTETime::mType.
enum SMPTETimeType : std::uint32_t {
  kSMPTETimeType24 = 0,
  kSMPTETimeType25 = 1,
  kSMPTETimeType30Drop = 2,
  kSMPTETimeType30 = 3,
  kSMPTETimeType2997 = 4,
  kSMPTETimeType2997Drop = 5,
  kSMPTETimeType60 = 6,
  kSMPTETimeType5994 = 7,
};

/// The bits of SMPTETime::mFlags.
enum SMPTETimeFlags : std::uint32_t {
  kSMPTETimeValid = 1u << 0,    ///< the time was read completely
  kSMPTETimeRunning = 1u << 1,  ///< the time moves
};

#endif  // ZORVEX_PLATFORM_SMPTETIME_H
