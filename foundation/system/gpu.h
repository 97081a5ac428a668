// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_GPU_H
#define ZORVEX_FOUNDATION_SYSTEM_GPU_H

#include <zorvex/foundation/export.h>

class LProcessInterface;

/// \file
/// The machine's graphics processors: what the kernel tells of them, at once and safely, and what
/// their drivers tell when they are loaded. Texts are cut to 259 bytes. Nothing is kept: each call
/// asks anew. May throw std::bad_alloc. Any thread, as long as none changes the environment
/// meanwhile.
///
/// **The drivers** are loaded by a small program of their own ("zorvex-gpuprobe", installed with
/// the library), so that one that crashes or hangs does no harm to this process. It takes some
/// hundredths of a second to some seconds, and has ended, or been ended, when the call returns.
/// `timeout` is in milliseconds; 4294967295 is no limit. `process` may ask to stop, and is told
/// (SetError) why there is no answer.

/// A graphics processor that the kernel has a driver for. Texts are empty, and numbers 0, where it
/// does not tell.
struct LGpu {
  char name[260];    ///< the model, by the machine's list of PCI devices (pci.ids), if it has one
  char vendor[260];  ///< the maker, by the same list
  char driver[260];  ///< the kernel's: "amdgpu", "i915"
  char busAddress[260];   ///< on the PCI bus: "0000:03:00.0"
  char node[260];         ///< "/dev/dri/card0"
  char renderNode[260];   ///< for rendering and video codecs alone: "/dev/dri/renderD128"
  unsigned int vendorId;  ///< of the PCI bus: 0x1002, 0x10de, 0x8086
  unsigned int deviceId;  ///< the maker's number of the model
  bool isBootDisplay;     ///< whether the machine showed its first picture with it
  /// Bytes of memory of its own. Only some drivers tell (amdgpu does); see LGpuVulkan, too.
  unsigned long long memorySize;
  unsigned long long memoryUsed;  ///< how many of them are in use
};

/// Fills the first `capacity` elements of `gpus`, which may be null with 0, in the order of the
/// kernel's numbers. Returns how many there are, which may be more. Reads a few small files, and
/// the list of names.
ZORVEX_API int LGpuEnumerate(LGpu* gpus, int capacity);

/// The implementation of OpenGL, by its own words, as a program without windows gets it by way of
/// EGL: with several processors, the one that is chosen for such programs.
struct LGpuOpenGL {
  char vendor[260];    ///< "AMD"
  char renderer[260];  ///< "AMD Radeon RX 6800 (navi21, ...)"; "llvmpipe (...)" is the processor
  char version[260];  ///< "4.6 (Compatibility Profile) Mesa 22.3.6"; "OpenGL ES ..." without OpenGL
};

/// False, with empty texts, when there is none, when its driver crashed or did not answer in time,
/// after a stop, and when the small program is not there or cannot be started.
ZORVEX_API bool LGpuGetOpenGL(LProcessInterface& process, LGpuOpenGL& openGL, unsigned int timeout);

/// What a device of Vulkan is.
enum LGpuVulkanType : int {
  LGpuVulkanOther = 0,       ///< none of the others
  LGpuVulkanIntegrated = 1,  ///< shares the memory of the machine
  LGpuVulkanDiscrete = 2,    ///< has memory of its own
  LGpuVulkanVirtual = 3,     ///< of a virtual machine
  LGpuVulkanProcessor = 4,   ///< no graphics processor at all, but the machine's main one
};

/// A device of Vulkan.
struct LGpuVulkan {
  char name[260];         ///< the model, as its driver calls it
  char driver[260];       ///< its name and version, as it gives them; empty before Vulkan 1.2
  char version[260];      ///< of Vulkan: "1.3.230"
  int type;               ///< LGpuVulkanType; newer kinds are LGpuVulkanOther
  unsigned int vendorId;  ///< of the PCI bus, or one that the makers of Vulkan gave
  unsigned int deviceId;  ///< the maker's number of the model
  /// Bytes of its own memory; of an integrated one, those that it may use.
  unsigned long long memorySize;
};

/// Fills the first `capacity` elements of `devices`, which may be null with 0, in the order in
/// which the drivers give them. Returns how many there are, which may be more and is 0 where there
/// is no Vulkan; -1 when a driver crashed or did not answer in time, after a stop, and when the
/// small program is not there or cannot be started.
ZORVEX_API int LGpuEnumerateVulkan(LProcessInterface& process, LGpuVulkan* devices, int capacity,
                                   unsigned int timeout);

#endif  // ZORVEX_FOUNDATION_SYSTEM_GPU_H
