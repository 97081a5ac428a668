// SPDX-License-Identifier: MIT
#include "platform/gpu.h"

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string_view>
#include <system_error>

#include "platform/linux/pcinames.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kCard = "card";
constexpr std::string_view kRender = "renderD";
constexpr std::string_view kNodes = "/dev/dri/";

/// The names in a folder that are a prefix and a number, by their numbers. Connectors
/// ("card0-DP-1") are none.
std::vector<std::string> Numbered(const std::string& folder, std::string_view prefix) {
  std::set<unsigned int> numbers;
  std::error_code failure;
  for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end;
       entry.increment(failure)) {
    const std::string name = entry->path().filename().native();
    if (!name.starts_with(prefix)) continue;
    unsigned int number = 0;
    const char* const nameEnd = name.data() + name.size();
    const auto [rest, error] = std::from_chars(name.data() + prefix.size(), nameEnd, number);
    if (error == std::errc() && rest == nameEnd) numbers.insert(number);
  }
  std::vector<std::string> names;
  names.reserve(numbers.size());
  for (const unsigned int number : numbers)
    names.push_back(std::string(prefix).append(std::to_string(number)));
  return names;
}

/// The number that a file of one line begins with; 0 when it has none.
unsigned long long NumberIn(const std::string& path) {
  std::ifstream file(path);
  unsigned long long number = 0;
  return file >> number ? number : 0;
}

void ReadPciId(const std::string& text, GpuDescription& gpu) {
  char* rest = nullptr;
  const unsigned long vendor = std::strtoul(text.c_str(), &rest, 16);
  if (*rest != ':') return;
  gpu.vendorId = static_cast<unsigned int>(vendor & 0xffff);
  gpu.deviceId = static_cast<unsigned int>(std::strtoul(rest + 1, nullptr, 16) & 0xffff);
}

/// Takes what is not known yet from a device's properties.
void ReadProperties(const std::string& device, GpuDescription& gpu) {
  std::ifstream file(device + "/uevent");
  std::string line;
  while (std::getline(file, line)) {
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) continue;
    const std::string key = line.substr(0, equals);
    const std::string value = line.substr(equals + 1);
    if (key == "DRIVER" && gpu.driver.empty()) gpu.driver = value;
    if (key == "PCI_ID") ReadPciId(value, gpu);
    if (key == "PCI_SLOT_NAME") gpu.busAddress = value;
  }
}

GpuDescription ReadCard(const std::string& devices, const std::string& card) {
  const std::string device = devices + "/" + card + "/device";
  GpuDescription gpu;
  gpu.node = std::string(kNodes) + card;
  const std::vector<std::string> renderers = Numbered(device + "/drm", kRender);
  if (!renderers.empty()) gpu.renderNode = std::string(kNodes) + renderers.front();
  ReadProperties(device, gpu);
  // A virtual machine's card may be a device upon one of the PCI bus.
  std::string onBus = device;
  if (gpu.vendorId == 0) {
    onBus = device + "/..";
    ReadProperties(onBus, gpu);
  }
  gpu.isBootDisplay = NumberIn(onBus + "/boot_vga") == 1;
  // Only some drivers tell, amdgpu for one.
  gpu.memorySize = NumberIn(device + "/mem_info_vram_total");
  gpu.memoryUsed = NumberIn(device + "/mem_info_vram_used");
  return gpu;
}

void FindNames(const std::vector<std::string>& lists, GpuDescription& gpu) {
  if (gpu.vendorId == 0) return;
  for (const std::string& path : lists) {
    std::ifstream list(path);
    if (!list) continue;
    PciNames names = FindPciNames(list, gpu.vendorId, gpu.deviceId);
    gpu.vendor = std::move(names.vendor);
    gpu.name = std::move(names.device);
    return;
  }
}

}  // namespace

std::vector<GpuDescription> ReadGpus(const GpuSources& sources) {
  std::vector<GpuDescription> gpus;
  for (const std::string& card : Numbered(sources.devices, kCard)) {
    gpus.push_back(ReadCard(sources.devices, card));
    FindNames(sources.names, gpus.back());
  }
  return gpus;
}
