// SPDX-License-Identifier: MIT
#include "platform/firewire/kernelbus.h"

#include <gst/base/gstbasesrc.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/firewire/kernelfcplink.h"
#include "platform/gstreamer/gstpointer.h"

namespace {

namespace fs = std::filesystem;

/// "fw1", and not "fw1.0", which is a part of it.
bool IsNodeName(std::string_view name) {
  return name.size() > 2 && name.starts_with("fw") &&
         name.find_first_not_of("0123456789", 2) == std::string_view::npos;
}

std::string FirstLine(const fs::path& file) {
  std::ifstream stream(file);
  std::string line;
  std::getline(stream, line);
  return line;
}

template <class Number>
std::optional<Number> FromHex(std::string_view text) {
  if (text.starts_with("0x")) text.remove_prefix(2);
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return number;
}

enum class UnitKind { Other, Early, Avc };

/// `text` is "SPECIFIER:VERSION", as in "0x00a02d:0x010001".
UnitKind KindOf(std::string_view text) {
  constexpr std::uint32_t k1394TradeAssociation = 0x00a02d;
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return UnitKind::Other;
  const auto specifier = FromHex<std::uint32_t>(text.substr(0, colon));
  const auto version = FromHex<std::uint32_t>(text.substr(colon + 1));
  if (specifier != k1394TradeAssociation || !version) return UnitKind::Other;
  // The first camcorders and a converter for analogue tapes say 010000h.
  if (*version == 0x010000) return UnitKind::Early;
  return (*version & 0xff0001) == 0x010001 ? UnitKind::Avc : UnitKind::Other;
}

UnitKind KindOfAll(const std::string& units) {
  UnitKind kind = UnitKind::Other;
  std::istringstream stream(units);
  for (std::string unit; stream >> unit;)
    kind = std::max(kind, KindOf(unit));
  return kind;
}

}  // namespace

namespace firewire {

KernelBus::KernelBus(fs::path units, fs::path files)
    : units_(std::move(units)), files_(std::move(files)) {}

std::vector<FireWireNode> KernelBus::Nodes() {
  std::vector<FireWireNode> nodes;
  std::error_code error;
  for (fs::directory_iterator entry(units_, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (!IsNodeName(name)) continue;
    if (auto node = Read(name)) nodes.push_back(std::move(*node));
  }
  return nodes;
}

std::optional<FireWireNode> KernelBus::Read(const std::string& name) const {
  const fs::path folder = units_ / name;
  const UnitKind kind = KindOfAll(FirstLine(folder / "units"));
  const auto guid = FromHex<std::uint64_t>(FirstLine(folder / "guid"));
  if (kind == UnitKind::Other || guid.value_or(0) == 0) return std::nullopt;
  if (FirstLine(folder / "is_local") == "1") return std::nullopt;
  FireWireNode node;
  node.guid = *guid;
  node.path = (files_ / name).string();
  std::error_code error;
  if (!fs::exists(node.path, error)) return std::nullopt;
  node.vendor = FirstLine(folder / "vendor_name");
  node.model = FirstLine(folder / "model_name");
  // Where the unit as a whole has no name its first part may have one.
  if (node.model.empty()) node.model = FirstLine(units_ / (name + ".0") / "model_name");
  node.isPermitted = access(node.path.c_str(), R_OK | W_OK) == 0;
  node.isEarly = kind == UnitKind::Early;
  return node;
}

std::unique_ptr<FcpLink> KernelBus::Open(const FireWireNode& node) {
  return OpenKernelFcpLink(node.path);
}

GstElement* KernelBus::NewStream(std::uint64_t guid, bool isHdv) {
  // Every deck broadcasts on this channel until somebody makes it use another one.
  constexpr int kBroadcastChannel = 63;
  GstElement* stream = gst_element_factory_make(isHdv ? "hdv1394src" : "dv1394src", nullptr);
  if (!stream) return nullptr;
  // Without use-avc the element leaves the tape alone.
  g_object_set(stream, "guid", static_cast<guint64>(guid), "channel", kBroadcastChannel, "use-avc",
               FALSE, nullptr);
  if (isHdv) {
    // Packets come without a time, DV frames with one.
    g_object_set(stream, "do-timestamp", TRUE, nullptr);
    gst_base_src_set_format(reinterpret_cast<GstBaseSrc*>(stream), GST_FORMAT_TIME);
  }
  return stream;
}

}  // namespace firewire
