// SPDX-License-Identifier: MIT
#ifndef ZORVEX_CAPTURE_ZORVEXDEVICEDATA_H
#define ZORVEX_CAPTURE_ZORVEXDEVICEDATA_H

#include <strings.h>

#include <cstring>

/// What is known of one device: a node of a list.
template <class T>
struct ZRVXDeviceData {
  ZRVXDeviceData* pNext;
  char szUniqueID[260];  ///< cut to 259 bytes
  T Data;
};

/// What is known of the devices seen so far, the newest first. Nodes stay for the life of the
/// process. Without a lock: one thread at a time.
template <class T>
class ZRVXDeviceDataList {
 public:
  constexpr ZRVXDeviceDataList() = default;
  ZRVXDeviceDataList(const ZRVXDeviceDataList&) = delete;
  ZRVXDeviceDataList& operator=(const ZRVXDeviceDataList&) = delete;
  ~ZRVXDeviceDataList() {
    while (const ZRVXDeviceData<T>* node = pHead) {
      pHead = node->pNext;
      delete node;
    }
  }

  /// What is known of a device, or none. Identifiers are compared without regard to case and, so
  /// that a long one is found again, in what a node keeps of them.
  T* Find(char const* uniqueID) const {
    for (ZRVXDeviceData<T>* node = pHead; node; node = node->pNext) {
      if (strncasecmp(node->szUniqueID, uniqueID, sizeof node->szUniqueID - 1) == 0) {
        return &node->Data;
      }
    }
    return nullptr;
  }

  /// A new node at the head of the list.
  T& Add(char const* uniqueID) {
    auto* const node = new ZRVXDeviceData<T>{};
    std::memcpy(node->szUniqueID, uniqueID, strnlen(uniqueID, sizeof node->szUniqueID - 1));
    node->pNext = pHead;
    pHead = node;
    return node->Data;
  }

 private:
  ZRVXDeviceData<T>* pHead = nullptr;
};

#endif  // ZORVEX_CAPTURE_ZORVEXDEVICEDATA_H
