// SPDX-License-Identifier: MIT
#include <gst/video/video.h>

#include <utility>

#include "platform/gstreamer/pixelformats.h"
#include "platform/simulated/framestamp.h"
#include "platform/simulated/media.h"
#include "platform/simulated/simulatedpicture.h"

namespace {

using Kind = SimulatedDescription::Kind;

/// The shape of a pixel: that of the two television standards on tape, square elsewhere.
std::pair<int, int> PixelAspect(const SimulatedDescription& device) {
  if (device.kind == Kind::Camcorder && device.width == 720) {
    if (device.height == 576) return {16, 15};
    if (device.height == 480) return {8, 9};
  }
  return {1, 1};
}

GstPointer<GstCaps> CapsOf(const SimulatedDescription& device) {
  GstPointer<GstCaps> caps = gstreamer::RawCapsForCode(device.pixelFormat);
  const auto [aspectWidth, aspectHeight] = PixelAspect(device);
  gst_caps_set_simple(caps.get(), "width", G_TYPE_INT, device.width, "height", G_TYPE_INT,
                      device.height, "framerate", GST_TYPE_FRACTION, device.rate.numerator,
                      device.rate.denominator, "pixel-aspect-ratio", GST_TYPE_FRACTION, aspectWidth,
                      aspectHeight, "interlace-mode", G_TYPE_STRING, "progressive", nullptr);
  if (device.pixelFormat != FourCharCode("BGRA")) {
    // The painter's colours, at every size: without this key large pictures count as BT.709.
    gst_caps_set_simple(caps.get(), "colorimetry", G_TYPE_STRING, GST_VIDEO_COLORIMETRY_BT601,
                        nullptr);
  }
  // Where a code stands for several formats the first is the one that is painted.
  return GstPointer<GstCaps>(gst_caps_fixate(caps.release()));
}

class Pictures final : public SourceMedium {
 public:
  explicit Pictures(std::shared_ptr<SimulatedHardware> hardware)
      : hardware_(std::move(hardware)),
        caps_(CapsOf(hardware_->Description())),
        picture_(hardware_->Description().pixelFormat, hardware_->Description().width,
                 hardware_->Description().height) {
    gst_video_info_from_caps(&info_, caps_.get());
  }

  GstCaps* CapsAt(const SourceFrame*) override { return caps_.get(); }
  std::size_t BufferSize() const override { return GST_VIDEO_INFO_SIZE(&info_); }

  Filling Fill(GstBuffer* buffer, const SourceFrame& frame) override {
    const SimulatedDescription& device = hardware_->Description();
    if (device.kind == Kind::Camera) {
      return Paint(buffer, frame.index, FrameStamp(frame.index).Text());
    }
    const TapeTime time = hardware_->TimeCodeOf(frame.tapeFrame);
    SetTimeCode(buffer, time, device.rate, device.dropFrame);
    return Paint(buffer, frame.tapeFrame, FrameStamp(time, device.dropFrame).Text());
  }

 private:
  Filling Paint(GstBuffer* buffer, std::uint64_t index, std::string_view text) {
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_WRITE)) return Filling::Failed;
    SimulatedPicture::Plane planes[SimulatedPicture::kMaxPlanes];
    const std::size_t count = GST_VIDEO_INFO_N_PLANES(&info_);
    for (std::size_t i = 0; i < count; ++i) {
      planes[i] = {map.data + GST_VIDEO_INFO_PLANE_OFFSET(&info_, i),
                   static_cast<std::size_t>(GST_VIDEO_INFO_PLANE_STRIDE(&info_, i))};
    }
    picture_.Paint({planes, count}, index, text);
    gst_buffer_unmap(buffer, &map);
    return Filling::Filled;
  }

  const std::shared_ptr<SimulatedHardware> hardware_;
  const GstPointer<GstCaps> caps_;
  GstVideoInfo info_;
  SimulatedPicture picture_;
};

class DvFrames final : public SourceMedium {
 public:
  explicit DvFrames(std::shared_ptr<SimulatedHardware> hardware)
      : hardware_(std::move(hardware)),
        caps_(gst_caps_new_simple("video/x-dv", "systemstream", G_TYPE_BOOLEAN, TRUE, nullptr)) {}

  GstCaps* CapsAt(const SourceFrame*) override { return caps_.get(); }
  std::size_t BufferSize() const override { return hardware_->Description().tape->FrameSize(); }

  Filling Fill(GstBuffer* buffer, const SourceFrame& frame) override {
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_WRITE)) return Filling::Failed;
    const std::span<std::uint8_t> bytes(map.data, map.size);
    const bool isThere = hardware_->Description().tape->Read(frame.tapeFrame, bytes);
    if (isThere && frame.tapeSpeed != kTapeUnits) {
      gstreamer::SetDvSpeed(bytes, gstreamer::DvSpeedCode(frame.tapeSpeed));
    }
    gst_buffer_unmap(buffer, &map);
    return isThere ? Filling::Filled : Filling::Skipped;
  }

 private:
  const std::shared_ptr<SimulatedHardware> hardware_;
  const GstPointer<GstCaps> caps_;
};

}  // namespace

std::unique_ptr<SourceMedium> NewPictures(std::shared_ptr<SimulatedHardware> hardware) {
  return std::make_unique<Pictures>(std::move(hardware));
}

std::unique_ptr<SourceMedium> NewDvFrames(std::shared_ptr<SimulatedHardware> hardware) {
  return std::make_unique<DvFrames>(std::move(hardware));
}
