// SPDX-License-Identifier: MIT
#include "platform/sound/pulsesources.h"

#include <gst/audio/audio.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <string_view>

namespace gstreamer {
namespace {

// Of the protocol.
constexpr std::uint32_t kReply = 2;
constexpr std::uint32_t kAuthenticate = 8;
constexpr std::uint32_t kSetClientName = 9;
constexpr std::uint32_t kGetSourceInfoList = 24;
constexpr std::uint32_t kNone = 0xFFFFFFFF;
constexpr std::size_t kHeaderSize = 20;
/// The command and the tag that every packet begins with.
constexpr std::ptrdiff_t kBeginningSize = 10;
constexpr std::size_t kCookieSize = 256;
/// The version in which what is read here got its present form; a server answers in the client's.
constexpr std::uint32_t kVersion = 13;

/// Longer than the list of any machine's sources.
constexpr std::uint32_t kLongestReply = 1 << 20;

/// Builds a packet: a header of five numbers, then values, each behind its type.
class Request {
 public:
  Request(std::uint32_t command, std::uint32_t tag) : bytes_(kHeaderSize, '\0') {
    Number(command);
    Number(tag);
  }
  void Number(std::uint32_t value) { bytes_ += 'L' + BigEndian(value); }
  void Bytes(std::string_view bytes) {
    bytes_ += 'x' + BigEndian(static_cast<std::uint32_t>(bytes.size()));
    bytes_ += bytes;
  }
  /// A list of properties with this one in it, whose value is a text.
  void Property(const char* key, const char* value) {
    const std::string_view valueAndZero(value, std::strlen(value) + 1);
    bytes_.append("Pt").append(key, std::strlen(key) + 1);
    Number(static_cast<std::uint32_t>(valueAndZero.size()));
    Bytes(valueAndZero);
    bytes_ += 'N';
  }
  std::span<const unsigned char> Packet() {
    bytes_.replace(0, 4, BigEndian(static_cast<std::uint32_t>(bytes_.size() - kHeaderSize)));
    bytes_.replace(4, 4, BigEndian(kNone));  // a packet, not the sound of a channel
    return {reinterpret_cast<const unsigned char*>(bytes_.data()), bytes_.size()};
  }

 private:
  static std::string BigEndian(std::uint32_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
      bytes += static_cast<char>(value >> shift & 0xFF);
    return bytes;
  }

  std::string bytes_;
};

/// Reads the values of a packet. What is not there or not of its type reads as zero, and the
/// reader is broken from then on.
class Reader {
 public:
  explicit Reader(std::span<const unsigned char> bytes) : rest_(bytes) {}

  bool IsBroken() const { return broken_; }
  bool IsAtEnd() const { return rest_.empty() || broken_; }

  std::uint32_t Number() { return Expect('L') ? Raw() : 0; }
  void Duration() {
    if (Expect('U')) Take(8);
  }
  void Flag() {
    if (!IsNext('0')) Expect('1');
  }
  std::string Text() {
    if (IsNext('N') || !Expect('t')) return {};
    std::string text;
    for (unsigned char c = Byte(); c != 0 && !broken_; c = Byte())
      text.push_back(static_cast<char>(c));
    return text;
  }
  void Volume() {
    if (Expect('v')) Take(std::size_t{4} * Byte());
  }
  void Properties() {
    if (!Expect('P')) return;
    while (!IsNext('N') && !broken_) {
      Text();
      Number();
      if (Expect('x')) Take(Raw());
    }
  }
  unsigned char Byte() {
    const auto bytes = Take(1);
    return bytes.empty() ? 0 : bytes[0];
  }
  std::uint32_t Raw() {
    std::uint32_t value = 0;
    for (const unsigned char byte : Take(4))
      value = value << 8 | byte;
    return value;
  }
  std::span<const unsigned char> Take(std::size_t size) {
    if (broken_ || size > rest_.size()) {
      broken_ = true;
      return {};
    }
    const auto taken = rest_.first(size);
    rest_ = rest_.subspan(size);
    return taken;
  }
  bool Expect(char type) {
    if (!IsNext(type)) broken_ = true;
    return !broken_;
  }

