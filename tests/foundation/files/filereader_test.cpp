// SPDX-License-Identifier: MIT
#include "foundation/files/filereader.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/files/bufferedreader.h"
#include "foundation/files/filewriter.h"
#include "foundation/files/processtransfer.h"
#include "platform/uniquefd.h"

namespace {

// The system calls on one descriptor, and signals that interrupt every other one of them.
int watched = -1;
int calls = 0;
bool interrupts = false;

void Watch(int fd, bool interrupted) {
  watched = fd;
  calls = 0;
  interrupts = interrupted;
}

bool IsInterrupted(int fd) {
  if (fd == watched) errno = EINTR;
  return fd == watched && ++calls % 2 == 1 && interrupts;
}

}  // namespace

extern "C" {
ssize_t read(int fd, void* dest, size_t n) {
  return IsInterrupted(fd) ? -1 : syscall(SYS_read, fd, dest, n);
}
ssize_t write(int fd, const void* bytes, size_t n) {
  return IsInterrupted(fd) ? -1 : syscall(SYS_write, fd, bytes, n);
}
ssize_t pread(int fd, void* dest, size_t n, off_t offset) {
  return IsInterrupted(fd) ? -1 : syscall(SYS_pread64, fd, dest, n, offset);
}
off_t lseek(int fd, off_t offset, int from) noexcept {
  calls += fd == watched;
  return syscall(SYS_lseek, fd, offset, from);
}
}

namespace {

/// An open file without a name, at its beginning.
class MemoryFile {
 public:
  explicit MemoryFile(const std::string& content = {}) { Set(content); }
  void Set(const std::string& content) const {
    if (ftruncate(Fd(), 0) == 0 && pwrite(Fd(), content.data(), content.size(), 0) >= 0) MoveTo(0);
  }
  int Fd() const { return file_.Get(); }
  std::size_t Offset() const { return static_cast<std::size_t>(lseek(Fd(), 0, SEEK_CUR)); }
  void MoveTo(std::size_t offset) const { lseek(Fd(), static_cast<off_t>(offset), SEEK_SET); }

 private:
  UniqueFd file_{memfd_create("test", MFD_CLOEXEC)};
};

struct PipeEnds {
  explicit PipeEnds(const char* content, bool isSocket = false) {
    int ends[2];
    EXPECT_EQ(isSocket ? socketpair(AF_UNIX, SOCK_STREAM, 0, ends) : pipe(ends), 0);
    read = UniqueFd(ends[0]);
    write = UniqueFd(ends[1]);
    LWriteFileRef(ends[1]).WriteStringUTF8(content);
  }
  UniqueFd read, write;
};

/// One line as a reader that goes byte by byte finds it.
struct ModelLine {
  ModelLine(const std::string& content, std::size_t begin, bool pairsAfterLineFeed)
      : end(std::min(content.size(), content.find_first_of("\r\n", begin))),
        text(content.substr(begin, end - begin)),
        hasEnd(end < content.size()) {
    if (!hasEnd) return;
    const bool pairs = content[end] == '\r' || pairsAfterLineFeed;
    const char other = content[end] == '\r' ? '\n' : '\r';
    end += pairs && end + 1 < content.size() && content[end + 1] == other ? 2 : 1;
  }

