// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_V4L2_V4L2DEVICE_H
#define ZORVEX_PLATFORM_V4L2_V4L2DEVICE_H

#include <mutex>
#include <string>

#include "platform/devicenode.h"
#include "platform/gstreamer/sourcedevice.h"
#include "platform/uniquefd.h"

namespace gstreamer {

using V4L2Node = DeviceNode;

/// What the system knows of a camera's node without and with opening it.
struct V4L2Identity {
  std::string name;       ///< as the device gives it
  std::string busPath;    ///< where it is plugged in, below /sys/devices, with the node's index
  std::string model;      ///< vendor, product and serial number; empty when it has no serial number
  bool captures = false;  ///< the node delivers pictures (others deliver metadata, or are outputs)
};
V4L2Identity Identify(const V4L2Node& node);

/// A camera that V4L2 knows.
///
/// Opening takes the driver's buffer queue, so that a second process finds the camera busy when it
/// opens it and not only when it starts it. A run needs the queue itself: it is given up for the
/// time of a run and taken again afterwards.
class V4L2Device final : public SourceDevice {
 public:
  V4L2Device(const V4L2Identity& identity, V4L2Node node);

  bool HasMediaType(QTMediaType mediaType) const override;
  bool IsConnected() const override;
  bool IsInUseByAnotherApplication() const override;
  std::vector<Retained<QTFormatDescription>> FormatDescriptions() override;

  /// Vendor, product and serial number; empty when it has no serial number.
  const std::string& Model() const { return model_; }
  /// For the provider: where the camera is now.
  V4L2Node Node() const;
  void SetNode(V4L2Node node);

 protected:
  bool OpenDevice() override;
  void CloseDevice() override;
  Source MakeSource(const CVPixelBufferAttributes& wish) override;
  void SourceEnded() override;

 private:
  const std::string model_;
  mutable std::mutex nodeMutex_;  ///< guards what follows
  V4L2Node node_;
  UniqueFd claim_;  ///< holds the buffer queue while the camera is open and not running
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_V4L2_V4L2DEVICE_H
