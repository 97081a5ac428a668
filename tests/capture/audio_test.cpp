// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "tests/capture/capturefixture.h"

namespace {

/// What came out of the latest conversion.
std::vector<unsigned char> heard;
std::function<void(const std::string&)> inCallBack;

void Hear(unsigned char const* samples, unsigned int flags, unsigned long rate,
          unsigned long channels, unsigned long bytes, unsigned long frames, long data) {
  heard.assign(samples, samples + frames * channels * bytes);
  std::string text = "heard:" + std::to_string(flags);
  for (const unsigned long number : {rate, channels, bytes, frames})
    text += ',' + std::to_string(number);
  inCallBack(text + ',' + std::to_string(data));
}

class AudioTest : public CaptureFixture {
 protected:
  AudioTest() {
    platform.AddDevice("Microphone", {QTMediaType::QTMediaTypeSound});
    inCallBack = [&](auto& text) { platform.Call(text); };
  }
  void TearDown() override {
    for (const unsigned long handle : {camera, deck})
      EXPECT_TRUE(ZRVXDeviceStopCapture(handle) && ZRVXDeviceRelease(handle));
    CaptureFixture::TearDown();
  }
  std::string LogOfStart(unsigned long handle, const StartArguments& arguments) {
    platform.TakeLog();
    EXPECT_TRUE(Start(handle, arguments) && ZRVXDeviceIsCapturing(handle));
    return platform.TakeLog();
  }

