// SPDX-License-Identifier: MIT
#include "foundation/system/memory.h"

#include <sys/mman.h>
#include <sys/sysinfo.h>

#include <cstring>

#include <gtest/gtest.h>

namespace {

TEST(MemoryTest, SizesFollowWhatIsTaken) {
  constexpr unsigned long long kTaken = 64 << 20;
  // What is counted for each thread, and what the test itself takes.
  constexpr unsigned long long kTolerance = 8 << 20;
  LMemoryProcessSizes before, taken, after;
  ASSERT_TRUE(LMemoryGetProcessSizes(before));
  void* const block =
      mmap(nullptr, kTaken, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(block, MAP_FAILED);
  ASSERT_TRUE(LMemoryGetProcessSizes(taken));
  EXPECT_GE(taken.virtualSize, before.virtualSize + kTaken - kTolerance);
  EXPECT_LT(taken.resident, before.resident + kTaken / 2) << "nothing was written yet";
  std::memset(block, 1, kTaken);
  ASSERT_TRUE(LMemoryGetProcessSizes(taken));
  EXPECT_GE(taken.resident, before.resident + kTaken - kTolerance);
  munmap(block, kTaken);
  ASSERT_TRUE(LMemoryGetProcessSizes(after));
  EXPECT_LE(after.resident, taken.resident - kTaken + kTolerance);
  EXPECT_GE(after.peakResident + kTolerance, taken.resident);
  EXPECT_GE(after.peakVirtualSize, taken.virtualSize);
}

TEST(MemoryTest, TheMachineHasWhatTheKernelTells) {
  struct sysinfo info = {};
  ASSERT_EQ(sysinfo(&info), 0);
  const unsigned long long total = LMemoryGetPhysicalSize();
  EXPECT_GT(total, 16U << 20);
  EXPECT_LE(total, static_cast<unsigned long long>(info.totalram) * info.mem_unit);
  const unsigned long long available = LMemoryGetAvailablePhysicalSize();
  EXPECT_GT(available, 0U);
  EXPECT_LE(available, total);
}

}  // namespace
