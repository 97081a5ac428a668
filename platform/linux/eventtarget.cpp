// SPDX-License-Identifier: MIT
#include <cxxabi.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/eventqueue.h"

class OpaqueEventHandlerRef {
 public:
  OpaqueEventHandlerRef(EventHandlerUPP called, std::vector<EventTypeSpec> handledTypes,
                        void* calledWith)
      : proc(called), types(std::move(handledTypes)), userData(calledWith) {}

  bool Handles(EventRef event) const {
    return std::ranges::any_of(types, [&](const EventTypeSpec& type) {
      return type.eventClass == GetEventClass(event) && type.eventKind == GetEventKind(event);
    });
  }

  const EventHandlerUPP proc;
  const std::vector<EventTypeSpec> types;
  void* const userData;
  std::atomic<bool> isRemoved{false};
};

using Handlers = std::vector<std::shared_ptr<OpaqueEventHandlerRef>>;

class OpaqueEventTargetRef {
 public:
  explicit OpaqueEventTargetRef(OpaqueEventTargetRef* parent) : parent_(parent) {}

  EventHandlerRef Install(EventHandlerUPP proc, std::vector<EventTypeSpec> types, void* userData) {
    auto handler = std::make_shared<OpaqueEventHandlerRef>(proc, std::move(types), userData);
    const std::lock_guard lock(mutex_);
    Handlers handlers{handler};
    std::ranges::copy_if(*handlers_, std::back_inserter(handlers),
                         [](const auto& installed) { return !installed->isRemoved; });
    handlers_ = std::make_shared<const Handlers>(std::move(handlers));
    return handler.get();
  }

  /// The newest first, with those that were removed since the last one was installed. The list
  /// never changes, so that it can be walked while handlers come and go.
  std::shared_ptr<const Handlers> Installed() {
    const std::lock_guard lock(mutex_);
    return handlers_;
  }
  /// Where events go on that nobody here handles; may be null.
  OpaqueEventTargetRef* Parent() const { return parent_; }

 private:
  OpaqueEventTargetRef* const parent_;
  std::mutex mutex_;
  std::shared_ptr<const Handlers> handlers_ = std::make_shared<const Handlers>();
};

/// One sending of an event, and how far it has come. Needs no memory: GLib, which has the events
/// sent, knows no exceptions.
class OpaqueEventHandlerCallRef {
 public:
  explicit OpaqueEventHandlerCallRef(EventTargetRef target)
      : target_(target), handlers_(target->Installed()) {}

  OSStatus CallNext(EventRef event) {
    while (const auto handler = Next()) {
      if (handler->isRemoved || !handler->Handles(event)) continue;
      const OSStatus status = Call(*handler, event);
      if (status != eventNotHandledErr) return status;
    }
    return eventNotHandledErr;
  }

 private:
  /// With a reference of its own, for a handler that removes itself; null after the last one.
  std::shared_ptr<OpaqueEventHandlerRef> Next() {
    while (next_ == handlers_->size()) {
      if (target_->Parent() == nullptr) return nullptr;
      target_ = target_->Parent();
      handlers_ = target_->Installed();
      next_ = 0;
    }
    return (*handlers_)[next_++];
  }

  OSStatus Call(const OpaqueEventHandlerRef& handler, EventRef event) {
    try {
      return handler.proc(this, event, handler.userData);
    } catch (abi::__forced_unwind&) {
      throw;
    } catch (...) {
      return noErr;
    }
  }

  OpaqueEventTargetRef* target_;
  std::shared_ptr<const Handlers> handlers_;
  std::size_t next_ = 0;
};

// The targets live as long as the process: handlers may outlast anything that is torn down at its
// exit.
EventTargetRef GetApplicationEventTarget() {
  static auto* const target = new OpaqueEventTargetRef(nullptr);
  return target;
}

EventTargetRef GetEventDispatcherTarget() {
  static auto* const target = new OpaqueEventTargetRef(GetApplicationEventTarget());
  return target;
}

OSStatus SendEventToEventTarget(EventRef event, EventTargetRef target) {
  return OpaqueEventHandlerCallRef(target).CallNext(event);
}

OSStatus InstallEventHandler(EventTargetRef target, EventHandlerUPP handler, std::size_t numTypes,
                             const EventTypeSpec* types, void* userData,
                             EventHandlerRef* installed) {
  EventHandlerRef made = target->Install(handler, {types, types + numTypes}, userData);
  if (installed != nullptr) *installed = made;
  return noErr;
}

void RemoveEventHandler(EventHandlerRef handler) {
  if (handler != nullptr) handler->isRemoved = true;
}

OSStatus CallNextEventHandler(EventHandlerCallRef next, EventRef event) {
  return next->CallNext(event);
}
