// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_LINUX_PCINAMES_H
#define ZORVEX_PLATFORM_LINUX_PCINAMES_H

#include <istream>
#include <string>

struct PciNames {
  std::string vendor;
  std::string device;
};

/// Looks a device up in a list of PCI devices; what is not in it stays empty. The list has lines
/// "10de  Vendor" and, below each vendor, "\t1c82  Device" and "\t\t1458 3764  Subsystem".
PciNames FindPciNames(std::istream& list, unsigned int vendorId, unsigned int deviceId);

#endif  // ZORVEX_PLATFORM_LINUX_PCINAMES_H