  std::size_t end;  // where the next one begins
  std::string text;
  bool hasEnd;
};

// Every text of up to five of 'a', CR and LF, behind as much as puts it on the edges of the blocks.
TEST(FileReaderTest, LinesAreThoseOfAReaderByBytes) {
  const MemoryFile file, other("x\ny\nz");
  char line[16];
  std::size_t size = 0;
  const auto readAll = [&](const std::string& content, bool pairs, auto readLine, auto position) {
    std::size_t begin = 0;
    for (bool isMore = true; isMore; size = (size + 1) % 5) {
      const ModelLine model(content, begin, pairs);
      std::strcpy(line, "#");
      ASSERT_EQ(readLine(), model.hasEnd || (size > 1 && !model.text.empty()));
      ASSERT_EQ(line, size > 0 ? model.text.substr(0, size - 1) : "#");
      ASSERT_EQ(position(), begin = model.end) << testing::PrintToString(content);
      isMore = model.hasEnd;
      if (begin % 2 == 1) LReadFileRef(other.Fd()).ReadLine(line, 9);
    }
  };
  for (const std::size_t before : {0UL, 510UL, 8190UL}) {
    for (int code = 0; code < 364; ++code) {
      std::string content(before, 'b');
      for (int rest = code; rest > 0; rest = (rest - 1) / 3)
        content += "a\r\n"[(rest - 1) % 3];
      file.Set(content);
      other.MoveTo(0);
      LReadFileRef reader(file.Fd());
      LReadFileBuffered buffered(reader);
      readAll(
          content, true, [&] { return reader.ReadLine(line, size); },
          [&] { return file.Offset(); });
      ASSERT_TRUE(buffered.Seek(0));
      readAll(
          content, false, [&] { return buffered.ReadLine(line, size); },
          [&] { return buffered.Tell64(); });
    }
  }
}

TEST(FileReaderTest, LinesOfAnyLengthWithFewCalls) {
  std::string content;
  for (std::size_t i = 0; i < 500; ++i)
    content += std::string(i % 169, 'a') + '\n';
  const std::string last = std::string(1, '\0') + std::string(100'000, 'x');
  const MemoryFile file(content + last);
  LStringLongTemplate<char> line;
  Watch(file.Fd(), false);
  for (std::size_t i = 0; i < 501; ++i) {
    ASSERT_TRUE(LReadFileRef(file.Fd()).ReadLine(line));
    ASSERT_EQ(std::string(line.Text(), line.Length()), i < 500 ? std::string(i % 169, 'a') : last);
  }
  EXPECT_LE(calls, 500 * 2 + 30);
  EXPECT_EQ(line.Capacity(), 260U << 10) << "grown by four each time";
}

// Somebody else moves, cuts and extends the file between the lines, or it is another one by now.
TEST(FileReaderTest, LinesOfAFileThatChanges) {
  const MemoryFile file("one\ntwo\nthree\n");
  char line[8];
  LReadFileRef reader(file.Fd());
  const auto next = [&] { return reader.ReadLine(line, sizeof line) ? line : "(none)"; };
  EXPECT_STREQ(next(), "one");
  file.MoveTo(9);
  EXPECT_STREQ(next(), "hree");
  file.Set(std::string(600, 'y') + "\nq\n");
  EXPECT_STREQ(next(), "yyyyyyy");
  EXPECT_EQ(file.Offset(), 601U);
  EXPECT_EQ(ftruncate(file.Fd(), 300), 0);
  EXPECT_STREQ(next(), "(none)");
  EXPECT_EQ(file.Offset(), 601U) << "stays behind the end";
  EXPECT_EQ(pwrite(file.Fd(), "\r\nend", 5, 601), 5);
  EXPECT_STREQ(next(), "");
  const PipeEnds pipe("p\nq\n");
  const UniqueFd kept(dup(file.Fd()));
  EXPECT_EQ(dup2(pipe.read.Get(), file.Fd()), file.Fd());
  EXPECT_STREQ(next(), "p");
  EXPECT_EQ(dup2(kept.Get(), file.Fd()), file.Fd());
  EXPECT_STREQ(next(), "end");
  for (const int closed : {-1, 1000}) {
    reader = closed;
    LReadFileBuffered buffered(closed);
    EXPECT_STREQ(next(), "(none)");
    EXPECT_FALSE(buffered.ReadLine(line, 8) || buffered.Read(line, 8) || buffered.Peek(line, 8));
    EXPECT_FALSE(buffered.Seek(0) || buffered.Tell64() || buffered.GetFileSizeBytes64());
  }
}

TEST(FileReaderTest, PipesAndSocketsLoseNothing) {
  char line[64];
  for (const bool isSocket : {false, true}) {
    PipeEnds ends("one\r\ntwo\nthree\rfour\r\r\n", isSocket);
    Watch(ends.read.Get(), true);
    for (const char* expected : {"one", "two", "three", "four", ""}) {
      EXPECT_TRUE(LReadFileRef(ends.read.Get()).ReadLine(line, sizeof line));
      EXPECT_STREQ(line, expected);
    }
    ends.write = UniqueFd();
    EXPECT_FALSE(LReadFileRef(ends.read.Get()).ReadLine(line, sizeof line));
  }
  const PipeEnds ends("0123456789\nrest");
  LReadFileBuffered buffered(ends.read.Get());
  EXPECT_EQ(buffered.Peek(line, 4), 4U);
  EXPECT_EQ(buffered.Peek(line, 64), 15U);
  EXPECT_TRUE(buffered.ReadLine(line, 64));
  EXPECT_STREQ(line, "0123456789");
  EXPECT_FALSE(buffered.SeekOffset64(1));
  EXPECT_EQ(buffered.Read(line, 4), 4U) << "a seek that failed drops nothing";
}

/// The buffered reader's rules on a text.
struct BufferedModel {
  const std::string& content;
  std::size_t position = 0;
  std::size_t offset = 0;  // of the descriptor, at the end of the buffer

  std::size_t End(std::size_t n) const {
    return std::max(offset, std::min(content.size(), offset + n));
  }
  std::string Read(std::size_t n) {
    std::string bytes;
    for (bool isStraight = false; bytes.size() < n && !isStraight;) {
      const std::size_t wanted = n - bytes.size();
      isStraight = position == offset && wanted > 256;
      if (position == offset) offset = End(isStraight ? wanted : 8192);
      if (position == offset) break;
      const std::size_t taken = std::min(wanted, offset - position);
      bytes += content.substr(position, taken);
      position += taken;
    }
    return bytes;
  }
  std::string Peek(std::size_t n) {
    std::string bytes = content.substr(std::min(position, content.size()), n);
    if (position == offset) offset += std::min<std::size_t>(bytes.size(), 8192);
    return bytes;
  }
  std::string ReadLine() {
    const ModelLine line(content, std::min(position, content.size()), false);
    const std::size_t looked = line.end + (line.hasEnd && content[line.end - 1] == '\r' ? 1 : 0);
    while (offset < std::min(content.size(), looked))
      offset = End(8192);
    position = std::max(position, line.end);
    return line.text + '\0';
  }
};

TEST(FileReaderTest, BufferedReaderKeepsToItsModel) {
  std::mt19937 random(20260);
  std::string content(60'000, 'x');
  for (char& character : content)
    if (random() % 90 == 0) character = "\r\n\r\n\0"[random() % 5];
  const MemoryFile file(content);
  LReadFileBuffered reader(file.Fd());
  BufferedModel model = {content};
  std::vector<char> bytes(10'000);
  for (int step = 0; step < 30'000; ++step) {
    const std::size_t n = random() % (random() % 4 == 0 ? 10'000 : 300);
    const auto operation = random() % 100;
    std::string expected, got;
    if (operation < 20) {
      expected = model.Read(n);
      got = std::string(bytes.data(), reader.Read(bytes.data(), n));
    } else if (operation < 40) {
      expected = model.Peek(n);
      got = std::string(bytes.data(), reader.Peek(bytes.data(), n));
    } else if (operation < 60) {
      const auto distance = static_cast<long long>(n) - 150;
      const bool isInside = static_cast<long long>(model.position) + distance >= 0;
      ASSERT_EQ(reader.SeekOffset64(distance), isInside);
      if (isInside) model.offset = model.position += static_cast<std::size_t>(distance);
    } else if (operation < 61) {
      model.position = model.offset = random() % 61'000;
      ASSERT_TRUE(reader.Seek(static_cast<unsigned int>(model.position)));
    } else {
      expected = model.ReadLine();
      reader.ReadLine(bytes.data(), bytes.size());
      got = std::string(bytes.data(), expected.size());
    }
    ASSERT_EQ(got, expected) << step;
    ASSERT_EQ(reader.Tell64(), model.position) << step;
    ASSERT_EQ(file.Offset(), model.offset) << step;
  }
  EXPECT_EQ(reader.GetFileSizeBytes64(), content.size());
  EXPECT_FALSE(reader.Seek64(1ULL << 63) || reader.SeekOffset64(-0x7fff'ffff'ffff'ffffLL - 1));
}

TEST(FileReaderTest, StringsWithTheirLength) {
  const MemoryFile file;
  const PipeEnds pipe("");
  char buf[260];
  for (const std::size_t length : {0UL, 1UL, 254UL, 255UL, 259UL, 260UL, 300UL}) {
    const std::string text(length, 'u');
    for (const bool isPipe : {false, true}) {
      file.Set("");
      LWriteFileRef writer(isPipe ? pipe.write.Get() : file.Fd());
      EXPECT_EQ(writer.WriteStringLenUTF8(text.c_str()), length);
      EXPECT_EQ(file.Offset(), isPipe ? 0 : length + (length < 255 ? 1 : 5));
      EXPECT_EQ(writer.WriteStringLenUTF8("next"), 4);
      file.MoveTo(0);
      LReadFileRef reader(isPipe ? pipe.read.Get() : file.Fd());
      reader.ReadStringLenUTF8(buf);
      EXPECT_EQ(buf, text.substr(0, 259));
      reader.ReadStringLenUTF8(buf);
      EXPECT_STREQ(buf, "next");
    }
  }
  const char* const cut[][2] = {{"\xff\x05\1", ""}, {"\5abc", "abc"}, {"", ""}};
  for (const auto& [content, text] : cut) {
    file.Set(content);
    LReadFileRef(file.Fd()).ReadStringLenUTF8(buf);
    EXPECT_STREQ(buf, text);
  }
}

TEST(FileWriterTest, EachTextIsOneWrite) {
  const MemoryFile file;
  LWriteFileRef writer(file.Fd());
  Watch(file.Fd(), true);
  EXPECT_TRUE(writer.WriteString("a"));
  EXPECT_EQ(fprintf(writer, "%s %d", "b", 7), 3);
  EXPECT_EQ(calls, 4) << "each interrupted once";
  writer.WriteLineCRLF("c");
  writer.WriteLineLF("");
  char content[16] = {};
  EXPECT_EQ(pread(file.Fd(), content, sizeof content, 0), -1);
  EXPECT_EQ(pread(file.Fd(), content, sizeof content, 0), 8);
  EXPECT_STREQ(content, "ab 7c\r\n\n");
  const UniqueFd full(open("/dev/full", O_WRONLY));
  for (const int fd : {full.Get(), -1}) {
    writer = fd;
    EXPECT_FALSE(writer.WriteString("a"));
    EXPECT_EQ(writer.WriteStringLenUTF8("a"), fd == -1 ? 0 : -1);
    EXPECT_EQ(fprintf(writer, "abc"), 3);
  }
  EXPECT_TRUE(writer.WriteString(""));
}

class Recorder final : public LProcessInterface {
 public:
  explicit Recorder(int stopsAt) : asksLeft(stopsAt) {}
  bool IsToStop() override { return asksLeft-- == 0; }
  int ProcessWait(unsigned int) override { return 0; }
  int ProcessWaitSignal(LSignalObjectRef, unsigned int) override { return 0; }
  int ProcessWaitSignalObjectGroup(LSignalObjectGroup&, unsigned int) override { return 0; }
  void SetProgress(double fraction) override { reports.push_back(fraction); }

  int asksLeft;
  std::vector<double> reports;
};

TEST(ProcessTransferTest, GoesByChunksThatCanBeStopped) {
  const struct {
    std::size_t present, n;
    int stopsAt, result;
    std::vector<double> reports;
  } rows[] = {{25000, 25000, -1, 0, {0.4096, 0.8192, 1}},
              {25000, 25000, 2, 1, {0.4096, 0.8192}},
              {20479, 25000, -1, 2, {0.4096}},
              {20480, 20480, 2, 0, {0.5, 1}},
              {0, 0, 0, 0, {}}};
  std::string bytes(25000, 'b');
  for (const auto& row : rows) {
    const MemoryFile file(std::string(row.present, 'a'));
    LReadFileRef reader(row.present > 0 ? file.Fd() : -1);
    LWriteFileRef writer(file.Fd());
    Recorder reading(row.stopsAt), writing(row.stopsAt);
    EXPECT_EQ(LProcessFileRead(reading, reader, bytes.data(), row.n), row.result);
    EXPECT_EQ(reading.reports, row.reports);
    if (row.result == 2) continue;
    EXPECT_EQ(LProcessFileWrite(writing, writer, bytes.data(), row.n), row.result);
    EXPECT_EQ(writing.reports, row.reports);
  }
  const UniqueFd full(open("/dev/full", O_WRONLY));
  LWriteFileRef writer(full.Get());
  Recorder process(-1);
  EXPECT_EQ(LProcessFileWrite(process, writer, bytes.data(), 1), 2);
}

}  // namespace
