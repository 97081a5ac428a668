// SPDX-License-Identifier: MIT
//
// Capture from the cameras of the vivid driver, through the exported functions. To be run by the
// rig, which brings two of them. The processor is emulated there: pictures are few and small.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <zorvex/zorvex.h>

#include "platform/captureplatform.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr const char* kFirst = "vivid";
constexpr const char* kSecond = "vivid (2)";
/// What a user would wait for; the emulated processor needs most of it for itself.
constexpr auto kPrompt = 5s;
constexpr auto kPatience = 30s;

constexpr unsigned int Code(std::string_view text) {
  return static_cast<unsigned int>(text[0]) << 24 | static_cast<unsigned int>(text[1]) << 16 |
         static_cast<unsigned int>(text[2]) << 8 | static_cast<unsigned int>(text[3]);
}
constexpr unsigned int kYUY2 = Code("yuvs");
constexpr unsigned int kUYVY = Code("2vuy");
constexpr unsigned int kBGRA = Code("BGRA");
constexpr unsigned int kI420 = Code("y420");

bool WaitUntil(const std::function<bool()>& condition, std::chrono::seconds limit = kPatience) {
  const auto end = Clock::now() + limit;
  while (!condition()) {
    if (Clock::now() > end) return false;
    std::this_thread::sleep_for(20ms);
  }
  return true;
}

/// One frame as the host sees it, read as brightness.
struct Frame {
  unsigned int format = 0;
  unsigned long width = 0, height = 0, bytesPerRow = 0;
  std::vector<unsigned char> bytes;  // of the first plane

  /// All four formats of the tests; colours go to grey by what the eye weighs.
  double BrightnessAt(unsigned long x, unsigned long y) const {
    const unsigned char* row = bytes.data() + y * bytesPerRow;
    if (format == kYUY2) return row[2 * x];
    if (format == kUYVY) return row[2 * x + 1];
    if (format == kBGRA) return 0.11 * row[4 * x] + 0.59 * row[4 * x + 1] + 0.30 * row[4 * x + 2];
    return row[x];
  }
};

unsigned long BytesPerPixel(unsigned int format) {
  if (format == kYUY2 || format == kUYVY) return 2;
  return format == kBGRA ? 4 : 1;
}

/// Takes the frames of one capture.
class Receiver {
 public:
  long Data() { return reinterpret_cast<long>(this); }

  static void Receive(unsigned char const* pixels, unsigned int format, unsigned long width,
                      unsigned long height, unsigned long bytesPerRow, SMPTETime const*,
                      long data) {
    reinterpret_cast<Receiver*>(data)->Add(
        {format, width, height, bytesPerRow, {pixels, pixels + height * bytesPerRow}});
  }

  int Count() const {
    const std::lock_guard lock(mutex_);
    return count_;
  }
  Frame Last() const {
    const std::lock_guard lock(mutex_);
    return last_;
  }
  /// Whether two frames in a row were different pictures.
  bool HasMoved() const {
    const std::lock_guard lock(mutex_);
    return hasMoved_;
  }
  bool WaitFor(int count) {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, kPatience, [&] { return count_ >= count; });
  }
  bool WaitForMore(int count) { return WaitFor(Count() + count); }

 private:
  void Add(Frame frame) {
    const std::lock_guard lock(mutex_);
    hasMoved_ = hasMoved_ || (count_ > 0 && frame.bytes != last_.bytes);
    last_ = std::move(frame);
    ++count_;
    arrived_.notify_all();
  }

  mutable std::mutex mutex_;
  std::condition_variable arrived_;
  int count_ = 0;
  bool hasMoved_ = false;
  Frame last_;
};

/// A camera by name; gives back all it took. Made after its receiver, so that it ends first.
class Camera {
 public:
  explicit Camera(const char* name) : handle_(ZRVXDeviceGet(name, ZRVXDeviceMediaTypeVideo)) {}
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;
  ~Camera() {
    if (handle_ == 0) return;
    ZRVXDeviceStopCapture(handle_);
    ZRVXDeviceClose(handle_);
    ZRVXDeviceRelease(handle_);
  }

  unsigned long Handle() const { return handle_; }
  bool Open() { return ZRVXDeviceOpen(handle_); }
  bool Start(Receiver& receiver, unsigned int format = 0, unsigned long width = 0,
             unsigned long height = 0, const char* movie = nullptr) {
    return ZRVXDeviceStartCapture(handle_, &Receiver::Receive, receiver.Data(), format, width,
                                  height, nullptr, 0, 0, 0, 0, 0, movie);
  }
  bool IsConnected() const { return ZRVXDeviceIsConnected(handle_); }

