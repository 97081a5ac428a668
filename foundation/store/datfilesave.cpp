// SPDX-License-Identifier: MIT
// Writing a cached dat file.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <memory>

#include "foundation/files/filewriter.h"
#include "foundation/files/flocktimed.h"
#include "foundation/store/datfilenative.h"
#include "platform/uniquefd.h"

namespace {

constexpr unsigned int kSaveLockTimeout = 1000;  // ms

// The text of a whole file, which grows by lines.
class FileText {
 public:
  explicit FileText(std::size_t capacity)
      : text_(std::make_unique_for_overwrite<char[]>(capacity)), capacity_(capacity) {}

  void AddLine(const char* first, const char* second, const char* third) {
    if (capacity_ - length_ < kLongestLine) Grow();
    char* end = stpcpy(text_.get() + length_, first);
    end = stpcpy(end, second);
    end = stpcpy(end, third);
    end = stpcpy(end, "\r\n");
    length_ = static_cast<std::size_t>(end - text_.get());
  }

  /// Terminated.
  [[nodiscard]] const char* Text() {
    text_[length_] = 0;
    return text_.get();
  }
  [[nodiscard]] std::size_t Length() const { return length_; }
  /// Where the last line of the first `length` bytes ends.
  [[nodiscard]] std::size_t EndOfLineBefore(std::size_t length) const {
    while (length > 0 && text_[length - 1] != '\n')
      --length;
    return length;
  }

 private:
  // Two texts of 259, what stands between them and the line break.
  static constexpr std::size_t kLongestLine = 552;

  void Grow() {
    auto larger = std::make_unique_for_overwrite<char[]>(capacity_ * 2 + kLongestLine);
    std::memcpy(larger.get(), text_.get(), length_);
    text_ = std::move(larger);
    capacity_ = capacity_ * 2 + kLongestLine;
  }

  std::unique_ptr<char[]> text_;
  std::size_t length_ = 0;
  std::size_t capacity_;
};

FileText TextOf(const LList<LDatFileNativeSection>& sections, std::size_t sizeBefore) {
  FileText text(sizeBefore + 2 * kDatFileText);
  for (const LDatFileNativeSection& section : sections) {
    text.AddLine("[", section.Name(), "]");
    for (const LDatFileNativeItem* item = section.Head(); item; item = item->next_) {
      if (item->next_) item->next_->Prefetch();
      text.AddLine(item->name_, "=", item->value_);
    }
    text.AddLine("", "", "");
  }
  return text;
}

void Truncate(int descriptor, off_t length) {
  // It can fail only where no length can be set at all.
  [[maybe_unused]] const int result = ftruncate(descriptor, length);
}

// True when all of it was written.
bool WriteWhole(int descriptor, FileText& text) {
  Truncate(descriptor, 0);
  if (LWriteFileRef(descriptor).WriteString(text.Text())) return true;
  // Whoever reads the file now gets fewer lines, but none that was cut in two.
  const off_t written = lseek(descriptor, 0, SEEK_CUR);
  const std::size_t whole =
      text.EndOfLineBefore(written < 0 ? 0 : static_cast<std::size_t>(written));
  Truncate(descriptor, static_cast<off_t>(whole));
  return false;
}

}  // namespace

void LDatFileNativeFile::Save() {
  // What is cached of a file that could not be read, or is none, must not take its place.
  if (isUnread_) return;
  // Before the file is touched: there may be no memory for it.
  FileText text = TextOf(sections_, size_);
  const UniqueFd file(open(path_, O_RDWR | O_CREAT | O_CLOEXEC, 0666));
  if (!file) return;
  flocktimed(file.Get(), LOCK_EX | LOCK_NB, kSaveLockTimeout);
  unsavedChanges_ = !WriteWhole(file.Get(), text);

  struct stat status = {};
  if (fstat(file.Get(), &status) == 0 && !unsavedChanges_ &&
      status.st_size > static_cast<off_t>(text.Length())) {
    // Somebody who did not get the lock either wrote a longer one meanwhile.
    Truncate(file.Get(), static_cast<off_t>(text.Length()));
    fstat(file.Get(), &status);
  }
  // While it is locked, so that this is never the time and size of what another process wrote.
  modificationTime_ = status.st_mtime;
  size_ = static_cast<std::uint32_t>(status.st_size);
}
