// SPDX-License-Identifier: MIT
#define VK_NO_PROTOTYPES  // the loader is not linked but looked for when the program runs
#include <dlfcn.h>
#include <vulkan/vulkan.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/gpuprobe/probe.h"

namespace {

PFN_vkGetInstanceProcAddr getProcAddress = nullptr;

bool LoadVulkan() {
  void* const library = dlopen("libvulkan.so.1", RTLD_NOW);
  if (library == nullptr) return false;
  getProcAddress =
      reinterpret_cast<PFN_vkGetInstanceProcAddr>(dlsym(library, "vkGetInstanceProcAddr"));
  return getProcAddress != nullptr;
}

template <typename Function>
Function Get(VkInstance instance, const char* name) {
  return reinterpret_cast<Function>(getProcAddress(instance, name));
}

VkInstance MakeInstance() {
  const auto create = Get<PFN_vkCreateInstance>(VK_NULL_HANDLE, "vkCreateInstance");
  if (create == nullptr) return VK_NULL_HANDLE;
  VkApplicationInfo application = {};
  application.sType = VK_STRUCTURE_TYPE_APPLICATION_INFO;
  application.apiVersion = VK_API_VERSION_1_2;
  // A loader of Vulkan 1.0 takes no other version.
  if (Get<PFN_vkEnumerateInstanceVersion>(VK_NULL_HANDLE, "vkEnumerateInstanceVersion") == nullptr)
    application.apiVersion = VK_API_VERSION_1_0;
  VkInstanceCreateInfo info = {};
  info.sType = VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO;
  info.pApplicationInfo = &application;
  VkInstance instance = VK_NULL_HANDLE;
  return create(&info, nullptr, &instance) == VK_SUCCESS ? instance : VK_NULL_HANDLE;
}

std::vector<VkPhysicalDevice> ListDevices(VkInstance instance) {
  const auto enumerate =
      Get<PFN_vkEnumeratePhysicalDevices>(instance, "vkEnumeratePhysicalDevices");
  std::uint32_t count = 0;
  if (enumerate == nullptr || enumerate(instance, &count, nullptr) != VK_SUCCESS) return {};
  std::vector<VkPhysicalDevice> devices(count);
  if (enumerate(instance, &count, devices.data()) < VK_SUCCESS) return {};
  devices.resize(count);
  return devices;
}

/// What the driver calls itself; empty before Vulkan 1.2.
std::string DriverOf(VkInstance instance, VkPhysicalDevice device, std::uint32_t version) {
  const auto ask =
      Get<PFN_vkGetPhysicalDeviceProperties2>(instance, "vkGetPhysicalDeviceProperties2");
  if (version < VK_API_VERSION_1_2 || ask == nullptr) return {};
  VkPhysicalDeviceDriverProperties driver = {};
  driver.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_DRIVER_PROPERTIES;
  VkPhysicalDeviceProperties2 properties = {};
  properties.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2;
  properties.pNext = &driver;
  ask(device, &properties);
  const bool hasVersion = *driver.driverInfo != '\0';
  return std::string(driver.driverName) + (hasVersion ? ", " : "") + driver.driverInfo;
}

std::uint64_t MemoryOf(VkInstance instance, VkPhysicalDevice device) {
  const auto ask =
      Get<PFN_vkGetPhysicalDeviceMemoryProperties>(instance, "vkGetPhysicalDeviceMemoryProperties");
  VkPhysicalDeviceMemoryProperties memory = {};
  if (ask != nullptr) ask(device, &memory);
  std::uint64_t size = 0;
  for (std::uint32_t i = 0;
       i < std::min<std::uint32_t>(memory.memoryHeapCount, VK_MAX_MEMORY_HEAPS); ++i) {
    if ((memory.memoryHeaps[i].flags & VK_MEMORY_HEAP_DEVICE_LOCAL_BIT) != 0)
      size += memory.memoryHeaps[i].size;
  }
  return size;
}

std::string VersionText(std::uint32_t version) {
  return std::to_string(VK_API_VERSION_MAJOR(version)) + "." +
         std::to_string(VK_API_VERSION_MINOR(version)) + "." +
         std::to_string(VK_API_VERSION_PATCH(version));
}

}  // namespace

void AskVulkan(std::FILE* answer) {
  if (!LoadVulkan()) return;
  VkInstance instance = MakeInstance();
  if (instance == VK_NULL_HANDLE) return;
  const auto ask =
      Get<PFN_vkGetPhysicalDeviceProperties>(instance, "vkGetPhysicalDeviceProperties");
  if (ask == nullptr) return;
  for (VkPhysicalDevice device : ListDevices(instance)) {
    VkPhysicalDeviceProperties properties = {};
    ask(device, &properties);
    WriteField(answer, properties.deviceName, '\t');
    WriteField(answer, DriverOf(instance, device, properties.apiVersion).c_str(), '\t');
    WriteField(answer, VersionText(properties.apiVersion).c_str(), '\t');
    WriteField(answer, std::to_string(properties.deviceType).c_str(), '\t');
    WriteField(answer, std::to_string(properties.vendorID).c_str(), '\t');
    WriteField(answer, std::to_string(properties.deviceID).c_str(), '\t');
    WriteField(answer, std::to_string(MemoryOf(instance, device)).c_str(), '\n');
  }
}
