// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GPU_H
#define ZORVEX_PLATFORM_GPU_H

#include <string>
#include <vector>

/// A graphics processor as the system's kernel describes it, without any driver's library. Texts
/// are empty, and numbers 0, where it does not tell.
struct GpuDescription {
  std::string name;
  std::string vendor;
  std::string driver;      ///< the kernel's
  std::string busAddress;  ///< on the PCI bus
  std::string node;
  std::string renderNode;
  unsigned int vendorId = 0;
  unsigned int deviceId = 0;
  bool isBootDisplay = false;
  unsigned long long memorySize = 0;
  unsigned long long memoryUsed = 0;
};

/// Where to look; tests have trees of their own.
struct GpuSources {
  std::string devices = "/sys/class/drm";
  /// Lists of the names of PCI devices. The first one that is there counts.
  std::vector<std::string> names = {"/usr/share/misc/pci.ids", "/usr/share/hwdata/pci.ids"};
};

/// Those of the machine, in the order in which the system counts them. Any thread; reads files of
/// the system each time. May throw std::bad_alloc.
std::vector<GpuDescription> ReadGpus(const GpuSources& sources);

#endif  // ZORVEX_PLATFORM_GPU_H