  const unsigned long camera = OpenCamera();
  const unsigned long deck = OpenCamera("Deck", QTMediaType::QTMediaTypeMuxed);
};

// Whatever goes wrong with the sound (a call that fails, or throws where it is marked) leaves the
// capture going.
TEST_F(AudioTest, ASeparateDeviceSuppliesTheSoundOfOneWithout) {
  const std::string output = "newAudio setSound:some addOutput:audio ";
  const std::string input = "open:sound newInput addInput:sound ";
  const struct {
    unsigned long handle;
    const char* audioDevice;
    std::string trouble, added;
    bool hasSound;
  } rows[] = {
      {camera, "microphone", "", input + output, true},
      {camera, "nothing", "", output, true},
      {deck, "Microphone", "", output, true},  // has sound of its own
      {camera, "Microphone", "open:sound", "open:sound " + output, true},
      {camera, "Microphone", "addInput:sound", input + output, true},
      {camera, "Microphone", "addOutput:audio", input + output + "setSound:none ~audio ", false},
      {camera, "Microphone", "open:sound!", "open:sound ", false},
      {camera, "Microphone", "newAudio!", input + "newAudio ", false},
      {camera, "Microphone", "unsupported", "", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    ZRVXDevice::bIsAudioRecordingSupported = row.trouble != "unsupported";
    platform.On(row.trouble.substr(0, row.trouble.find('!')),
                [&] { return row.trouble.ends_with('!') ? throw 1 : false; });
    EXPECT_THAT(LogOfStart(row.handle, {.audioCallBack = Hear, .audioDevice = row.audioDevice}),
                testing::EndsWith("newSession newInput addInput " + row.added + "startRunning"));
    EXPECT_TRUE(ZRVXDeviceStopCapture(row.handle));
    const bool hasInput = row.added.find("addInput:sound") != std::string::npos;
    EXPECT_EQ(platform.TakeLog(), std::string(row.hasSound ? "setSound:none " : "") +
                                      "stopRunning removeInput ~input " +
                                      (hasInput ? "removeInput:sound ~input:sound " : "") +
                                      (row.hasSound ? "removeOutput:audio ~audio " : "") +
                                      "~session");
  }
}

TEST_F(AudioTest, ASeparateDeviceIsAttachedByItsExactNameAndClosed) {
  const StartArguments arguments{.audioCallBack = Hear, .audioDevice = "Microphone"};
  const StartArguments otherwise{.audioCallBack = Hear, .audioDevice = "MICROPHONE"};
  const std::string output = "setSound:some addOutput:audio";
  const std::string detach =
      "stopRunning removeInput:sound ~input:sound removeOutput:audio setSound:none ~audio ";
  LogOfStart(camera, arguments);
  EXPECT_EQ(LogOfStart(camera, arguments), "open:sound " + output);
  EXPECT_EQ(LogOfStart(camera, otherwise),
            detach + "inputDevices open:sound newInput addInput:sound newAudio " + output +
                " startRunning");
  platform.On("stopRunning", [] { return false; });
  EXPECT_FALSE(ZRVXDeviceCloseAudioDevice(camera));
  EXPECT_TRUE(ZRVXDeviceCloseAudioDevice(camera));
  EXPECT_EQ(platform.TakeLog(), "stopRunning " + detach + "close:sound");
  EXPECT_FALSE(ZRVXDeviceIsCapturing(camera));
  EXPECT_TRUE(ZRVXDeviceCloseAudioDevice(camera) && ZRVXDeviceCloseAllAudioDevices());
  EXPECT_EQ(platform.TakeLog(), "");

  // One that was not found cannot be closed, and keeps none of the others from being closed.
  LogOfStart(camera, {.audioDevice = "nothing"});
  LogOfStart(deck, arguments);
  EXPECT_FALSE(ZRVXDeviceCloseAllAudioDevices() || ZRVXDeviceCloseAudioDevice(camera));
  EXPECT_FALSE(ZRVXDeviceIsCapturing(camera) || ZRVXDeviceIsCapturing(deck));
  EXPECT_TRUE(ZRVXDeviceCloseAudioDevice(deck));
  EXPECT_FALSE(Start(camera, {.audioDevice = ""}) || Start(0, arguments));
  EXPECT_FALSE(ZRVXDeviceStartCaptureWithAudioDevice(camera, nullptr, nullptr, 0, 0, 0, 0, Hear, 0,
                                                     0, 0, 0, 0, nullptr));
}

TEST_F(AudioTest, ABufferGivesAtMost65535BytesInTheFormatWanted) {
  const struct {
    unsigned long flags, rate, channels, bytes;
    std::size_t size;
    const char* log;
  } rows[] = {{0, 0, 0, 0, 70000, " fill reset heard:12,44100,2,2,16383,5"},
              {0, 0, 0, 0, 4002, " fill reset heard:12,44100,2,2,1000,5"},
              {9, 96000, 1, 4, 70000, " fill reset heard:9,96000,1,4,16383,5"},
              {0, 0, 1, 1, 400, " fill reset heard:12,44100,1,1,100,5"},
              {0, 0, 0, 0, 3, " fill reset"},
              {0, ~0ul, 0, 0, 8, ""},
              {0, 0, 0, 1ul << 32, 8, ""}};
  std::vector<unsigned char> samples(70000);
  std::generate(samples.begin(), samples.end(), std::rand);
  for (const auto& [flags, rate, channels, bytes, size, log] : rows) {
    heard.clear();
    LogOfStart(camera, {nullptr, 0, 0, 0, 0, nullptr, Hear, 5, static_cast<unsigned int>(flags),
                        rate, channels, bytes});
    EXPECT_TRUE(DeliverSound({samples.begin(), samples.begin() + static_cast<long>(size)}));
    EXPECT_EQ(platform.TakeLog(), std::string("newConverter") + log);
    EXPECT_TRUE(rate + channels != 0 || std::equal(heard.begin(), heard.end(), samples.begin()));
    EXPECT_TRUE(ZRVXDeviceStopCapture(camera));
  }
}

TEST_F(AudioTest, ABufferThatCannotBeConvertedIsDroppedAndTheConverterIsKept) {
  inCallBack = [&](auto&) {
    platform.Call("heard");
    throw std::runtime_error("host");  // the lock is free again for the next buffer
  };
  std::uint16_t left[] = {1, 3, 5, 7}, right[] = {2, 4, 6, 8};
  struct {
    AudioBufferList list{2, {{1, sizeof left, nullptr}}};
    AudioBuffer second{1, sizeof right, nullptr};
  } planar;
  planar.list.mBuffers[0].mData = left;
  planar.second.mData = right;
  AudioBufferList none{0, {}};
  const AudioStreamBasicDescription mono{44100, kAudioFormatLinearPCM, 44, 2, 1, 2, 2, 16, 0};
  AudioStreamBasicDescription compressed = mono;
  compressed.mBytesPerPacket = 0;
  const struct {
    Retained<QTFormatDescription> format;
    AudioBufferList* list;
    const char* fails;
    const char* log;
  } rows[] = {
      {nullptr, &planar.list, "", ""},
      {SoundFormat({}), &planar.list, "", ""},
      {SoundFormat(compressed), &planar.list, "", "newConverter"},
      {SoundFormat(mono), &planar.list, "newConverter", "newConverter"},
      {SoundFormat(mono), &planar.list, "fill", "newConverter fill"},
      {SoundFormat(compressed), &planar.list, "", "fill reset heard exception"},
      {nullptr, nullptr, "", ""},
      {nullptr, &none, "", "fill reset"},
      {nullptr, &planar.list, "", "fill reset heard exception"},
  };
  LogOfStart(camera, {.audioCallBack = Hear});
  for (const auto& row : rows) {
    if (*row.fails) platform.On(row.fails, [] { return false; });
    EXPECT_TRUE(platform.Deliver(ScriptedSound(row.format, row.list)));
    EXPECT_EQ(platform.TakeLog(), row.log) << &row - rows;
  }
  EXPECT_THAT(heard, testing::ElementsAre(1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6, 0, 7, 0, 8, 0));
}

}  // namespace
