// SPDX-License-Identifier: MIT
#include "platform/v4l2/v4l2device.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <utility>

#include "platform/boundedcall.h"
#include "platform/v4l2/v4l2formats.h"
#include "platform/v4l2/v4l2mode.h"

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds kAskLimit{1000};

int Ioctl(int descriptor, unsigned long request, void* argument) {
  int result;
  do {
    result = ioctl(descriptor, request, argument);
  } while (result < 0 && errno == EINTR);
  return result;
}

UniqueFd OpenNode(const std::string& path) {
  return UniqueFd(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
}

/// Asks for buffers: 0 is only a question. False with EBUSY when another one holds the queue.
bool RequestBuffers(int descriptor, unsigned count) {
  v4l2_requestbuffers request{};
  request.count = count;
  request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  request.memory = V4L2_MEMORY_MMAP;
  return Ioctl(descriptor, VIDIOC_REQBUFS, &request) == 0;
}

}  // namespace

namespace gstreamer {

V4L2Identity Identify(const V4L2Node& node) {
  V4L2Identity identity;
  const fs::path classFolder = fs::path("/sys/class/video4linux") / fs::path(node.path).filename();
  std::error_code error;
  const fs::path device = fs::canonical(classFolder / "device", error);
  const std::string index = FirstLine(classFolder / "index");
  identity.name = FirstLine(classFolder / "name");
  identity.busPath = (error ? node.path : device.string()) + "#" + (index.empty() ? "0" : index);
  if (!error) {
    const std::string model = ModelWithSerial(device);
    if (!model.empty()) identity.model = model + "#" + index;
  }

  const UniqueFd file = OpenNode(node.path);
  v4l2_capability capability{};
  if (file && Ioctl(file.Get(), VIDIOC_QUERYCAP, &capability) == 0) {
    const __u32 capabilities = capability.capabilities & V4L2_CAP_DEVICE_CAPS
                                   ? capability.device_caps
                                   : capability.capabilities;
    identity.captures =
        (capabilities & V4L2_CAP_VIDEO_CAPTURE) && (capabilities & V4L2_CAP_STREAMING);
    const auto* card = reinterpret_cast<const char*>(capability.card);
    identity.name.assign(card, strnlen(card, sizeof capability.card));
  } else {
    // Not permitted, or held by a driver that lets one in at a time: the first node of a device is
    // the one with the pictures.
    identity.captures = !file && (errno == EACCES || errno == EPERM || errno == EBUSY) &&
                        (index.empty() || index == "0");
  }
  return identity;
}

V4L2Device::V4L2Device(const V4L2Identity& identity, V4L2Node node)
    : SourceDevice(identity.name,
                   "v4l2:" + (identity.model.empty() ? std::string() : identity.model + "@") +
                       identity.busPath,
                   identity.busPath),
      model_(identity.model),
      node_(std::move(node)) {}

bool V4L2Device::HasMediaType(QTMediaType mediaType) const {
  return mediaType == QTMediaType::QTMediaTypeVideo;
}

V4L2Node V4L2Device::Node() const {
  const std::lock_guard lock(nodeMutex_);
  return node_;
}

void V4L2Device::SetNode(V4L2Node node) {
  const std::lock_guard lock(nodeMutex_);
  node_ = std::move(node);
}

bool V4L2Device::IsConnected() const {
  const V4L2Node node = Node();
  return node.number != 0 && LookUpNode(node.path) == node;
}

bool V4L2Device::IsInUseByAnotherApplication() const {
  if (IsOpen()) return false;
  const auto isBusy = std::make_shared<std::atomic<bool>>(false);
  RunBounded(kAskLimit, [isBusy, path = Node().path] {
    const UniqueFd file = OpenNode(path);
    *isBusy = file ? !RequestBuffers(file.Get(), 0) && errno == EBUSY : errno == EBUSY;
  });
  return *isBusy;
}

std::vector<Retained<QTFormatDescription>> V4L2Device::FormatDescriptions() {
  const auto formats = std::make_shared<std::vector<Retained<QTFormatDescription>>>();
  // By a descriptor of its own, which does not ask for the buffer queue: a run goes on unhindered.
  const BoundedCall call = RunBounded(kAskLimit, [formats, path = Node().path] {
    const UniqueFd file = OpenNode(path);
    if (file) *formats = DescribeV4L2Formats(file.Get());
  });
  if (call != BoundedCall::Done) return {};
  return *formats;
}

bool V4L2Device::OpenDevice() {
  if (!IsConnected()) return false;
  UniqueFd file = OpenNode(Node().path);
  if (!file) return false;
  // A driver that knows no buffers of this kind cannot be held, but perhaps be used.
  if (!RequestBuffers(file.Get(), 1) && errno == EBUSY) return false;
  const std::lock_guard lock(nodeMutex_);
  claim_ = std::move(file);
  return true;
}

void V4L2Device::CloseDevice() {
  const std::lock_guard lock(nodeMutex_);
  claim_ = UniqueFd();
}

SourceDevice::Source V4L2Device::MakeSource(const CVPixelBufferAttributes& wish) {
  if (!IsConnected()) return {};
  CloseDevice();
  GstPointer<GstElement> element(gst_element_factory_make("v4l2src", nullptr));
  if (!element) return {};
  gst_object_ref_sink(element.get());
  g_object_set(element.get(), "device", Node().path.c_str(), nullptr);
  if (gst_element_set_state(element.get(), GST_STATE_READY) == GST_STATE_CHANGE_FAILURE) {
    gst_element_set_state(element.get(), GST_STATE_NULL);
    return {};
  }
  const GstPointer<GstPad> pad(gst_element_get_static_pad(element.get(), "src"));
  const GstPointer<GstCaps> offered(gst_pad_query_caps(pad.get(), nullptr));
  GstPointer<GstCaps> mode = ChooseMode(offered.get(), wish);
  if (!mode) {
    gst_element_set_state(element.get(), GST_STATE_NULL);
    return {};
  }
  GstElement* floating = element.release();
  g_object_force_floating(reinterpret_cast<GObject*>(floating));
  return {floating, mode.release()};
}

void V4L2Device::SourceEnded() {
  // Unless the device was closed or unplugged meanwhile.
  if (IsOpen() && IsConnected()) OpenDevice();
}

}  // namespace gstreamer
