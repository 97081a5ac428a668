// SPDX-License-Identifier: MIT
#include "platform/devicelist.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

class FakeDevice final : public ListedDevice {
 public:
  FakeDevice(std::string name, std::string place, QTMediaType mediaType)
      : ListedDevice(std::move(name), "id:" + place, place), mediaType_(mediaType) {}
  bool HasMediaType(QTMediaType mediaType) const override { return mediaType == mediaType_; }
  bool IsConnected() const override { return true; }
  bool IsInUseByAnotherApplication() const override { return false; }
  bool IsOpen() const override { return false; }
  bool Open() override { return false; }
  void Close() override {}

 private:
  const QTMediaType mediaType_;
};

struct FakeProvider final : DeviceProvider {
  std::vector<Retained<ListedDevice>>* devices;
  explicit FakeProvider(std::vector<Retained<ListedDevice>>* list) : devices(list) {}
  std::vector<Retained<ListedDevice>> Devices() override { return *devices; }
};

std::vector<std::string> Names(DeviceList& list) {
  std::vector<std::string> names;
  for (const auto& device : list.Devices())
    names.emplace_back(device->LocalizedDisplayName());
  return names;
}

constexpr QTMediaType kVideo = QTMediaType::QTMediaTypeVideo;
constexpr QTMediaType kMuxed = QTMediaType::QTMediaTypeMuxed;
constexpr QTMediaType kSound = QTMediaType::QTMediaTypeSound;

TEST(DeviceList, KeepsOrderAndNamesWhileDevicesCome) {
  std::vector<Retained<ListedDevice>> first, second;
  const auto add = [](auto& to, const char* name, const char* place, QTMediaType mediaType) {
    to.push_back(MakeRetained<FakeDevice>(name, place, mediaType));
  };
  add(first, "Deck", "bus-1", kMuxed);
  add(first, "Cam", "bus-10", kVideo);
  add(first, "Cam", "bus-9", kVideo);
  add(first, "Mic", "bus-0", kSound);
  add(second, "cam", "bus-1", kVideo);
  std::vector<std::unique_ptr<DeviceProvider>> providers;
  providers.push_back(std::make_unique<FakeProvider>(&first));
  providers.push_back(std::make_unique<FakeProvider>(&second));
  DeviceList list(std::move(providers));

  using List = std::vector<std::string>;
  EXPECT_EQ((List{"Cam", "Cam (2)", "cam (3)", "Deck", "Mic"}), Names(list));
  // A newcomer stands at its place; names that were shown stay with their devices.
  add(first, "Cam", "bus-2", kVideo);
  add(first, "Cam (2)", "bus-3", kVideo);
  EXPECT_EQ((List{"Cam (4)", "Cam (2) (2)", "Cam", "Cam (2)", "cam (3)", "Deck", "Mic"}),
            Names(list));
  EXPECT_EQ(Names(list), Names(list));
}

TEST(DeviceList, OrdersBusPathsAsPeopleCount) {
  const std::vector<std::string> ordered = {"",
                                            "/dev/video2",
                                            "/dev/video10",
                                            "pci-00/usb1",
                                            "pci-0/usb1-1",
                                            "pci-0/usb1-1.2",
                                            "pci-0/usb1-2",
                                            "pci-0/usb1-10",
                                            "pci-2"};
  for (std::size_t i = 0; i < ordered.size(); ++i) {
    for (std::size_t j = 0; j < ordered.size(); ++j) {
      EXPECT_EQ(i < j, IsBeforeInNaturalOrder(ordered[i], ordered[j]))
          << ordered[i] << " and " << ordered[j];
    }
  }
}

}  // namespace
