// SPDX-License-Identifier: MIT
#include "foundation/debug/debugthread.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "foundation/debug/debugthreadlookup.h"
#include "foundation/text/stringformat.h"
#include "foundation/threads/systemthread.h"

// Ready before anything runs: other libraries may call in while they are initialised.
constinit LDebugThreadData gDebugThreadData[LDebugThreadDataCount] = {};
constinit std::atomic<int> gnDebugThreads = 0;

namespace {

constexpr std::size_t kNameLength = 4;

template <std::size_t size>
void Read(char* dest, const std::atomic<char> (&text)[size]) {
  for (const std::atomic<char>& character : text)
    *dest++ = character.load(std::memory_order_relaxed);
}

/// At most `length` characters; zeros behind them.
template <std::size_t size>
void Write(std::atomic<char> (&text)[size], const char* source, std::size_t length) {
  std::size_t i = 0;
  for (; source != nullptr && i < std::min(length, size - 1) && source[i] != '\0'; ++i)
    text[i].store(source[i], std::memory_order_relaxed);
  for (; i < size; ++i)
    text[i].store('\0', std::memory_order_relaxed);
}

std::uint32_t CallerId() {
  return static_cast<std::uint32_t>(LSystemThreadId());
}

LDebugThreadData* Claim() {
  const LLockObjectGuard guard(loDebugThreads);
  const int inUse = gnDebugThreads;
  for (int i = 0; i < inUse; ++i) {
    if (gDebugThreadData[i].threadId == LDebugThreadData::kFree) {
      gDebugThreadData[i].threadId = LDebugThreadData::kClaimed;
      return &gDebugThreadData[i];
    }
  }
  if (inUse == LDebugThreadDataCount) return nullptr;
  gDebugThreadData[inUse].threadId = LDebugThreadData::kClaimed;
  gnDebugThreads = inUse + 1;
  return &gDebugThreadData[inUse];
}

}  // namespace

void LDebugThreadData::GetLastDialog(char* dest) const {
  Read(dest, lastDialog);
}

void LDebugThreadData::GetName(char* dest) const {
  Read(dest, name);
}

LDebugThreadData* FindDebugThread(std::uint32_t threadId) {
  const int inUse = gnDebugThreads;
  for (int i = 0; i < inUse; ++i) {
    if (gDebugThreadData[i].threadId == threadId) return &gDebugThreadData[i];
  }
  return nullptr;
}

LDebugThreadData* LDebugThreadFindData() {
  return FindDebugThread(CallerId());
}

void LDebugThreadDataStartThread(const char* name) {
  LDebugThreadData* const data = Claim();
  if (data == nullptr) return;
  const std::uint32_t threadId = CallerId();
  char defaultName[sizeof data->name];
  if (name == nullptr) {
    tplsnprintf(defaultName, sizeof defaultName, "%.4d", static_cast<int>(threadId % 10000));
    name = defaultName;
  }
  Write(data->name, name, kNameLength);
  Write(data->lastDialog, "", 0);
  data->threadId = threadId;
}

void LDebugThreadDataStopThread() {
  const LLockObjectGuard guard(loDebugThreads);
  LDebugThreadData* const data = LDebugThreadFindData();
  if (data != nullptr) data->threadId = LDebugThreadData::kFree;
  int inUse = gnDebugThreads;
  while (inUse > 0 && gDebugThreadData[inUse - 1].threadId == LDebugThreadData::kFree)
    --inUse;
  gnDebugThreads = inUse;
}

void LDebugThreadSetName(const char* name) {
  LDebugThreadData* const data = LDebugThreadFindData();
  if (data != nullptr) Write(data->name, name, kNameLength);
}

void LDebugThreadSetLastDialog(const char* name) {
  LDebugThreadData* const data = LDebugThreadFindData();
  if (data == nullptr) return;
  const int threadId = LSystemThreadId();
  char dialog[sizeof data->lastDialog];
  tplsnprintf(dialog, sizeof dialog, "%s%d%d%d", name, threadId % 10, threadId / 10 % 10,
              threadId / 100 % 10);
  Write(data->lastDialog, dialog, sizeof dialog);
}

LBugReportBlockScope::LBugReportBlockScope(const char* name) : savedName_{}, index_(-1) {
  LDebugThreadData* const data = LDebugThreadFindData();
  if (data == nullptr) return;
  index_ = std::distance(gDebugThreadData, data);
  Read(savedName_, data->name);
  Write(data->name, name, kNameLength);
}

LBugReportBlockScope::~LBugReportBlockScope() {
  if (index_ < 0) return;
  LDebugThreadData& data = gDebugThreadData[index_];
  // Given back in the meantime, the record may be another thread's.
  if (data.threadId == CallerId()) Write(data.name, savedName_, sizeof savedName_);
}
