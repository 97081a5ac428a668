// SPDX-License-Identifier: MIT
// Whatever a file holds, the readers find the lines and strings that a reader by bytes finds, and
// leave the file where it does.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <zorvex/foundation/files/bufferedreader.h>
#include <zorvex/foundation/files/filereader.h>

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

/// A text and a place in it.
class Model {
 public:
  explicit Model(std::string content) : content_(std::move(content)) {}

  std::size_t Position() const { return position_; }
  void MoveTo(std::size_t position) { position_ = position; }

  /// False at the end of the text.
  bool ReadLine(bool pairsAfterLineFeed, std::string& line) {
    line.clear();
    for (; position_ < content_.size(); ++position_) {
      const char character = content_[position_];
      if (character == '\r' || character == '\n') {
        const bool pairs = character == '\r' || pairsAfterLineFeed;
        ++position_;
        if (pairs && position_ < content_.size() &&
            content_[position_] == (character == '\r' ? '\n' : '\r'))
          ++position_;
        return true;
      }
      line += character;
    }
    return false;
  }
  std::string ReadString() {
    std::size_t length = 0;
    const std::string shortLength = Take(1);
    if (!shortLength.empty()) length = static_cast<unsigned char>(shortLength[0]);
    if (length == 255) {
      const std::string bytes = Take(4);
      std::uint32_t longLength = 0;
      if (bytes.size() == 4) std::memcpy(&longLength, bytes.data(), 4);
      length = longLength;
    }
    std::string text = Take(std::min<std::size_t>(length, 259));
    position_ += length - text.size();
    return text;
  }

 private:
  std::string Take(std::size_t n) {
    const std::string bytes = position_ < content_.size() ? content_.substr(position_, n) : "";
    position_ += bytes.size();
    return bytes;
  }

  std::string content_;
  std::size_t position_ = 0;
};

void CheckUnbuffered(int fd, Model& model, std::uint8_t choice, std::size_t moveTo) {
  LReadFileRef reader(fd);
  std::string expected;
  char buf[260];
  const std::size_t size = 1 + choice / 8U;
  switch (choice % 4) {
    case 0: {
      const bool hasEnd = model.ReadLine(true, expected);
      Require(reader.ReadLine(buf, size) == (hasEnd || (size > 1 && !expected.empty())));
      Require(buf == std::string(expected.substr(0, size - 1).c_str()));
      break;
    }
    case 1: {
      LStringLongTemplate<char> line("old");
      const bool hasEnd = model.ReadLine(true, expected);
      Require(reader.ReadLine(line) == (hasEnd || !expected.empty()));
      Require(std::string(line.Text(), line.Length()) == expected);
      break;
    }
    case 2:
      expected = model.ReadString();
      reader.ReadStringLenUTF8(buf);
      Require(std::memcmp(buf, expected.c_str(), expected.size() + 1) == 0);
      break;
    default:
      model.MoveTo(moveTo);
      lseek(fd, static_cast<off_t>(moveTo), SEEK_SET);
  }
  Require(lseek(fd, 0, SEEK_CUR) == static_cast<off_t>(model.Position()));
}

void CheckBuffered(int fd, Model model) {
  LReadFileBuffered reader(fd);
  reader.Seek64(0);
  model.MoveTo(0);
  std::string expected;
  char buf[300];
  for (bool isLine = true; isLine;) {
    isLine = model.ReadLine(false, expected) || !expected.empty();
    Require(reader.ReadLine(buf, sizeof buf) == isLine);
    const std::size_t length = std::min(expected.size(), sizeof buf - 1);
    Require(std::memcmp(buf, expected.data(), length) == 0 && buf[length] == 0);
    Require(reader.Tell64() == model.Position());
  }
}

}  // namespace

// A length; so many choices of what to do; then the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const int fd = memfd_create("fuzz", 0);
  const std::size_t choices = size > 0 ? std::min<std::size_t>(data[0], size - 1) : 0;
  const std::string content(data + std::min(size, 1 + choices), data + size);
  Require(ftruncate(fd, 0) == 0 && lseek(fd, 0, SEEK_SET) == 0);
  Require(pwrite(fd, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()));
  Model model(content);
  for (std::size_t i = 1; i <= choices; ++i)
    CheckUnbuffered(fd, model, data[i], content.size() * data[i] / 250);
  CheckBuffered(fd, model);
  return 0;
}
