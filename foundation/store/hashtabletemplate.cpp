// SPDX-License-Identifier: MIT
// Templates: texts in which LHashTable puts values.
#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include "foundation/store/hashtable.h"

namespace {

/// Of a name, this many bytes count.
constexpr std::size_t kLongestName = 259;

class BoundedOutput {
 public:
  BoundedOutput(char* out, std::size_t size) : out_(out), size_(size) {}

  void Add(std::string_view text) {
    if (size_ == 0) return;
    const std::size_t count = std::min(text.size(), size_ - 1 - length_);
    std::copy_n(text.data(), count, out_ + length_);
    length_ += count;
  }
  void Terminate() {
    if (size_ != 0) out_[length_] = 0;
  }

 private:
  char* out_;
  std::size_t size_;
  std::size_t length_ = 0;
};

class GrowingOutput {
 public:
  void Add(std::string_view text) {
    if (text.size() >= capacity_ - length_) Grow(length_ + text.size());
    std::copy_n(text.data(), text.size(), buffer_.get() + length_);
    length_ += text.size();
  }
  char* Release() {
    buffer_[length_] = 0;
    return buffer_.release();
  }

 private:
  void Grow(std::size_t lengthNeeded) {
    std::size_t capacity = capacity_;
    while (capacity <= lengthNeeded)
      capacity *= 2;
    std::unique_ptr<char[]> larger(new char[capacity]);
    std::copy_n(buffer_.get(), length_, larger.get());
    buffer_ = std::move(larger);
    capacity_ = capacity;
  }

  std::size_t length_ = 0;
  std::size_t capacity_ = 260;
  std::unique_ptr<char[]> buffer_{new char[capacity_]};
};

/// Calls `plain` for each stretch of text without a percent sign and `named` for each name. Returns
/// whether there was one.
template <typename Plain, typename Named>
bool SplitTemplate(const char* text, Plain plain, Named named) {
  bool hadName = false;
  while (*text) {
    const std::string_view stretch(text, std::strcspn(text, "%"));
    plain(stretch);
    text += stretch.size();
    if (*text == 0) break;
    hadName = true;
    ++text;
    const std::size_t length = std::strcspn(text, "%");
    char name[kLongestName + 1];
    const std::size_t kept = std::min(length, kLongestName);
    std::memcpy(name, text, kept);
    name[kept] = 0;
    named(name);
    text += length;
    if (*text) ++text;
  }
  return hadName;
}

}  // namespace

bool LHashTable::ParseString(const char* text, char* out, std::size_t outSize) const {
  BoundedOutput output(out, outSize);
  const bool hadName = SplitTemplate(
      text ? text : "", [&](std::string_view plain) { output.Add(plain); },
      [&](const char* name) { output.Add(*name ? GetString(name, "") : "%"); });
  output.Terminate();
  return hadName;
}

char* LHashTable::ParseString(const char* text) const {
  GrowingOutput output;
  SplitTemplate(
      text ? text : "", [&](std::string_view plain) { output.Add(plain); },
      // The empty name, too, is looked up here, deliberately.
      [&](const char* name) { output.Add(GetString(name, "")); });
  return output.Release();
}
