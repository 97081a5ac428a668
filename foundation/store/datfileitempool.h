// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_DATFILEITEMPOOL_H
#define ZORVEX_FOUNDATION_STORE_DATFILEITEMPOOL_H

#include <cstddef>
#include <memory>
#include <vector>

struct LDatFileNativeItem;

/// Memory for the items of one cached file: in blocks, so that a file of thousands of items is
/// loaded and given up without as many calls of the allocator. Given back, an item serves again;
/// the blocks are freed with the pool.
class DatFileItemPool {
 public:
  DatFileItemPool() = default;
  DatFileItemPool(const DatFileItemPool&) = delete;
  DatFileItemPool& operator=(const DatFileItemPool&) = delete;
  ~DatFileItemPool();

  /// An item with nothing in it but what was there before. Throws std::bad_alloc when the pool is
  /// empty and there is no memory.
  [[nodiscard]] LDatFileNativeItem* Take();
  /// Takes back a chain of items; `last` is the last one of it.
  void Give(LDatFileNativeItem* first, LDatFileNativeItem* last);

  [[nodiscard]] bool IsEmpty() const { return !returned_ && fresh_ == freshEnd_; }
  /// Gets a block of about `count` items, between eight and some thousand. As Take.
  void Grow(std::size_t count);

 private:
  std::vector<std::unique_ptr<LDatFileNativeItem[]>> blocks_;
  LDatFileNativeItem* returned_ = nullptr;
  LDatFileNativeItem* fresh_ = nullptr;
  LDatFileNativeItem* freshEnd_ = nullptr;
};

#endif  // ZORVEX_FOUNDATION_STORE_DATFILEITEMPOOL_H
