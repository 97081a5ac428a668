// SPDX-License-Identifier: MIT
#ifndef ZORVEX_CAPTURE_ZORVEXAUDIOCONVERSION_H
#define ZORVEX_CAPTURE_ZORVEXAUDIOCONVERSION_H

#include <cstdint>

#include "platform/audioconverter.h"

/// Converts one buffer of the platform's sound on its own: the converter is reset afterwards, so
/// input that found no place in the output is dropped and nothing of one buffer comes out with the
/// next. Deliberate: a host that loses a buffer does not lose the time of those after it.
///
/// The input is read where it lies. Allocates nothing once the converter has its memory.
///
/// \param input              one buffer of interleaved samples, or one of the same size for each
///                           channel; a format of 0 bytes per packet (a compressed stream) gives no
///                           frames
/// \param output             `outputSize` bytes, which receive interleaved samples
/// \param frames             becomes the number of sample frames produced
/// \return false when the converter failed, or for an output of 0 bytes per packet
bool QTDeviceFormatConvertAudioSamples(OpaqueAudioConverter* converter, AudioBufferList* input,
                                       AudioStreamBasicDescription const& inputDescription,
                                       unsigned char* output, unsigned int outputSize,
                                       unsigned int& frames,
                                       AudioStreamBasicDescription const& outputDescription);

#endif  // ZORVEX_CAPTURE_ZORVEXAUDIOCONVERSION_H
