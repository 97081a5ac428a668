// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_TIMECODE_H
#define ZORVEX_TOOLS_TIMECODE_H

#include <zorvex/zorvex.h>

#include <string>

/// HH:MM:SS:FF, with ';' before the frames of a type that leaves numbers out.
std::string TimeCodeText(const SMPTETime& time);

/// Frames in a second of that type.
double TimeCodeRate(const SMPTETime& time);

#endif  // ZORVEX_TOOLS_TIMECODE_H
