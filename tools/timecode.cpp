// SPDX-License-Identifier: MIT
#include "tools/timecode.h"

#include <cstdio>

std::string TimeCodeText(const SMPTETime& time) {
  const bool drop = time.mType == kSMPTETimeType30Drop || time.mType == kSMPTETimeType2997Drop;
  char text[64];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d%c%02d", time.mHours, time.mMinutes,
                time.mSeconds, drop ? ';' : ':', time.mFrames);
  return text;
}

double TimeCodeRate(const SMPTETime& time) {
  switch (time.mType) {
    case kSMPTETimeType24:
      return 24;
    case kSMPTETimeType25:
      return 25;
    case kSMPTETimeType2997:
    case kSMPTETimeType2997Drop:
      return 30000.0 / 1001;
    case kSMPTETimeType60:
      return 60;
    case kSMPTETimeType5994:
      return 60000.0 / 1001;
    default:
      return 30;
  }
}
