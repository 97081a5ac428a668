// SPDX-License-Identifier: MIT
#include "foundation/threads/queuednotify.h"

#include <cstring>

LThreadQueuedNotify::~LThreadQueuedNotify() = default;

void LThreadQueuedNotify::PostQueueNotify() {
  dispatcher_.RunOnMainThread(new LThreadQueuedNotifyData(*this));
}

void LThreadQueuedNotify::ThreadQueuedNotifyDestroy() {
  dispatcher_.ThreadRunOnMainThreadDestroy();
}

LThreadQueuedNotifyData::~LThreadQueuedNotifyData() = default;

void LThreadQueuedNotifyData::MainThreadFunction() {
  owner_.EvQueuedNotify();
}

LQueuedNotifyDataHandler::~LQueuedNotifyDataHandler() = default;

void LQueuedNotifyDataHandler::PostNotifyFromSender(unsigned int message, const void* data,
                                                    unsigned long size) {
  dispatcher_.RunOnMainThread(new LQueuedNotifyDataHandlerData(*this, message, data, size));
}

void LQueuedNotifyDataHandler::QueuedNotifyDataHandlerDestroy() {
  dispatcher_.ThreadRunOnMainThreadDestroy();
}

LQueuedNotifyDataHandlerData::LQueuedNotifyDataHandlerData(LQueuedNotifyDataHandler& handler,
                                                           unsigned int message, const void* data,
                                                           unsigned long size)
    : handler_(handler), message_(message), size_(size) {
  if (data == nullptr) return;
  copy_ = std::make_unique_for_overwrite<unsigned char[]>(size);
  std::memcpy(copy_.get(), data, size);
}

LQueuedNotifyDataHandlerData::~LQueuedNotifyDataHandlerData() = default;

void LQueuedNotifyDataHandlerData::MainThreadFunction() {
  handler_.EvQueuedNotifyData(message_, copy_.get(), size_);
}