 private:
  unsigned long handle_;
};

/// How long `action` takes.
Clock::duration Timed(const std::function<void()>& action) {
  const auto begin = Clock::now();
  action();
  return Clock::now() - begin;
}

class NameList final : public IZRVXDeviceEnumerator {
 public:
  explicit NameList(unsigned int flags = 0) {
    ZRVXDeviceEnumerate(this, ZRVXDeviceMediaTypeVideo, flags);
  }
  bool OnDevice(char const* name) override {
    names_.emplace_back(name);
    return true;
  }
  const std::vector<std::string>& Names() const { return names_; }

 private:
  std::vector<std::string> names_;
};

bool IsListed(const char* name) {
  const NameList list;
  return std::count(list.Names().begin(), list.Names().end(), name) > 0;
}

/// The driver behind the cameras. Unplugging takes all of them away: they are one device to it.
class Driver {
 public:
  static bool IsThere() { return fs::exists(kFolder); }
  /// The node of a camera, which is another one after unplugging; empty when it is unplugged.
  static std::string Node(int camera) {
    std::error_code gone;
    for (const auto& entry : fs::directory_iterator("/sys/class/video4linux", gone)) {
      std::string name;
      std::getline(std::ifstream(entry.path() / "name"), name);
      const std::string node = "/dev/" + entry.path().filename().string();
      if (name.starts_with("vivid-00" + std::to_string(camera)) && fs::exists(node)) return node;
    }
    return {};
  }
  static void Unplug() { Write("unbind"); }
  static void Plug() {
    if (!fs::exists(std::string(kFolder) + "/vivid.0")) Write("bind");
  }
  /// The driver's own answer for the first camera, while somebody else streams from it.
  static v4l2_pix_format Format() {
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    const int file = open(Node(0).c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_EQ(ioctl(file, VIDIOC_G_FMT, &format), 0);
    close(file);
    return format.fmt.pix;
  }
  /// Takes one camera away alone: it answers nothing until all have closed it.
  static void CutOff(int camera) {
    constexpr __u32 kDisconnect = 0x00f0f041;
    v4l2_control control{kDisconnect, 1};
    const int file = open(Node(camera).c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_EQ(ioctl(file, VIDIOC_S_CTRL, &control), 0);
    close(file);
  }

 private:
  static constexpr const char* kFolder = "/sys/bus/platform/drivers/vivid";
  static void Write(const char* file) {
    std::ofstream(std::string(kFolder) + "/" + file) << "vivid.0" << std::flush;
  }
};

/// This program again, as another process that holds a camera. See Hold below.
class Holder {
 public:
  Holder(const char* name, const char* how) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    child_ = fork();
    if (child_ == 0) {
      dup2(ends[1], STDOUT_FILENO);
      execl("/proc/self/exe", "v4l2_test", "--hold", name, how, nullptr);
      _exit(127);
    }
    close(ends[1]);
    char word = 0;
    isReady_ = read(ends[0], &word, 1) == 1;
    close(ends[0]);
  }
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;
  ~Holder() { Kill(); }

  bool IsReady() const { return isReady_; }
  void Kill() {
    if (child_ <= 0) return;
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
    child_ = -1;
  }

 private:
  pid_t child_ = -1;
  bool isReady_ = false;
};

/// The other process: takes the camera, says so, and stays until it is killed.
int Hold(const char* name, std::string_view how) {
  Receiver receiver;
  Camera camera(name);
  if (!camera.Open()) return 1;
  if (how == "capturing" && (!camera.Start(receiver) || !receiver.WaitFor(1))) return 1;
  if (write(STDOUT_FILENO, "!", 1) != 1) return 1;
  while (true)
    pause();
}

class V4L2 : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(Driver::IsThere()) << "run this in tests/devices/rig";
    Driver::Plug();
    ASSERT_TRUE(WaitUntil([] { return !Driver::Node(0).empty() && !Driver::Node(1).empty(); }));
  }
  void TearDown() override {
    EXPECT_FALSE(ZRVXHasUsedDevices());
    Driver::Plug();
  }
};

