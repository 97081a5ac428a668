// SPDX-License-Identifier: MIT
#include "foundation/store/blockpages.h"

#include <algorithm>
#include <atomic>
#include <new>

struct BlockPages::Page {
  std::atomic<std::uint64_t> uses;  // blocks that are not freed yet

  void Release(std::uint64_t count) noexcept {
    if (uses.fetch_sub(count, std::memory_order_acq_rel) == count) ::operator delete(this);
  }
};

namespace {

/// Each page is twice the last one, so that little is held for a small tree.
constexpr std::size_t kSmallestPage = 1024;
constexpr std::size_t kLargestPage = std::size_t{64} << 10;

/// A larger block would leave too much of a page unused.
constexpr std::size_t kLargestPart = 8;

/// Counted as in use for as long as its blocks are not counted.
constexpr std::uint64_t kOpen = std::uint64_t{1} << 62;

}  // namespace

void* BlockPages::AllocateAlone(std::size_t size) {
  auto* const header = static_cast<Header*>(::operator new(kHeader + size));
  *header = 0;
  return header + 1;
}

void BlockPages::FreeAlone(void* block) noexcept {
  ::operator delete(static_cast<Header*>(block) - 1);
}

void BlockPages::Release(char* page, std::uint64_t count) noexcept {
  reinterpret_cast<Page*>(page)->Release(count);
}

void BlockPages::Free(void* block) noexcept {
  if (!block) return;
  if (char* page = PageOf(block))
    Release(page, 1);
  else
    FreeAlone(block);
}

void BlockPages::Batch::Begin(char* page, void* block) noexcept {
  if (!page) {
    FreeAlone(block);
    return;
  }
  End();
  page_ = page;
}

void BlockPages::Batch::End() noexcept {
  if (page_) Release(page_, count_);
  page_ = nullptr;
  count_ = 0;
}

void* BlockPages::AllocateElsewhere(std::size_t size, std::size_t needed) {
  const std::size_t pageSize = std::max(kSmallestPage, std::min(pageSize_ * 2, kLargestPage));
  if (needed > pageSize / kLargestPart) return AllocateAlone(size);
  LeavePage();
  pageSize_ = pageSize;
  BeginPage();
  return Take(needed);
}

void BlockPages::BeginPage() {
  void* const memory = ::operator new(pageSize_);
  new (memory) Page{kOpen};
  begin_ = static_cast<char*>(memory);
  next_ = begin_ + sizeof(Page);
  end_ = begin_ + pageSize_;
}

void BlockPages::LeavePage() noexcept {
  if (begin_) Release(begin_, kOpen - count_);
  begin_ = next_ = end_ = nullptr;
  count_ = 0;
}
