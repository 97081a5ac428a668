// SPDX-License-Identifier: MIT
#include <glib.h>

#include <cmath>
#include <thread>

#include "capture/zorvexdeviceformat.h"
#include "platform/eventqueue.h"
#include "tests/capture/capturefixture.h"

namespace {

constexpr auto Video = QTMediaType::QTMediaTypeVideo;
constexpr auto Sound = QTMediaType::QTMediaTypeSound;
constexpr auto Muxed = QTMediaType::QTMediaTypeMuxed;
using Formats = std::vector<Retained<QTFormatDescription>>;
const std::string most = "18446744073709551615";

std::string Text(std::uint32_t code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8)
    text += static_cast<char>(code >> shift);
  return text + ' ';
}

Retained<QTFormatDescription> Format(QTMediaType type, std::uint32_t code = FourCharCode("code"),
                                     std::optional<NSSize> size = {}) {
  return MakeRetained<QTFormatDescription>(type, code, QTFormatDescriptionAttributes{size, {}});
}

/// Writes down what it gets, as "lpcm BGRA 640x480 "; has enough of a kind after `limit`.
struct Lister final : IZRVXDeviceFormatEnumerator {
  bool OnDeviceFormatAudio(unsigned int format) override {
    text += Text(format);
    return ++sounds < limit;
  }
  bool OnDeviceFormatVideo(unsigned int format, unsigned long width,
                           unsigned long height) override {
    text += (format == code ? "" : Text(format)) + std::to_string(width) + 'x' +
            std::to_string(height) + ' ';
    code = format;
    return ++pictures < limit;
  }
  std::string text;
  unsigned int code = 0;
  int sounds = 0, pictures = 0, limit = 1000;
};

class FormatsTest : public CaptureFixture {
 protected:
  /// A device with a stream of sound and one of pictures, if it is muxed.
  unsigned long OpenDevice(const std::string& name, const Formats& formats) {
    const bool isMuxed = formats[0]->MediaType() == Muxed;
    ScriptedDevice* device = platform.AddDevice(name, {isMuxed ? Muxed : Video});
    device->formats = formats;
    device->streams = {Format(Sound), Format(Video)};
    return ZRVXDeviceGet(name.c_str(), ZRVXDeviceMediaTypeAny);
  }
  /// Has the main thread's GLib context deliver a frame; the source of it.
  guint DeliverLater(std::size_t width, std::size_t height) {
    ScriptedFrame::width = width;
    ScriptedFrame::height = height;
    const auto deliver = [](void* data) -> gboolean {
      return !static_cast<ScriptedPlatform*>(data)->Deliver();
    };
    return g_idle_add(deliver, &platform);
  }
};

