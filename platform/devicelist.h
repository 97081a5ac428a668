// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_DEVICELIST_H
#define ZORVEX_PLATFORM_DEVICELIST_H

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/deviceprovider.h"

/// The devices of several providers as one list. Its order is stable: by media type (video, muxed,
/// sound), then in the order of the providers, then by bus path. Of two devices of one name the
/// second is shown as "Name (2)", and so on; a device keeps its place and its name, plugged in or
/// not, as long as the list lives. Thread-safe.
class DeviceList {
 public:
  explicit DeviceList(std::vector<std::unique_ptr<DeviceProvider>> providers);

  std::vector<Retained<QTCaptureDevice>> Devices();

 private:
  struct Entry {
    int mediaRank;
    std::size_t provider;
    Retained<ListedDevice> device;
  };

  static bool IsBefore(const Entry& left, const Entry& right);
  bool IsListed(const ListedDevice& device) const;
  std::string FreeDisplayName(const std::string& name) const;

  std::mutex mutex_;
  const std::vector<std::unique_ptr<DeviceProvider>> providers_;
  std::vector<Entry> entries_;
};

/// Orders bus paths: text by text, runs of digits by their value, so that "usb-2" stands before
/// "usb-10".
bool IsBeforeInNaturalOrder(std::string_view left, std::string_view right);

#endif  // ZORVEX_PLATFORM_DEVICELIST_H
