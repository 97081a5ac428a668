// SPDX-License-Identifier: MIT
#include "platform/gstreamer/soundformat.h"

namespace gstreamer {

AudioStreamBasicDescription DescribeSound(const GstAudioInfo& info) {
  const auto channels = static_cast<std::uint32_t>(GST_AUDIO_INFO_CHANNELS(&info));
  const auto bits = static_cast<std::uint32_t>(GST_AUDIO_INFO_DEPTH(&info));
  const auto width = static_cast<std::uint32_t>(GST_AUDIO_INFO_WIDTH(&info));
  std::uint32_t flags = 0;
  if (GST_AUDIO_INFO_IS_FLOAT(&info)) flags |= kAudioFormatFlagIsFloat;
  if (GST_AUDIO_INFO_IS_INTEGER(&info) && GST_AUDIO_INFO_IS_SIGNED(&info)) {
    flags |= kAudioFormatFlagIsSignedInteger;
  }
  if (GST_AUDIO_INFO_IS_BIG_ENDIAN(&info)) flags |= kAudioFormatFlagIsBigEndian;
  // Where bits are left over in a sample's bytes they are the highest ones.
  if (bits == width) flags |= kAudioFormatFlagIsPacked;
  AudioStreamBasicDescription sound{};
  sound.mSampleRate = GST_AUDIO_INFO_RATE(&info);
  sound.mFormatID = kAudioFormatLinearPCM;
  sound.mFormatFlags = flags;
  sound.mBytesPerPacket = sound.mBytesPerFrame = width / 8 * channels;
  sound.mFramesPerPacket = 1;
  sound.mChannelsPerFrame = channels;
  sound.mBitsPerChannel = bits;
  return sound;
}

Retained<QTFormatDescription> NewSoundDescription(const AudioStreamBasicDescription& sound) {
  QTFormatDescriptionAttributes attributes;
  attributes.QTFormatDescriptionAudioStreamBasicDescriptionAttribute = sound;
  return MakeRetained<QTFormatDescription>(QTMediaType::QTMediaTypeSound, sound.mFormatID,
                                           attributes);
}

}  // namespace gstreamer