TEST_F(FormatsTest, ListsAreMadeOnceSortedAndKept) {
  const std::string add = "uniqueID newSession open newInput addInput";
  const std::string output = add + " newVideo setDelegate:some addOutput:video ";
  const std::string leave = "setDelegate:none ~video ~input ~session";
  const std::string run = output + "startRunning lock unlock stopRunning close " + leave;
  const std::string sizes = "640x480 352x288 320x240 160x120 ";
  const Formats video{Format(Video)}, muxed{Format(Muxed)};
  const Formats other{Format(QTMediaType::QTMediaTypeOther), nullptr};
  const Formats sized{Format(Video, 1, NSSize{352.9, 288}), Format(Video)};
  const Formats odd{Format(Video, 1, NSSize{-1, 1e30}), Format(Video, 1, NSSize{NAN, 0.5})};
  Formats many{Format(Video)};
  std::string codes;
  for (unsigned int i = 0; i < 70; ++i) {
    const std::uint32_t code = FourCharCode("code") - i;
    many.insert(many.end(), {Format(Sound, code), Format(Sound, code)});
    if (i < 64) codes = Text(code) + codes;
  }
  const struct {
    Formats formats;
    std::string fails, log, list;
    std::size_t width = 0, height = 0;  // of the first frame, if there is one
  } rows[] = {
      {muxed, "", " open newInput ~input close", "code BGRA 720x576 " + sizes},
      {muxed, "open", " open", ""},
      {other, "", "", ""},
      {video, "", ' ' + run, "2vuy 1280x720 " + sizes, 1280, 720},
      {video, "", ' ' + run, "2vuy 352x480 320x240 160x120 ", 352, 480},
      {video, "", ' ' + run, "2vuy 2000x120 ", 2000, 120},
      // Nothing seen: the size that each description tells, or 640x480, and no second attempt.
      {sized, "open", " uniqueID newSession open ~session uniqueID", "BGRA " + sizes},
      {odd, "addInput", ' ' + add + " close ~input ~session uniqueID", "BGRA 0x" + most + " 0x0 "},
      {many, "addOutput:video", ' ' + output + "close " + leave, codes + "BGRA " + sizes}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    const unsigned long handle = OpenDevice(std::to_string(&row - rows), row.formats);
    platform.On(row.fails, [] { return false; });
    if (row.width != 0) DeliverLater(row.width, row.height);
    platform.TakeLog();
    Lister first, second, curt;
    EXPECT_FALSE(ZRVXDeviceFormatEnumerate(handle, nullptr));
    EXPECT_TRUE(ZRVXDeviceFormatEnumerate(handle, &first));
    EXPECT_EQ(platform.TakeLog(), "uniqueID formats" + row.log);
    EXPECT_EQ(first.text, row.list);
    // Known from now on. A list that is empty is so to its second reader only.
    EXPECT_EQ(ZRVXDeviceFormatEnumerate(handle, &second), !row.list.empty());
    EXPECT_EQ(platform.TakeLog() + second.text, "uniqueID" + row.list);
    curt.limit = 1;  // having enough of the sounds is not having enough of the pictures
    ZRVXDeviceVideoFormatChecker size(FourCharCode("none"), 640, 480);
    ZRVXDeviceFormatEnumerate(handle, &curt);
    ZRVXDeviceFormatEnumerate(handle, &size);
    EXPECT_TRUE(curt.sounds == (first.sounds > 0) && curt.pictures == (first.pictures > 0));
    EXPECT_EQ(size.IsFound(), row.list.find("640x480") != std::string::npos);
    EXPECT_TRUE(ZRVXDeviceRelease(handle));
  }
}

TEST_F(FormatsTest, AProbeWithoutFramesServesEventsAndTimersForFiveSeconds) {
  const unsigned long handle = OpenDevice("Silent", {Format(Video), Format(Video)});
  EXPECT_TRUE(ZRVXDeviceOpen(handle));
  const auto tick = [](void*) -> gboolean {
    EventRef event = CreateEvent(1, 2);
    PostEventToQueue(GetMainEventQueue(), event);
    ReleaseEvent(event);
    return G_SOURCE_CONTINUE;
  };
  const guint timer = g_timeout_add(50, tick, nullptr);
  int events = 0;
  const auto count = [](EventHandlerCallRef, EventRef, void* data) {
    return ++*static_cast<int*>(data), noErr;
  };
  const EventTypeSpec type = {1, 2};
  EventHandlerRef handler = nullptr;
  InstallEventHandler(GetEventDispatcherTarget(), count, 1, &type, &events, &handler);
  Lister lister;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(ZRVXDeviceFormatEnumerate(handle, &lister));
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  EXPECT_TRUE(elapsed.count() > 4.9 && elapsed.count() < 10) << elapsed.count();
  EXPECT_GE(events, 20);
  EXPECT_EQ(lister.text, "BGRA 640x480 352x288 320x240 160x120 ");
  EXPECT_TRUE(ZRVXDeviceIsOpened(handle) && ZRVXDeviceRelease(handle));  // open as before
  g_source_remove(timer);
  RemoveEventHandler(handler);
}

TEST_F(FormatsTest, OffTheMainThreadAProbeJustWaits) {
  const unsigned long handle = OpenDevice("Off the main thread", {Format(Video)});
  const guint idle = DeliverLater(320, 240);
  Lister lister;
  {
    std::jthread source([&](std::stop_token stop) {  // goes on while the session is taken down
      while (!stop.stop_requested())
        platform.Deliver();
    });
    std::jthread([&] { EXPECT_TRUE(ZRVXDeviceFormatEnumerate(handle, &lister)); });
  }
  EXPECT_EQ(lister.text, "2vuy 320x240 160x120 ");
  EXPECT_TRUE(g_source_remove(idle));  // has not run
  EXPECT_TRUE(ZRVXDeviceRelease(handle));
}

}  // namespace
