// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AUDIOCONVERTER_LINEARPCMCONVERTER_H
#define ZORVEX_PLATFORM_AUDIOCONVERTER_LINEARPCMCONVERTER_H

#include "platform/audioconverter.h"

/// Makes the converter of AudioConverterNew; `converter` is set only on success.
OSStatus NewLinearPcmConverter(const AudioStreamBasicDescription& source,
                               const AudioStreamBasicDescription& destination,
                               AudioConverterRef* converter);

#endif  // ZORVEX_PLATFORM_AUDIOCONVERTER_LINEARPCMCONVERTER_H