TEST_F(V4L2, CamerasOfOneNameAreToldApart) {
  EXPECT_THAT(NameList().Names(), ::testing::ElementsAre(kFirst, kSecond));
  const Camera first(kFirst), second(kSecond);
  ASSERT_NE(first.Handle(), 0u);
  ASSERT_NE(second.Handle(), 0u);
  EXPECT_NE(first.Handle(), second.Handle());
  for (const unsigned long handle : {first.Handle(), second.Handle()}) {
    EXPECT_TRUE(ZRVXDeviceIsConnected(handle));
    EXPECT_FALSE(ZRVXDeviceIsUsedByAnotherApplication(handle));
    EXPECT_TRUE(ZRVXDeviceHasMediaType(handle, ZRVXDeviceMediaTypeVideo));
    EXPECT_FALSE(ZRVXDeviceHasMediaType(handle, ZRVXDeviceMediaTypeAudio));
  }
}

TEST_F(V4L2, FramesComeInTheFormatOfTheDriver) {
  Receiver receiver;
  Camera camera(kFirst);
  ASSERT_TRUE(camera.Open());
  ASSERT_TRUE(camera.Start(receiver));
  ASSERT_TRUE(receiver.WaitFor(5));
  const v4l2_pix_format native = Driver::Format();
  EXPECT_TRUE(ZRVXDeviceStopCapture(camera.Handle()));
  const int count = receiver.Count();

  const Frame frame = receiver.Last();
  EXPECT_EQ(frame.width, native.width);
  EXPECT_EQ(frame.height, native.height);
  EXPECT_EQ(frame.bytesPerRow, native.bytesperline);
  const unsigned int expected = native.pixelformat == V4L2_PIX_FMT_YUYV   ? kYUY2
                                : native.pixelformat == V4L2_PIX_FMT_UYVY ? kUYVY
                                                                          : frame.format;
  EXPECT_EQ(frame.format, expected);
  EXPECT_TRUE(receiver.HasMoved()) << "the driver draws a running time into its pictures";

  std::this_thread::sleep_for(500ms);
  EXPECT_EQ(receiver.Count(), count) << "frames after the stop";
}

struct Wish {
  std::string name;
  unsigned int format;
  unsigned long width, height;
};

class V4L2Wishes : public V4L2, public ::testing::WithParamInterface<Wish> {};

/// The driver shows eight colour bars, from white through blue to black.
TEST_P(V4L2Wishes, AreMet) {
  const auto& [name, format, width, height] = GetParam();
  Receiver receiver;
  Camera camera(kFirst);
  ASSERT_TRUE(camera.Open());
  ASSERT_TRUE(camera.Start(receiver, format, width, height));
  ASSERT_TRUE(receiver.WaitFor(3));
  const Frame frame = receiver.Last();
  EXPECT_EQ(frame.width, width);
  EXPECT_EQ(frame.height, height);
  if (format != 0) {
    EXPECT_EQ(frame.format, format);
  }
  ASSERT_GE(frame.bytesPerRow, width * BytesPerPixel(frame.format));

  // In the lower part, clear of the text that the driver writes into the picture.
  const unsigned long y = height * 9 / 10;
  const auto centre = [&frame](unsigned long bar) { return frame.width * (2 * bar + 1) / 16; };
  std::vector<double> bars;
  for (unsigned long bar = 0; bar < 8; ++bar)
    bars.push_back(frame.BrightnessAt(centre(bar), y));
  EXPECT_TRUE(std::is_sorted(bars.rbegin(), bars.rend())) << ::testing::PrintToString(bars);
  EXPECT_GT(bars.front(), bars.back() + 100);
  if (format == kBGRA) {
    const unsigned char* blue = frame.bytes.data() + y * frame.bytesPerRow + 4 * centre(6);
    EXPECT_GT(blue[0], blue[1] + 100);
    EXPECT_GT(blue[0], blue[2] + 100);
  }
}

INSTANTIATE_TEST_SUITE_P(
    For, V4L2Wishes,
    ::testing::Values(Wish{"Size", 0, 640, 360}, Wish{"SizeNoCameraHas", 0, 200, 150},
                      Wish{"BGRA", kBGRA, 320, 180}, Wish{"YUY2", kYUY2, 320, 180},
                      Wish{"I420", kI420, 320, 180}, Wish{"I420AndOddSize", kI420, 202, 98}),
    [](const auto& test) { return test.param.name; });

