// SPDX-License-Identifier: MIT
#include "tools/devices.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>
#include <numeric>
#include <set>

const char* const noDeviceHint =
    "Plug one in, or set ZORVEX_DEVICES=simulated to work with simulated ones.";

namespace {

class NameCollector final : public IZRVXDeviceEnumerator {
 public:
  bool OnDevice(char const* name) override {
    names.emplace_back(name);
    return true;
  }

  std::vector<std::string> names;
};

std::vector<std::string> Names(ZRVXDeviceMediaType mediaType, bool disconnected) {
  NameCollector collector;
  ZRVXDeviceEnumerate(&collector, mediaType, disconnected ? 1 : 0);
  return collector.names;
}

std::set<std::string> NameSet(ZRVXDeviceMediaType mediaType, bool disconnected) {
  const auto names = Names(mediaType, disconnected);
  return {names.begin(), names.end()};
}

std::string Lower(std::string text) {
  for (char& c : text)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

/// How many letters must be inserted, removed or replaced to make `a` out of `b`.
std::size_t EditDistance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0u);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
    }
  }
  return row.back();
}

/// Letters on the screen: continuation bytes take no column.
std::size_t Columns(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(
      text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) >> 6) != 2; }));
}

void PrintTable(const std::vector<ListedName>& devices) {
  std::size_t widest = Columns("NAME");
  for (const auto& device : devices)
    widest = std::max(widest, Columns(device.name));
  const auto print = [&](const std::string& name, const char* media, const char* connected) {
    std::cout << name << std::string(widest - Columns(name), ' ') << "  " << media << "  "
              << connected << '\n';
  };
  print("NAME", "MEDIA", "CONNECTED");
  for (const auto& device : devices) {
    print(device.name, device.media, device.connected ? "yes" : "no");
  }
}

void PrintJson(const std::vector<ListedName>& devices) {
  auto list = nlohmann::ordered_json::array();
  for (const auto& device : devices) {
    nlohmann::ordered_json entry;
    entry["name"] = device.name;
    entry["media"] = device.media;
    entry["connected"] = device.connected;
    list.push_back(entry);
  }
  std::cout << list.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

}  // namespace

std::vector<ListedName> ListDevices(ZRVXDeviceMediaType mediaType, bool disconnected) {
  const auto connected = NameSet(mediaType, false);
  // A device for both picture and sound qualifies as video and as audio too.
  const auto muxed = NameSet(ZRVXDeviceMediaTypeMuxed, disconnected);
  const auto video = NameSet(ZRVXDeviceMediaTypeVideo, disconnected);
  std::vector<ListedName> devices;
  for (const auto& name : Names(mediaType, disconnected)) {
    const char* const media = muxed.contains(name)   ? "muxed"
                              : video.contains(name) ? "video"
                                                     : "audio";
    devices.push_back({name, media, connected.contains(name)});
  }
  return devices;
}

std::vector<std::string> ClosestNames(const std::string& wanted,
                                      const std::vector<std::string>& names) {
  constexpr std::size_t most = 3;
  const std::string typed = Lower(wanted);
  std::vector<std::pair<std::size_t, std::string>> ranked;
  for (const auto& name : names) {
    const std::string candidate = Lower(name);
    const bool part = candidate.find(typed) != std::string::npos;
    const std::size_t distance = part ? 0 : EditDistance(typed, candidate);
    if (distance <= std::max<std::size_t>(2, candidate.size() / 3)) {
      ranked.emplace_back(distance, name);
    }
  }
  std::stable_sort(ranked.begin(), ranked.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> closest;
  for (std::size_t i = 0; i < std::min(most, ranked.size()); ++i) {
    closest.push_back(ranked[i].second);
  }
  return closest;
}

ExitCode RunDevices(const DevicesOptions& options) {
  const auto devices = ListDevices(options.mediaType, options.disconnected);
  if (options.json) {
    PrintJson(devices);
  } else if (devices.empty()) {
    std::cout << "There is no such device. " << noDeviceHint << '\n';
  } else {
    PrintTable(devices);
  }
  return ExitCode::Done;
}
