// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_XMLPENDINGTEXT_H
#define ZORVEX_FOUNDATION_STORE_XMLPENDINGTEXT_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

/// Text that is being collected. As long as it is one piece of the text that is read it is no more
/// than a view of that.
class XmlPendingText {
 public:
  void Clear() { text_ = {}; }
  /// What was added last stands in the text that is read, and stays there.
  void AddRun(const char* run, std::size_t length) {
    if (length == 0) return;
    if (text_.empty())
      text_ = {run, length};
    else if (text_.data() + text_.size() == run)
      text_ = {text_.data(), text_.size() + length};
    else
      AddCopy(run, length);
  }
  void AddCopy(const char* characters, std::size_t length) {
    if (length == 0) return;
    const std::size_t needed = text_.size() + length;
    if (needed > capacity_ || text_.data() != buffer_.get()) MoveToBuffer(needed);
    std::memcpy(buffer_.get() + text_.size(), characters, length);
    text_ = {buffer_.get(), needed};
  }
  /// Never with a null pointer in it.
  [[nodiscard]] std::string_view Text() const {
    return text_.empty() ? std::string_view("") : text_;
  }

 private:
  void MoveToBuffer(std::size_t needed) {
    if (needed > capacity_) {
      const std::size_t capacity = std::max({needed, 2 * capacity_, std::size_t{32}});
      std::unique_ptr<char[]> larger(new char[capacity]);
      if (!text_.empty()) std::memcpy(larger.get(), text_.data(), text_.size());
      buffer_ = std::move(larger);
      capacity_ = capacity;
    } else if (!text_.empty()) {
      std::memcpy(buffer_.get(), text_.data(), text_.size());
    }
  }

  std::string_view text_;  // in the text that is read, or in the buffer
  std::unique_ptr<char[]> buffer_;
  std::size_t capacity_ = 0;
};

#endif  // ZORVEX_FOUNDATION_STORE_XMLPENDINGTEXT_H
