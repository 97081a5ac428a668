// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_FIREWIRE_FIREWIREBUS_H
#define ZORVEX_PLATFORM_FIREWIRE_FIREWIREBUS_H

#include <gst/gst.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace firewire {

/// A unit on the bus that may send digital video, as it is now: its place may change with every bus
/// reset, its GUID is the device's own for ever.
struct FireWireNode {
  std::uint64_t guid = 0;
  std::string path{};    ///< of the device file
  std::string vendor{};  ///< as the device spells its names: maybe empty, maybe no UTF-8
  std::string model{};
  bool isPermitted = false;  ///< the device file may be opened
  /// From before the unit types were settled: sends DV, but perhaps knows no AV/C.
  bool isEarly = false;
};

/// An open unit, for one exchange of function control frames. A bus reset ends its use: what was
/// under way may be lost. Used by one thread.
class FcpLink {
 public:
  struct Incoming {
    enum class Kind {
      Frame,
      Nothing,  ///< the time was up
      Broken,   ///< bus reset, refused write, or the unit is gone
    };
    Kind kind = Kind::Nothing;
    bool isFromUnit = false;  ///< and not from another one that answers to this computer
    std::vector<std::uint8_t> frame;
  };

  virtual ~FcpLink() = default;
  /// Writes to the unit's command register. False when that is refused at once.
  virtual bool Send(std::span<const std::uint8_t> frame) = 0;
  /// Waits for the next thing that happens, at most for `limit`.
  virtual Incoming Await(std::chrono::milliseconds limit) = 0;
};

/// The bus as this backend needs it: the kernel's, or a test's. Thread-safe.
class FireWireBus {
 public:
  virtual ~FireWireBus() = default;
  /// The units on all buses. Sends nothing to any of them.
  virtual std::vector<FireWireNode> Nodes() = 0;
  /// Null when the unit is gone or not permitted.
  virtual std::unique_ptr<FcpLink> Open(const FireWireNode& node) = 0;
  /// An element that receives the unit's stream: DV frames (video/x-dv, systemstream=true) or with
  /// `isHdv` an MPEG-2 transport stream. Floating; null when there is none.
  virtual GstElement* NewStream(std::uint64_t guid, bool isHdv) = 0;
};

/// Where a unit is now; none when it is not on the bus.
std::optional<FireWireNode> FindNode(FireWireBus& bus, std::uint64_t guid);

}  // namespace firewire

#endif  // ZORVEX_PLATFORM_FIREWIRE_FIREWIREBUS_H
