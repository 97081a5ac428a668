// SPDX-License-Identifier: MIT
#include "platform/firewire/kernelfcplink.h"

#include <fcntl.h>
#include <linux/firewire-cdev.h>
#include <linux/firewire-constants.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>

#include "platform/uniquefd.h"

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;
using Kind = firewire::FcpLink::Incoming::Kind;

/// The registers of IEC 61883-1 in a unit and in this computer.
constexpr __u64 kCommandRegister = 0xfffff0000b00;
constexpr __u64 kResponseRegister = 0xfffff0000d00;
constexpr __u32 kRegisterSize = 0x200;
/// The first version of the interface in which requests say where they come from.
constexpr __u32 kInterfaceVersion = 4;

__u64 AddressOf(const void* object) {
  return static_cast<__u64>(reinterpret_cast<std::uintptr_t>(object));
}

class KernelFcpLink final : public firewire::FcpLink {
 public:
  explicit KernelFcpLink(UniqueFd file) : file_(std::move(file)) {}

  bool Listen();
  bool Send(std::span<const std::uint8_t> frame) override;
  Incoming Await(milliseconds limit) override;

 private:
  Incoming TakeEvent();
  Incoming TakeRequest(const fw_cdev_event_request2& request, std::size_t size);

  const UniqueFd file_;
  fw_cdev_event_bus_reset bus_{};  ///< as it was when the file was opened
};

bool KernelFcpLink::Listen() {
  fw_cdev_get_info info{};
  info.version = kInterfaceVersion;
  info.bus_reset = AddressOf(&bus_);
  if (ioctl(file_.Get(), FW_CDEV_IOC_GET_INFO, &info) != 0) return false;
  if (info.version < kInterfaceVersion) return false;
  // The response register is shared: every listener gets every frame.
  fw_cdev_allocate allocation{};
  allocation.offset = kResponseRegister;
  allocation.length = kRegisterSize;
  allocation.region_end = kResponseRegister + kRegisterSize;
  return ioctl(file_.Get(), FW_CDEV_IOC_ALLOCATE, &allocation) == 0;
}

bool KernelFcpLink::Send(std::span<const std::uint8_t> frame) {
  fw_cdev_send_request request{};
  // A frame of four bytes has to come as a quadlet.
  request.tcode = frame.size() == 4 ? TCODE_WRITE_QUADLET_REQUEST : TCODE_WRITE_BLOCK_REQUEST;
  request.length = static_cast<__u32>(frame.size());
  request.offset = kCommandRegister;
  request.data = AddressOf(frame.data());
  request.generation = bus_.generation;
  return ioctl(file_.Get(), FW_CDEV_IOC_SEND_REQUEST, &request) == 0;
}

firewire::FcpLink::Incoming KernelFcpLink::Await(milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  while (true) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    if (left <= milliseconds::zero()) return {};
    pollfd wanted{file_.Get(), POLLIN, 0};
    const int ready = poll(&wanted, 1, static_cast<int>(left.count()));
    if (ready < 0 && errno != EINTR) return {.kind = Kind::Broken, .frame = {}};
    if (ready <= 0) continue;
    if (!(wanted.revents & POLLIN)) return {.kind = Kind::Broken, .frame = {}};  // unplugged
    Incoming incoming = TakeEvent();
    if (incoming.kind != Kind::Nothing) return incoming;
  }
}

firewire::FcpLink::Incoming KernelFcpLink::TakeEvent() {
  alignas(fw_cdev_event) std::byte buffer[sizeof(fw_cdev_event) + kRegisterSize];
  const ssize_t size = read(file_.Get(), buffer, sizeof buffer);
  if (size < 0 && (errno == EAGAIN || errno == EINTR)) return {};
  if (size < static_cast<ssize_t>(sizeof(fw_cdev_event_common))) {
    return {.kind = Kind::Broken, .frame = {}};
  }
  const auto* event = reinterpret_cast<const fw_cdev_event*>(buffer);
  switch (event->common.type) {
    case FW_CDEV_EVENT_BUS_RESET:
      return {.kind = Kind::Broken, .frame = {}};
    case FW_CDEV_EVENT_RESPONSE:  // the fate of the write
      if (event->response.rcode != RCODE_COMPLETE) return {.kind = Kind::Broken, .frame = {}};
      return {};
    case FW_CDEV_EVENT_REQUEST2:
      return TakeRequest(event->request2, static_cast<std::size_t>(size));
    default:
      return {};
  }
}

firewire::FcpLink::Incoming KernelFcpLink::TakeRequest(const fw_cdev_event_request2& request,
                                                       std::size_t size) {
  // The kernel has answered the sender by itself; this frees what it keeps for us.
  fw_cdev_send_response response{};
  response.rcode = RCODE_COMPLETE;
  response.handle = request.handle;
  ioctl(file_.Get(), FW_CDEV_IOC_SEND_RESPONSE, &response);

  constexpr std::size_t kHeader = offsetof(fw_cdev_event_request2, data);
  if (size < kHeader || request.offset != kResponseRegister) return {};
  const std::size_t length = std::min<std::size_t>(request.length, size - kHeader);
  Incoming incoming{
      .kind = Kind::Frame,
      .isFromUnit = request.source_node_id == bus_.node_id && request.generation == bus_.generation,
      .frame = std::vector<std::uint8_t>(length)};
  if (length > 0) std::memcpy(incoming.frame.data(), request.data, length);
  return incoming;
}

}  // namespace

namespace firewire {

std::unique_ptr<FcpLink> OpenKernelFcpLink(const std::string& path) {
  UniqueFd file(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
  if (!file) return nullptr;
  auto link = std::make_unique<KernelFcpLink>(std::move(file));
  if (!link->Listen()) return nullptr;
  return link;
}

}  // namespace firewire
