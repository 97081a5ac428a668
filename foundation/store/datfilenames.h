// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_DATFILENAMES_H
#define ZORVEX_FOUNDATION_STORE_DATFILENAMES_H

#include <strings.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "foundation/store/list.h"

/// Names of sections and items: at most 259 bytes, compared by strcasecmp, to which a longer name
/// is what it is cut to.
constexpr std::size_t kDatFileLongestName = 259;

inline bool IsSameDatFileName(const char* a, const char* b) {
  return strncasecmp(a, b, kDatFileLongestName) == 0;
}

/// Hashes of names, equal for names that strcasecmp takes for the same.
///
/// Which letters it takes for the same is up to the locale, and in an 8-bit locale that concerns
/// bytes above 127, and even "i": so the hashes follow the locale, and each change of the locale
/// begins a new generation of them. Used under the mutex of the dat files.
class DatFileNameHash {
 public:
  /// Looks at the locale; once at the beginning of each operation.
  void FollowLocale();
  [[nodiscard]] unsigned int Generation() const { return generation_; }
  [[nodiscard]] std::uint32_t Of(const char* name, std::size_t length) const;

 private:
  void BeginGeneration();

  static constexpr int kCharacters = 256;

  unsigned int generation_ = 0;
  bool bitTells_ = false;
  std::int32_t lower_[kCharacters] = {};
};

extern DatFileNameHash gDatFileNameHash;

/// Finds the records of an LList-like chain by name: open addressing over their hashes. `Record`
/// has `Name()` and a `next_` for LList. Of records with the same name, which a change of the
/// locale can bring about, the one nearest to the list's head is found.
template <typename Record>
class DatFileNameIndex {
 public:
  /// The record of that name in the list that begins with `head`, or null.
  Record* Find(Record* head, const char* name, std::uint32_t hash) {
    if (generation_ != gDatFileNameHash.Generation()) Rebuild(head);
    if (count_ == 0) return nullptr;
    for (std::size_t i = hash & mask_; slots_[i].record; i = (i + 1) & mask_) {
      const Slot& slot = slots_[i];
      if (slot.hash == hash && IsSameDatFileName(slot.record->Name(), name)) return slot.record;
    }
    return nullptr;
  }

  /// Makes room for one more; throws std::bad_alloc, and has changed nothing then.
  void ReserveOne() {
    if ((count_ + 1) * 4 > capacity() * 3) Grow();
  }

  /// Takes in the record that was appended to the list. There is room for it.
  void Add(Record* record, std::uint32_t hash) {
    Insert({record, hash});
    ++count_;
  }

  void Remove(const Record* record, std::uint32_t hash) {
    std::size_t hole = hash & mask_;
    while (slots_[hole].record != record)
      hole = (hole + 1) & mask_;
    // What was pushed behind the hole moves up, so that no mark of a removal need be kept. Equal
    // hashes stay in their order.
    for (std::size_t i = (hole + 1) & mask_; slots_[i].record; i = (i + 1) & mask_) {
      const std::size_t home = slots_[i].hash & mask_;
      if (((i - home) & mask_) < ((i - hole) & mask_)) continue;
      slots_[hole] = slots_[i];
      hole = i;
    }
    slots_[hole].record = nullptr;
    --count_;
  }

 private:
  struct Slot {
    Record* record = nullptr;
    std::uint32_t hash = 0;
  };

  [[nodiscard]] std::size_t capacity() const { return slots_ ? mask_ + 1 : 0; }

  void Insert(Slot slot) {
    std::size_t i = slot.hash & mask_;
    while (slots_[i].record)
      i = (i + 1) & mask_;
    slots_[i] = slot;
  }

  // Fourfold: half the table would hold as many, but to fill it again and again costs more.
  void Grow() {
    const std::size_t before = capacity();
    const std::size_t after = before == 0 ? 16 : before * 4;
    auto old = std::make_unique<Slot[]>(after);
    slots_.swap(old);
    mask_ = after - 1;
    // From an empty slot on, so that equal hashes that go over the end stay in their order.
    std::size_t first = 0;
    while (first < before && old[first].record)
      ++first;
    for (std::size_t i = 0; i < before; ++i) {
      const Slot& slot = old[(first + i) & (before - 1)];
      if (slot.record) Insert(slot);
    }
  }

  void Rebuild(Record* head) {
    generation_ = gDatFileNameHash.Generation();
    for (std::size_t i = 0; i < capacity(); ++i)
      slots_[i] = {};
    for (Record* record = head; record; record = LList<Record>::Next(*record))
      Insert({record, gDatFileNameHash.Of(record->Name(), record->NameLength())});
  }

  std::unique_ptr<Slot[]> slots_;
  std::size_t mask_ = 0;
  std::size_t count_ = 0;
  unsigned int generation_ = 0;
};

#endif  // ZORVEX_FOUNDATION_STORE_DATFILENAMES_H