/// The driver's webcam has these sizes in every format.
TEST_F(V4L2, TellsItsFormatsWhileItRuns) {
  Receiver receiver;
  Camera camera(kFirst);
  ASSERT_TRUE(camera.Open());
  ASSERT_TRUE(camera.Start(receiver, 0, 320, 180));
  ASSERT_TRUE(receiver.WaitFor(1));
  std::map<unsigned int, std::vector<std::string>> sizes;
  for (const auto& format : CapturePlatform::Current().InputDevices()[0]->FormatDescriptions()) {
    const auto size =
        format->FormatDescriptionAttributes().QTFormatDescriptionVideoEncodedPixelsSizeAttribute;
    ASSERT_TRUE(size);
    sizes[format->FormatType()].push_back(std::to_string(std::lround(size->width)) + "x" +
                                          std::to_string(std::lround(size->height)));
  }
  for (const unsigned int format : {kYUY2, kUYVY, kBGRA, kI420, 24U, 32U}) {
    EXPECT_THAT(sizes[format],
                ::testing::IsSupersetOf({"320x180", "640x360", "1280x720", "3840x2160"}))
        << format;
  }
  EXPECT_TRUE(receiver.WaitForMore(3));
}

TEST_F(V4L2, TwoCamerasDeliverAtOnce) {
  Receiver fromFirst, fromSecond;
  Camera first(kFirst), second(kSecond);
  ASSERT_TRUE(first.Open());
  ASSERT_TRUE(second.Open());
  ASSERT_TRUE(first.Start(fromFirst, 0, 320, 180));
  ASSERT_TRUE(second.Start(fromSecond, 0, 640, 360));
  EXPECT_TRUE(fromFirst.WaitFor(5));
  EXPECT_TRUE(fromSecond.WaitFor(5));
  EXPECT_EQ(fromFirst.Last().width, 320u);
  EXPECT_EQ(fromSecond.Last().width, 640u);
}

class V4L2HeldElsewhere : public V4L2, public ::testing::WithParamInterface<const char*> {};

TEST_P(V4L2HeldElsewhere, IsBusyUntilTheOtherProcessDies) {
  Receiver receiver;
  Camera camera(kFirst), other(kSecond);
  Holder holder(kFirst, GetParam());
  ASSERT_TRUE(holder.IsReady());

  EXPECT_TRUE(ZRVXDeviceIsUsedByAnotherApplication(camera.Handle()));
  EXPECT_FALSE(camera.Open());
  EXPECT_FALSE(ZRVXDeviceIsOpened(camera.Handle()));
  EXPECT_FALSE(ZRVXDeviceIsUsedByAnotherApplication(other.Handle()));

  holder.Kill();
  EXPECT_TRUE(WaitUntil(
      [&] { return !ZRVXDeviceIsUsedByAnotherApplication(camera.Handle()) && camera.Open(); }));
  ASSERT_TRUE(camera.Start(receiver, 0, 320, 180));
  EXPECT_TRUE(receiver.WaitFor(1));
  EXPECT_FALSE(ZRVXDeviceIsUsedByAnotherApplication(camera.Handle())) << "it is ours now";
}

TEST_F(V4L2, IsFreeForOthersAfterItsUse) {
  {
    Receiver receiver;
    Camera camera(kFirst);
    ASSERT_TRUE(camera.Open());
    ASSERT_TRUE(camera.Start(receiver, 0, 320, 180));
    ASSERT_TRUE(receiver.WaitFor(1));
  }
  EXPECT_TRUE(Holder(kFirst, "capturing").IsReady());
}

INSTANTIATE_TEST_SUITE_P(While, V4L2HeldElsewhere, ::testing::Values("opened", "capturing"),
                         [](const auto& test) { return std::string(test.param); });

/// Stops, closes and releases a device that is no longer there.
void ExpectPromptEnd(unsigned long handle) {
  EXPECT_TRUE(ZRVXDeviceIsCapturing(handle));
  EXPECT_LT(Timed([&] { EXPECT_TRUE(ZRVXDeviceStopCapture(handle)); }), kPrompt);
  EXPECT_LT(Timed([&] { EXPECT_TRUE(ZRVXDeviceClose(handle)); }), kPrompt);
  EXPECT_LT(Timed([&] { EXPECT_TRUE(ZRVXDeviceRelease(handle)); }), kPrompt);
}

