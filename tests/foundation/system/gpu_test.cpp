// SPDX-License-Identifier: MIT
#include "foundation/system/gpu.h"

#include <signal.h>

#include <string>

#include "foundation/system/gpuprobe.h"
#include "foundation/threads/processinterface.h"
#include "platform/gpu.h"
#include "tests/support/foldertest.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

class GpuTest : public FolderTest {
 protected:
  /// A card as the kernel shows it: a folder with a link to the device's.
  void AddCard(const std::string& card, const std::string& device) {
    fs::create_directories(root_ / "drm" / card);
    fs::create_directory_symlink(root_ / "devices" / device, root_ / "drm" / card / "device");
  }
  std::string Describe() {
    const GpuSources sources = {root_ / "drm", {root_ / "absent", root_ / "pci.ids"}};
    std::string all;
    for (const GpuDescription& gpu : ReadGpus(sources)) {
      all += gpu.node + "|" + gpu.renderNode + "|" + gpu.driver + "|" + gpu.busAddress + "|" +
             std::to_string(gpu.vendorId) + ":" + std::to_string(gpu.deviceId) + "|" + gpu.vendor +
             "|" + gpu.name + "|" + (gpu.isBootDisplay ? "boot" : "") + "|" +
             std::to_string(gpu.memoryUsed) + "/" + std::to_string(gpu.memorySize) + "\n";
    }
    return all;
  }
};

TEST_F(GpuTest, CardsAreReadFromTheKernelsFiles) {
  Write("pci.ids",
        "# a list\n1001  Wrong\n\t73bf  Wrong\n1002  Maker of cards \r\n\t73b0  Wrong\n"
        "\t73bf  Card [Model]\n\t\t1002 73bf  Subsystem\n10de\n1af4  Other\n\t1050\tVirtual\n"
        "C 03  Display\n\t00  VGA\n");
  const std::string pci = "devices/pci/0000:03:00.0/";
  Write(pci + "uevent",
        "DRIVER=amdgpu\nPCI_CLASS=30000\nPCI_ID=1002:73BF\nPCI_SLOT_NAME=0000:03:00.0\n");
  Write(pci + "boot_vga", "1\n");
  Write(pci + "mem_info_vram_total", "17163091968\n");
  Write(pci + "mem_info_vram_used", "1048576\n");
  fs::create_directories(root_ / pci / "drm/renderD129");
  fs::create_directories(root_ / pci / "drm/card1");
  AddCard("card1", "pci/0000:03:00.0");
  AddCard("card1-DP-1", "pci/0000:03:00.0");
  AddCard("renderD129", "pci/0000:03:00.0");
  // Upon the PCI device, as in virtual machines.
  Write("devices/pci/0000:00:02.0/uevent",
        "DRIVER=virtio-pci\nPCI_ID=1AF4:1050\nPCI_SLOT_NAME=0000:00:02.0\n");
  Write("devices/pci/0000:00:02.0/boot_vga", "0");
  Write("devices/pci/0000:00:02.0/virtio0/uevent", "DRIVER=virtio_gpu\nMODALIAS=x\n");
  AddCard("card10", "pci/0000:00:02.0/virtio0");
  // On no such bus, and with no driver.
  Write("devices/soc/gpu/uevent", "DRIVER=panfrost\nOF_NAME=gpu\n");
  AddCard("card2", "soc/gpu");
  EXPECT_EQ(Describe(),
            "/dev/dri/card1|/dev/dri/renderD129|amdgpu|0000:03:00.0|4098:29631|Maker of cards|"
            "Card [Model]|boot|1048576/17163091968\n"
            "/dev/dri/card2||panfrost||0:0||||0/0\n"
            "/dev/dri/card10||virtio_gpu|0000:00:02.0|6900:4176|Other|Virtual||0/0\n");
}

