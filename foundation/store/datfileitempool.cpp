// SPDX-License-Identifier: MIT
#include "foundation/store/datfileitempool.h"

#include <algorithm>
#include <utility>

#include "foundation/store/datfilenative.h"

namespace {

constexpr std::size_t kSmallestBlock = 8;
constexpr std::size_t kLargestBlock = 8192;  // 4 MB
// So far in front of the item that is filled the next ones are called into the cache.
constexpr std::ptrdiff_t kAhead = 4;

}  // namespace

DatFileItemPool::~DatFileItemPool() = default;

LDatFileNativeItem* DatFileItemPool::Take() {
  if (returned_) return std::exchange(returned_, returned_->next_);
  if (fresh_ == freshEnd_) Grow(0);
  if (freshEnd_ - fresh_ > kAhead) fresh_[kAhead].Prefetch();
  return fresh_++;
}

void DatFileItemPool::Give(LDatFileNativeItem* first, LDatFileNativeItem* last) {
  last->next_ = returned_;
  returned_ = first;
}

void DatFileItemPool::Grow(std::size_t count) {
  count = std::clamp(count, kSmallestBlock, kLargestBlock);
  blocks_.reserve(blocks_.size() + 1);
  // Not initialised: that would touch all of the memory before there is anything to put there.
  blocks_.push_back(std::make_unique_for_overwrite<LDatFileNativeItem[]>(count));
  fresh_ = blocks_.back().get();
  freshEnd_ = fresh_ + count;
}