TEST_F(V4L2, UnpluggedWhileItCaptures) {
  Receiver receiver;
  {
    const unsigned long handle = ZRVXDeviceGet(kFirst, ZRVXDeviceMediaTypeVideo);
    ASSERT_TRUE(ZRVXDeviceOpen(handle));
    ASSERT_TRUE(ZRVXDeviceStartCapture(handle, &Receiver::Receive, receiver.Data(), 0, 320, 180,
                                       nullptr, 0, 0, 0, 0, 0, nullptr));
    ASSERT_TRUE(receiver.WaitFor(3));
    Driver::Unplug();
    EXPECT_TRUE(WaitUntil([&] { return !ZRVXDeviceIsConnected(handle); }, 5s));
    EXPECT_THAT(NameList().Names(), ::testing::IsEmpty());
    EXPECT_THAT(NameList(1).Names(), ::testing::ElementsAre(kFirst, kSecond));
    ExpectPromptEnd(handle);
  }
  {
    const Camera gone(kFirst);
    EXPECT_NE(gone.Handle(), 0u) << "devices that were unplugged keep their names";
    EXPECT_FALSE(ZRVXDeviceOpen(gone.Handle()));
  }

  Driver::Plug();
  Receiver afterwards;
  Camera again(kFirst);
  EXPECT_TRUE(WaitUntil([&] { return IsListed(kFirst) && again.IsConnected(); }));
  EXPECT_THAT(NameList().Names(), ::testing::ElementsAre(kFirst, kSecond));
  ASSERT_TRUE(again.Open());
  ASSERT_TRUE(again.Start(afterwards, 0, 320, 180));
  EXPECT_TRUE(afterwards.WaitFor(3));
}

TEST_F(V4L2, CutOffWhileAnotherCaptures) {
  Receiver fromOther, receiver;
  Camera other(kSecond);
  ASSERT_TRUE(other.Open());
  ASSERT_TRUE(other.Start(fromOther, 0, 320, 180));
  const unsigned long handle = ZRVXDeviceGet(kFirst, ZRVXDeviceMediaTypeVideo);
  ASSERT_TRUE(ZRVXDeviceOpen(handle));
  ASSERT_TRUE(ZRVXDeviceStartCapture(handle, &Receiver::Receive, receiver.Data(), 0, 320, 180,
                                     nullptr, 0, 0, 0, 0, 0, nullptr));
  ASSERT_TRUE(receiver.WaitFor(3));
  ASSERT_TRUE(fromOther.WaitFor(3));

  Driver::CutOff(0);
  // It comes back when all have closed it: for the next test, in the next process.
  EXPECT_TRUE(fromOther.WaitForMore(3));
  ExpectPromptEnd(handle);
  EXPECT_TRUE(fromOther.WaitForMore(3));
}

TEST_F(V4L2, AHeldHandleFollowsItsCamera) {
  Receiver receiver;
  Camera camera(kSecond);
  ASSERT_TRUE(camera.IsConnected());
  Driver::Unplug();
  EXPECT_TRUE(WaitUntil([&] { return !camera.IsConnected(); }, 5s));
  EXPECT_FALSE(camera.Open());
  Driver::Plug();
  EXPECT_TRUE(WaitUntil([&] { return IsListed(kSecond) && camera.IsConnected(); }));
  ASSERT_TRUE(camera.Open());
  ASSERT_TRUE(camera.Start(receiver, 0, 320, 180));
  EXPECT_TRUE(receiver.WaitFor(1));
}

TEST_F(V4L2, MovieIsPlayable) {
  const std::string movie = fs::temp_directory_path() / "zorvex_v4l2_test.mov";
  Receiver receiver;
  Camera camera(kFirst);
  ASSERT_TRUE(camera.Open());
  ASSERT_TRUE(camera.Start(receiver, 0, 320, 180, movie.c_str()));
  ASSERT_TRUE(receiver.WaitFor(10));
  ASSERT_TRUE(ZRVXDeviceStopCapture(camera.Handle()));

  std::string report;
  FILE* discoverer = popen(("gst-discoverer-1.0 " + movie + " 2>&1").c_str(), "r");
  ASSERT_NE(discoverer, nullptr);
  for (char buffer[256]; fgets(buffer, sizeof buffer, discoverer);)
    report += buffer;
  EXPECT_EQ(pclose(discoverer), 0);
  EXPECT_THAT(report, ::testing::ContainsRegex("Duration: 0:00:[0-9.]*[1-9]"));
  EXPECT_THAT(report, ::testing::HasSubstr("video"));
  fs::remove(movie);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::string_view(argv[1]) == "--hold") return Hold(argv[2], argv[3]);
  ::testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
