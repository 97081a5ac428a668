// SPDX-License-Identifier: MIT
#include "foundation/system/gpu.h"

#include "foundation/files/pathtext.h"
#include "platform/gpu.h"

namespace {

void Copy(const GpuDescription& description, LGpu& gpu) {
  CopyPath(gpu.name, description.name);
  CopyPath(gpu.vendor, description.vendor);
  CopyPath(gpu.driver, description.driver);
  CopyPath(gpu.busAddress, description.busAddress);
  CopyPath(gpu.node, description.node);
  CopyPath(gpu.renderNode, description.renderNode);
  gpu.vendorId = description.vendorId;
  gpu.deviceId = description.deviceId;
  gpu.isBootDisplay = description.isBootDisplay;
  gpu.memorySize = description.memorySize;
  gpu.memoryUsed = description.memoryUsed;
}

}  // namespace

int LGpuEnumerate(LGpu* gpus, int capacity) {
  const std::vector<GpuDescription> descriptions = ReadGpus({});
  int count = 0;
  for (const GpuDescription& description : descriptions) {
    if (count < capacity) Copy(description, gpus[count]);
    ++count;
  }
  return count;
}
