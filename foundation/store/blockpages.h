// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_BLOCKPAGES_H
#define ZORVEX_FOUNDATION_STORE_BLOCKPAGES_H

#include <cstddef>
#include <cstdint>

/// Memory for many small objects that are made one after the other and mostly freed together, such
/// as the nodes of a tree that is loaded. Blocks lie behind each other in pages. Each may be freed
/// by itself, by any thread; a page is given back with the last one in it, also when the maker of
/// the pages is long gone.
class BlockPages {
 public:
  BlockPages() = default;
  BlockPages(const BlockPages&) = delete;
  BlockPages& operator=(const BlockPages&) = delete;
  ~BlockPages() { LeavePage(); }

  /// A block, aligned for pointers. Throws std::bad_alloc.
  [[nodiscard]] void* Allocate(std::size_t size) {
    const std::size_t needed = kHeader + (size + kHeader - 1) / kHeader * kHeader;
    if (needed > static_cast<std::size_t>(end_ - next_)) return AllocateElsewhere(size, needed);
    return Take(needed);
  }
  /// Where the next block will lie when it is no larger than Room(), for who needs to know what
  /// goes into it to know its size. Null, with no room, where that is not known yet.
  [[nodiscard]] char* Next() const { return Room() == 0 ? nullptr : next_ + kHeader; }
  [[nodiscard]] std::size_t Room() const {
    const auto left = static_cast<std::size_t>(end_ - next_);
    return left < kHeader ? 0 : left - kHeader;
  }
  /// A block that shares its memory with no other.
  [[nodiscard]] static void* AllocateAlone(std::size_t size);
  /// Frees a block of either kind.
  static void Free(void* block) noexcept;

  /// Frees many blocks that lie near each other faster than one by one. At its end at the latest
  /// they are free.
  class Batch {
   public:
    Batch() = default;
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;
    ~Batch() { End(); }

    void Free(void* block) noexcept {
      char* const page = PageOf(block);
      if (page != page_ || !page) Begin(page, block);
      if (page) ++count_;
    }

   private:
    void Begin(char* page, void* block) noexcept;
    void End() noexcept;

    char* page_ = nullptr;
    std::uint64_t count_ = 0;
  };

 private:
  struct Page;
  /// In front of each block: where it lies in its page; 0 for one alone.
  using Header = std::uint64_t;
  static constexpr std::size_t kHeader = sizeof(Header);

  /// Null for a block alone.
  static char* PageOf(void* block) {
    const auto* const header = static_cast<Header*>(block) - 1;
    return *header == 0 ? nullptr : static_cast<char*>(block) - sizeof(Header) - *header;
  }
  static void FreeAlone(void* block) noexcept;
  static void Release(char* page, std::uint64_t count) noexcept;

  void* Take(std::size_t needed) {
    auto* const header = reinterpret_cast<Header*>(next_);
    *header = static_cast<Header>(next_ - begin_);
    next_ += needed;
    ++count_;
    return header + 1;
  }
  void* AllocateElsewhere(std::size_t size, std::size_t needed);
  void BeginPage();
  void LeavePage() noexcept;

  char* begin_ = nullptr;  // of the page
  char* next_ = nullptr;
  char* end_ = nullptr;
  std::uint64_t count_ = 0;  // blocks of the page
  std::size_t pageSize_ = 0;
};

#endif  // ZORVEX_FOUNDATION_STORE_BLOCKPAGES_H
