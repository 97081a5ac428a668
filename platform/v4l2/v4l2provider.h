// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_V4L2_V4L2PROVIDER_H
#define ZORVEX_PLATFORM_V4L2_V4L2PROVIDER_H

#include <chrono>
#include <vector>

#include "platform/deviceprovider.h"
#include "platform/v4l2/v4l2device.h"

namespace gstreamer {

/// The cameras of /dev/video*, looked up anew at each call. A folder listing and one stat for each
/// node is all it takes while nothing changes: a node is opened once, when it is first seen.
///
/// This does without a device monitor on purpose. A monitor hears of new devices from the device
/// manager alone, and there is none in a container; it opens every camera and goes through all its
/// modes before it lists it; and it keeps a thread. Here the list is right at any moment, and a
/// device tells by its node whether it is still there.
class V4L2Provider final : public DeviceProvider {
 public:
  std::vector<Retained<ListedDevice>> Devices() override;

 private:
  bool IsKnown(const V4L2Node& node) const;
  void Add(const V4L2Node& node);

  std::vector<Retained<V4L2Device>> devices_;
  struct Other {
    V4L2Node node;
    std::chrono::steady_clock::time_point askAgain;
  };
  std::vector<Other> others_;  ///< nodes that are no cameras, or did not say so far
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_V4L2_V4L2PROVIDER_H
