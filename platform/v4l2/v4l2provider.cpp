// SPDX-License-Identifier: MIT
#include "platform/v4l2/v4l2provider.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "platform/boundedcall.h"
#include "platform/devicelist.h"

namespace {

namespace fs = std::filesystem;

/// A driver that does not answer keeps its own camera off the list, not the others.
constexpr std::chrono::milliseconds kIdentifyLimit{1000};
constexpr std::chrono::seconds kAskAgainAfter{10};

std::vector<std::string> NodePaths() {
  std::vector<std::string> paths;
  std::error_code error;
  for (fs::directory_iterator entry("/dev", error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (name.starts_with("video") && name.find_first_not_of("0123456789", 5) == std::string::npos &&
        name.size() > 5) {
      paths.push_back(entry->path().string());
    }
  }
  std::sort(paths.begin(), paths.end(), IsBeforeInNaturalOrder);
  return paths;
}

std::optional<gstreamer::V4L2Identity> IdentifyInTime(const gstreamer::V4L2Node& node) {
  const auto identity = std::make_shared<gstreamer::V4L2Identity>();
  const BoundedCall call =
      RunBounded(kIdentifyLimit, [identity, node] { *identity = gstreamer::Identify(node); });
  if (call != BoundedCall::Done) return std::nullopt;
  return *identity;
}

}  // namespace

namespace gstreamer {

std::vector<Retained<ListedDevice>> V4L2Provider::Devices() {
  const auto now = std::chrono::steady_clock::now();
  std::erase_if(others_, [&](const Other& other) {
    return other.askAgain <= now || LookUpNode(other.node.path) != other.node;
  });
  for (const std::string& path : NodePaths()) {
    const V4L2Node node = LookUpNode(path);
    if (node.number != 0 && !IsKnown(node)) Add(node);
  }
  return {devices_.begin(), devices_.end()};
}

bool V4L2Provider::IsKnown(const V4L2Node& node) const {
  return std::any_of(others_.begin(), others_.end(),
                     [&](const Other& other) { return other.node == node; }) ||
         std::any_of(devices_.begin(), devices_.end(),
                     [&](const auto& device) { return device->Node() == node; });
}

void V4L2Provider::Add(const V4L2Node& node) {
  const auto identity = IdentifyInTime(node);
  if (!identity || !identity->captures) {
    using Clock = std::chrono::steady_clock;
    others_.push_back({node, identity ? Clock::time_point::max() : Clock::now() + kAskAgainAfter});
    return;
  }
  const auto device = MakeRetained<V4L2Device>(*identity, node);
  // A camera that comes back is the one it was: known by its place and serial number, or by the
  // serial number alone when it was plugged in elsewhere.
  Retained<V4L2Device> known;
  for (const auto& other : devices_) {
    if (other->IsConnected()) continue;
    const bool isSame = std::string_view(other->UniqueID()) == device->UniqueID();
    const bool isMoved = !identity->model.empty() && other->Model() == identity->model;
    if (isSame || (isMoved && !known)) known = other;
    if (isSame) break;
  }
  if (known) {
    known->SetNode(node);
  } else {
    devices_.push_back(device);
  }
}

}  // namespace gstreamer