 private:
  bool IsNext(char type) {
    if (broken_ || rest_.empty() || rest_[0] != static_cast<unsigned char>(type)) return false;
    rest_ = rest_.subspan(1);
    return true;
  }

  std::span<const unsigned char> rest_;
  bool broken_ = false;
};

/// The server's numbers for formats and places of channels, from 0.
constexpr std::array kFormats = {GST_AUDIO_FORMAT_U8,
                                 GST_AUDIO_FORMAT_S16LE /* A-law */,
                                 GST_AUDIO_FORMAT_S16LE /* mu-law */,
                                 GST_AUDIO_FORMAT_S16LE,
                                 GST_AUDIO_FORMAT_S16BE,
                                 GST_AUDIO_FORMAT_F32LE,
                                 GST_AUDIO_FORMAT_F32BE,
                                 GST_AUDIO_FORMAT_S32LE,
                                 GST_AUDIO_FORMAT_S32BE,
                                 GST_AUDIO_FORMAT_S24LE,
                                 GST_AUDIO_FORMAT_S24BE,
                                 GST_AUDIO_FORMAT_S24_32LE,
                                 GST_AUDIO_FORMAT_S24_32BE};
constexpr std::array kPlaces = {
    GST_AUDIO_CHANNEL_POSITION_MONO,
    GST_AUDIO_CHANNEL_POSITION_FRONT_LEFT,
    GST_AUDIO_CHANNEL_POSITION_FRONT_RIGHT,
    GST_AUDIO_CHANNEL_POSITION_FRONT_CENTER,
    GST_AUDIO_CHANNEL_POSITION_REAR_CENTER,
    GST_AUDIO_CHANNEL_POSITION_REAR_LEFT,
    GST_AUDIO_CHANNEL_POSITION_REAR_RIGHT,
    GST_AUDIO_CHANNEL_POSITION_LFE1,
    GST_AUDIO_CHANNEL_POSITION_FRONT_LEFT_OF_CENTER,
    GST_AUDIO_CHANNEL_POSITION_FRONT_RIGHT_OF_CENTER,
    GST_AUDIO_CHANNEL_POSITION_SIDE_LEFT,
    GST_AUDIO_CHANNEL_POSITION_SIDE_RIGHT,
};

/// One bit for each place; 0 when a channel has none that is known, or two have the same.
guint64 MaskOf(std::span<const unsigned char> map) {
  guint64 mask = 0;
  for (const unsigned char place : map) {
    if (place == 0 || place >= kPlaces.size()) return 0;
    const guint64 bit = guint64{1} << kPlaces[place];
    if (mask & bit) return 0;
    mask |= bit;
  }
  return mask;
}

/// The source's own mode. One with several channels that have no places, such as the jacks of a
/// large interface, is mixed to one: GStreamer's element can ask for places alone, and the server
/// leaves those silent that the source has not.
std::shared_ptr<GstCaps> CapsOf(unsigned char format, std::uint32_t rate,
                                std::span<const unsigned char> map) {
  const GstAudioFormat known = format < kFormats.size() ? kFormats[format] : GST_AUDIO_FORMAT_S16LE;
  const guint64 mask = MaskOf(map);
  const int channels = mask == 0 ? 1 : static_cast<int>(map.size());
  std::shared_ptr<GstCaps> caps(
      gst_caps_new_simple("audio/x-raw", "format", G_TYPE_STRING, gst_audio_format_to_string(known),
                          "layout", G_TYPE_STRING, "interleaved", "rate", G_TYPE_INT,
                          static_cast<int>(rate), "channels", G_TYPE_INT, channels, nullptr),
      gst_caps_unref);
  if (channels > 1) {
    gst_caps_set_simple(caps.get(), "channel-mask", GST_TYPE_BITMASK, mask, nullptr);
  }
  return caps;
}

/// Reads one source; nothing for the monitor of an output.
std::optional<ServerSource> ReadSource(Reader& reply) {
  ServerSource source;
  reply.Number();  // its index
  source.name = reply.Text();
  source.description = reply.Text();
  reply.Expect('a');
  const unsigned char format = reply.Byte();
  reply.Byte();  // the number of channels, which comes again
  const std::uint32_t rate = reply.Raw();
  reply.Expect('m');
  const auto map = reply.Take(reply.Byte());
  reply.Number();  // the module that made it
  reply.Volume();
  reply.Flag();  // muted
  const bool isMonitor = reply.Number() != kNone;
  reply.Text();  // of the output
  reply.Duration();
  reply.Text();    // the driver
  reply.Number();  // flags
  reply.Properties();
  reply.Duration();
  if (reply.IsBroken() || isMonitor || source.name.empty() || map.empty() || rate == 0) return {};
  source.offered = CapsOf(format, rate, map);
  if (source.description.empty()) source.description = source.name;
  return source;
}

/// What shows a server of another user that the caller may use it; zeros where there is none.
std::string Cookie() {
  const auto path = [](const char* variable, const char* file) {
    const char* folder = std::getenv(variable);
    return folder ? std::string(folder) + file : std::string();
  };
  for (const std::string& file :
       {path("PULSE_COOKIE", ""), path("XDG_CONFIG_HOME", "/pulse/cookie"),
        path("HOME", "/.config/pulse/cookie"), path("HOME", "/.pulse-cookie")}) {
    std::string cookie(kCookieSize, '\0');
    if (std::ifstream(file, std::ios::binary).read(cookie.data(), kCookieSize)) return cookie;
  }
  return std::string(kCookieSize, '\0');
}

/// Sends a request and gives the values of the reply; the kind tells why there are none.
SourcesAnswer::Kind Exchange(ServerSocket& server, Request request, std::uint32_t tag,
                             std::vector<unsigned char>& values) {
  const auto failure = [&] {
    const bool isLate = server.TimeLeft() == std::chrono::milliseconds::zero();
    return isLate ? SourcesAnswer::Silent : SourcesAnswer::Refused;
  };
  if (!server.Send(request.Packet())) return failure();
  for (;;) {
    std::array<unsigned char, kHeaderSize> header;
    if (!server.Receive(header)) return failure();
    const std::uint32_t size = Reader(header).Raw();
    if (size > kLongestReply) return SourcesAnswer::Refused;
    values.resize(size);
    if (!server.Receive(values)) return failure();
    Reader reader(values);
    const std::uint32_t command = reader.Number();
    if (reader.Number() != tag || reader.IsBroken()) continue;  // news that nobody asked for
    if (command != kReply) return SourcesAnswer::Refused;
    values.erase(values.begin(), values.begin() + kBeginningSize);
    return SourcesAnswer::Given;
  }
}

}  // namespace

SourcesAnswer AskPulseAudio(const std::shared_ptr<ServerSocket>& server) {
  Request authenticate(kAuthenticate, 0), setName(kSetClientName, 1), list(kGetSourceInfoList, 2);
  authenticate.Number(kVersion);
  authenticate.Bytes(Cookie());
  setName.Property("application.name", "zorvex");

  SourcesAnswer answer;
  std::vector<unsigned char> values;
  std::uint32_t tag = 0;
  for (Request* request : {&authenticate, &setName, &list}) {
    answer.kind = Exchange(*server, std::move(*request), tag++, values);
    if (answer.kind != SourcesAnswer::Given) return answer;
  }
  for (Reader reply(values); !reply.IsAtEnd();) {
    auto source = ReadSource(reply);
    if (source) answer.sources.push_back(std::move(*source));
  }
  return answer;
}

}  // namespace gstreamer
