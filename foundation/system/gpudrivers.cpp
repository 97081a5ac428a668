// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <string>

#include "foundation/files/pathtext.h"
#include "foundation/system/gpu.h"
#include "foundation/system/gpuprobe.h"
#include "foundation/threads/processinterface.h"

namespace {

std::optional<GpuProbeAnswer> Ask(LProcessInterface& process, const char* question,
                                  unsigned int timeout) {
  const std::string program = FindGpuProbe();
  if (!program.empty()) return RunGpuProbe(process, program, question, timeout);
  process.SetError("The program zorvex-gpuprobe is not installed.");
  return std::nullopt;
}

unsigned long long Number(const std::string& text) {
  return std::strtoull(text.c_str(), nullptr, 10);
}

/// What the probe writes of a device, in its order.
enum Field : std::size_t {
  kName,
  kDriver,
  kVersion,
  kType,
  kVendor,
  kDevice,
  kMemory,
  kFieldCount
};

void Copy(std::vector<std::string> fields, LGpuVulkan& device) {
  fields.resize(kFieldCount);
  CopyPath(device.name, fields[kName]);
  CopyPath(device.driver, fields[kDriver]);
  CopyPath(device.version, fields[kVersion]);
  const unsigned long long type = Number(fields[kType]);
  device.type = type <= LGpuVulkanProcessor ? static_cast<int>(type) : LGpuVulkanOther;
  device.vendorId = static_cast<unsigned int>(Number(fields[kVendor]));
  device.deviceId = static_cast<unsigned int>(Number(fields[kDevice]));
  device.memorySize = Number(fields[kMemory]);
}

}  // namespace

bool LGpuGetOpenGL(LProcessInterface& process, LGpuOpenGL& openGL, unsigned int timeout) {
  openGL = {};
  std::optional<GpuProbeAnswer> answer = Ask(process, "opengl", timeout);
  if (!answer || answer->empty()) return false;
  std::vector<std::string>& fields = answer->front();
  fields.resize(3);
  CopyPath(openGL.vendor, fields[0]);
  CopyPath(openGL.renderer, fields[1]);
  CopyPath(openGL.version, fields[2]);
  return true;
}

int LGpuEnumerateVulkan(LProcessInterface& process, LGpuVulkan* devices, int capacity,
                        unsigned int timeout) {
  const std::optional<GpuProbeAnswer> answer = Ask(process, "vulkan", timeout);
  if (!answer) return -1;
  int count = 0;
  for (const std::vector<std::string>& fields : *answer) {
    if (count < capacity) Copy(fields, devices[count]);
    ++count;
  }
  return count;
}