TEST_F(GpuTest, BrokenTreesGiveWhatCanBeRead) {
  fs::create_directories(root_ / "drm/card0");
  AddCard("card1", "dangling");
  Write("drm/card2", "a file");
  const std::string longName(10000, 'd');
  Write("devices/a/uevent", "PCI_ID=\n=\nPCI_ID\nDRIVER\0x=1\nPCI_ID=zz:1\nDRIVER="s + longName);
  Write("devices/a/boot_vga", "yes");
  Write("devices/a/mem_info_vram_total", "99999999999999999999999999");
  Write("devices/a/mem_info_vram_used", "-");
  fs::create_directories(root_ / "devices/a/drm/renderDx");
  AddCard("card3", "a");
  Write("devices/b/uevent", "PCI_ID=1FFFF1002:\n");
  fs::create_directories(root_ / "devices/b/mem_info_vram_total");
  AddCard("card4", "b");
  AddCard("card99999999999999999999", "b");
  AddCard("card", "b");
  EXPECT_EQ(Describe(),
            "/dev/dri/card0||||0:0||||0/0\n/dev/dri/card1||||0:0||||0/0\n"
            "/dev/dri/card2||||0:0||||0/0\n/dev/dri/card3||" +
                longName + "||0:0||||0/0\n/dev/dri/card4||||4098:0||||0/0\n");
  fs::remove_all(root_ / "drm");
  EXPECT_EQ(Describe(), "");
  EXPECT_GE(LGpuEnumerate(nullptr, 0), 0);
}

TEST_F(GpuTest, DriversThatMisbehaveAreOnlyNoAnswer) {
  struct {
    const char* script;
    const char* answer;  // null when there is none
    unsigned int timeout = 60000;
  } const cases[] = {
      {"echo noise >&2; printf 'a\\tb\\t\\tc\\n\\nend\\n'", "a,b,,c,;;"},
      {"echo end", ""},
      {"printf 'a\\tb\\nen'", nullptr},
      {"printf 'a\\nend\\n'; kill -SEGV $$", nullptr},
      {"echo end; exit 1", nullptr},
      {"exec sleep 60", nullptr, 50},
      {"while :; do echo xxxxxxxxxxxxxxxxxxxxxxxxxxxx; done", nullptr, 50},
  };
  for (const auto& each : cases) {
    const fs::path program = Write("probe", std::string("#!/bin/sh\n") + each.script, true);
    LProcessInterfaceVoid process;
    const auto answer = RunGpuProbe(process, program, "vulkan", each.timeout);
    EXPECT_EQ(answer.has_value(), each.answer != nullptr) << each.script;
    std::string fields;
    for (const auto& line : answer.value_or(GpuProbeAnswer())) {
      for (const std::string& field : line)
        fields += field + ",";
      fields += ";";
    }
    EXPECT_EQ(fields, each.answer == nullptr ? "" : each.answer) << each.script;
  }
  LProcessInterfaceVoid process;
  EXPECT_FALSE(RunGpuProbe(process, root_ / "absent", "vulkan", 60000));
  signal(SIGCHLD, SIG_IGN);
  const fs::path whole = Write("probe", "#!/bin/sh\necho end\n");
  EXPECT_TRUE(RunGpuProbe(process, whole, "vulkan", 60000)) << "its status is unknown";
  signal(SIGCHLD, SIG_DFL);
}

TEST_F(GpuTest, TheDriversOfThisMachineAnswer) {
  ASSERT_NE(FindGpuProbe(), "");
  LProcessInterfaceVoid process;
  LGpuVulkan devices[4] = {};
  const int count = LGpuEnumerateVulkan(process, devices, 4, 120000);
  ASSERT_GE(count, 0);
  for (int i = 0; i < count && i < 4; ++i) {
    EXPECT_STRNE(devices[i].name, "");
    EXPECT_TRUE(std::string(devices[i].version).starts_with("1.")) << devices[i].version;
    EXPECT_GT(devices[i].memorySize, 0U);
  }
  LGpuOpenGL openGL;
  const bool isThere = LGpuGetOpenGL(process, openGL, 120000);
  EXPECT_EQ(isThere, *openGL.renderer != '\0');
  EXPECT_EQ(isThere, std::string(openGL.version).find('.') != std::string::npos);
}

}  // namespace
