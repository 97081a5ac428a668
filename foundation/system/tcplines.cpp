// SPDX-License-Identifier: MIT
#include <cerrno>
#include <cstring>
#include <string_view>

#include "foundation/system/tcp.h"
#include "foundation/system/tcperror.h"
#include "foundation/system/tcpreceivebuffer.h"
#include "foundation/system/tcpwait.h"

namespace {

std::string_view WithoutLineBreak(std::string_view line) {
  if (line.ends_with('\n')) {
    line.remove_suffix(1);
    if (line.ends_with('\r')) line.remove_suffix(1);
  }
  return line;
}

}  // namespace

int LTcpSocket::ReceiveUntil(LProcessInterface& process, LStringLongTemplate<char>& text,
                             const char* delimiter, std::size_t limit, unsigned int timeout) {
  return TakeUntil(process, delimiter, limit, timeout,
                   [&](std::string_view found) { text.Append(found.data(), found.size()); });
}

int LTcpSocket::ReceiveLine(LProcessInterface& process, LStringLongTemplate<char>& line,
                            std::size_t limit, unsigned int timeout) {
  return TakeUntil(process, "\n", limit, timeout, [&](std::string_view found) {
    const std::string_view text = WithoutLineBreak(found);
    line.SetLength(0);
    line.Append(text.data(), text.size());
  });
}

int LTcpSocket::ReceiveLine(LProcessInterface& process, char* line, std::size_t size,
                            unsigned int timeout) {
  line[0] = '\0';
  return TakeUntil(process, "\n", size, timeout, [&](std::string_view found) {
    const std::string_view text = WithoutLineBreak(found);
    std::memcpy(line, text.data(), text.size());
    line[text.size()] = '\0';
  });
}

template <typename Store>
int LTcpSocket::TakeUntil(LProcessInterface& process, const char* delimiter, std::size_t limit,
                          unsigned int timeout, Store store) {
  if (!buffer_) buffer_ = std::make_unique<ReceiveBuffer>();
  std::size_t length = 0;
  const int result = BufferUntil(process, delimiter, limit, length, TcpDeadline(timeout));
  if (result == 0 || isAtEnd_) {
    store(buffer_->Text().substr(0, length));
    buffer_->Drop(length);
  }
  return Result(process, result, "receive from", timeout, length > 0);
}

int LTcpSocket::BufferUntil(LProcessInterface& process, const char* delimiter, std::size_t limit,
                            std::size_t& length, const TcpDeadline& deadline) {
  const std::size_t delimiterLength = std::strlen(delimiter);
  std::size_t searched = 0;
  isAtEnd_ = false;
  if (Buffered() != 0 && process.IsToStop()) return TcpStopped();
  for (;;) {
    const std::string_view text = buffer_->Text();
    const std::size_t found = text.find(delimiter, searched);
    if (found != std::string_view::npos && found + delimiterLength <= limit) {
      length = found + delimiterLength;
      return TcpDone();
    }
    if (text.size() >= limit) return TcpFailed(EMSGSIZE);
    if (deadline.IsLate()) return TcpFailed(EAGAIN);
    searched = text.size() < delimiterLength ? 0 : text.size() - delimiterLength + 1;
    std::size_t received = 0;
    const int result =
        ReceiveFromSystem(process, buffer_->Room(), ReceiveBuffer::RoomSize, received, deadline);
    if (result != 0) return result;
    if (received == 0) {
      length = text.size();
      return TcpFailed(0);
    }
    buffer_->Add(received);
  }
}
