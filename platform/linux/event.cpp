// SPDX-License-Identifier: MIT
#include <algorithm>
#include <atomic>
#include <utility>
#include <vector>

#include "platform/eventqueue.h"

class OpaqueEventRef {
 public:
  OpaqueEventRef(std::uint32_t eventClass, std::uint32_t eventKind)
      : eventClass_(eventClass), eventKind_(eventKind) {}

  void Retain() { references_.fetch_add(1, std::memory_order_relaxed); }
  void Release() {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }
  std::uint32_t Class() const { return eventClass_; }
  std::uint32_t Kind() const { return eventKind_; }

  void SetParameter(std::uint32_t name, std::uint32_t type, std::size_t size, const void* data) {
    const auto* const bytes = static_cast<const unsigned char*>(data);
    const auto known = std::ranges::find(parameters_, name, &Parameter::name);
    if (known == parameters_.end()) {
      parameters_.push_back({name, type, {bytes, bytes + size}});
    } else {
      // Bytes of the same size need no memory: who flushes the queue overwrites what it frees.
      known->bytes.assign(bytes, bytes + size);
      known->type = type;
    }
  }
  OSStatus GetParameter(std::uint32_t name, std::uint32_t type, std::size_t size,
                        void* data) const {
    const auto known = std::ranges::find(parameters_, name, &Parameter::name);
    if (known == parameters_.end() || known->type != type || known->bytes.size() < size)
      return eventParameterNotFoundErr;
    std::copy_n(known->bytes.begin(), size, static_cast<unsigned char*>(data));
    return noErr;
  }

 private:
  ~OpaqueEventRef() = default;

  struct Parameter {
    std::uint32_t name;
    std::uint32_t type;
    std::vector<unsigned char> bytes;
  };

  const std::uint32_t eventClass_;
  const std::uint32_t eventKind_;
  std::vector<Parameter> parameters_;
  std::atomic<int> references_{1};
};

EventRef CreateEvent(std::uint32_t eventClass, std::uint32_t eventKind) {
  return new OpaqueEventRef(eventClass, eventKind);
}

EventRef RetainEvent(EventRef event) {
  event->Retain();
  return event;
}

void ReleaseEvent(EventRef event) {
  event->Release();
}

std::uint32_t GetEventClass(EventRef event) {
  return event->Class();
}

std::uint32_t GetEventKind(EventRef event) {
  return event->Kind();
}

void SetEventParameter(EventRef event, std::uint32_t name, std::uint32_t type, std::size_t size,
                       const void* data) {
  event->SetParameter(name, type, size, data);
}

OSStatus GetEventParameter(EventRef event, std::uint32_t name, std::uint32_t type, std::size_t size,
                           void* data) {
  return event->GetParameter(name, type, size, data);
}
