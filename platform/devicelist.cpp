// SPDX-License-Identifier: MIT
#include "platform/devicelist.h"

#include <strings.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace {

int MediaRank(const QTCaptureDevice& device) {
  if (device.HasMediaType(QTMediaType::QTMediaTypeVideo)) return 0;
  if (device.HasMediaType(QTMediaType::QTMediaTypeMuxed)) return 1;
  return 2;
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Cuts the run of digits or of other characters off the front of a text.
std::string_view CutRun(std::string_view& text) {
  const bool digits = IsDigit(text.front());
  const auto end =
      std::find_if(text.begin(), text.end(), [&](char c) { return IsDigit(c) != digits; });
  const auto length = static_cast<std::size_t>(end - text.begin());
  const std::string_view run = text.substr(0, length);
  text.remove_prefix(length);
  return run;
}

std::string_view WithoutLeadingZeros(std::string_view digits) {
  const std::size_t first = digits.find_first_not_of('0');
  return first == std::string_view::npos ? std::string_view() : digits.substr(first);
}

/// A name with its suffix as it fits into a buffer of 260 bytes, which is what hosts keep names in:
/// a longer one could not be given back. Whole characters of UTF-8 are cut off.
std::string CutToBuffer(const std::string& name, const std::string& suffix) {
  constexpr std::size_t kMostBytes = 259;
  std::size_t length = std::min(name.size(), kMostBytes - suffix.size());
  const auto isContinuation = [](char c) { return (static_cast<unsigned char>(c) & 0xc0) == 0x80; };
  while (length > 0 && length < name.size() && isContinuation(name[length]))
    --length;
  return name.substr(0, length) + suffix;
}

}  // namespace

bool IsBeforeInNaturalOrder(std::string_view left, std::string_view right) {
  const std::string_view wholeLeft = left, wholeRight = right;
  while (!left.empty() && !right.empty()) {
    std::string_view leftRun = CutRun(left), rightRun = CutRun(right);
    if (IsDigit(leftRun.front()) && IsDigit(rightRun.front())) {
      leftRun = WithoutLeadingZeros(leftRun);
      rightRun = WithoutLeadingZeros(rightRun);
      if (leftRun.size() != rightRun.size()) return leftRun.size() < rightRun.size();
    }
    if (leftRun != rightRun) return leftRun < rightRun;
  }
  if (left.empty() != right.empty()) return left.empty();
  return wholeLeft < wholeRight;  // differ in leading zeros at most
}

DeviceList::DeviceList(std::vector<std::unique_ptr<DeviceProvider>> providers)
    : providers_(std::move(providers)) {}

bool DeviceList::IsBefore(const Entry& left, const Entry& right) {
  const auto rank = [](const Entry& entry) { return std::tie(entry.mediaRank, entry.provider); };
  if (rank(left) != rank(right)) return rank(left) < rank(right);
  return IsBeforeInNaturalOrder(left.device->OrderKey(), right.device->OrderKey());
}

bool DeviceList::IsListed(const ListedDevice& device) const {
  return std::any_of(entries_.begin(), entries_.end(),
                     [&](const Entry& entry) { return entry.device.get() == &device; });
}

std::string DeviceList::FreeDisplayName(const std::string& name) const {
  const auto isTaken = [&](const std::string& wanted) {
    return std::any_of(entries_.begin(), entries_.end(), [&](const Entry& entry) {
      return strcasecmp(entry.device->DisplayName().c_str(), wanted.c_str()) == 0;
    });
  };
  std::string wanted = CutToBuffer(name, {});
  for (int number = 2; isTaken(wanted); ++number)
    wanted = CutToBuffer(name, " (" + std::to_string(number) + ")");
  return wanted;
}

std::vector<Retained<QTCaptureDevice>> DeviceList::Devices() {
  const std::lock_guard lock(mutex_);
  std::vector<Entry> fresh;
  for (std::size_t i = 0; i < providers_.size(); ++i) {
    for (Retained<ListedDevice>& device : providers_[i]->Devices()) {
      if (!IsListed(*device)) fresh.push_back({MediaRank(*device), i, std::move(device)});
    }
  }
  std::stable_sort(fresh.begin(), fresh.end(), IsBefore);
  for (Entry& entry : fresh) {
    entry.device->SetDisplayName(FreeDisplayName(entry.device->Name()));
    entries_.push_back(std::move(entry));
  }
  std::stable_sort(entries_.begin(), entries_.end(), IsBefore);

  std::vector<Retained<QTCaptureDevice>> devices;
  devices.reserve(entries_.size());
  for (const Entry& entry : entries_)
    devices.emplace_back(entry.device.get());
  return devices;
}
