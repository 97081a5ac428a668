// SPDX-License-Identifier: MIT
#include "foundation/store/blowfish.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

#include "foundation/store/base64.h"
#include "foundation/store/blowfishtables.h"

namespace {

constexpr std::size_t kBlock = 8;
/// Room of a buffer that a function is given without its size.
constexpr std::size_t kFixedSize = 260;

/// The rounds of N blocks at once. Each block is one long chain of operations that wait for each
/// other, so a processor does several of them in hardly more time than one.
template <std::size_t N>
class Rounds {
 public:
  Rounds(const std::uint32_t (&p)[18], const std::uint32_t (&s)[4][256]) : p_(p), s_(s) {}

  std::uint32_t left[N];
  std::uint32_t right[N];

  [[gnu::always_inline]] void Encipher() {
    All([](std::size_t i) { return i; });
  }
  [[gnu::always_inline]] void Decipher() {
    All([](std::size_t i) { return 17 - i; });
  }

 private:
  [[nodiscard]] std::uint32_t F(std::uint32_t x) const {
    return ((s_[0][x >> 24] + s_[1][x >> 16 & 255]) ^ s_[2][x >> 8 & 255]) + s_[3][x & 255];
  }

  /// One round with the subkey of the next one, which thus does not wait for F.
  void Half(const std::uint32_t (&a)[N], std::uint32_t (&b)[N], std::uint32_t nextSubkey) const {
    [&]<std::size_t... Is>(std::index_sequence<Is...>) {
      ((b[Is] ^= nextSubkey, b[Is] ^= F(a[Is])), ...);
    }
    (std::make_index_sequence<N>());
  }

  /// Two rounds at a time: the halves change their parts from one to the next, so that there is
  /// nothing to swap but at the end.
  template <typename Order>
  [[gnu::always_inline]] void All(Order order) {
    for (std::uint32_t& half : left)
      half ^= p_[order(0)];
    for (std::size_t i = 1; i < 17; i += 2) {
      Half(left, right, p_[order(i)]);
      Half(right, left, p_[order(i + 1)]);
    }
    for (std::size_t n = 0; n < N; ++n)
      left[n] = std::exchange(right[n], left[n]) ^ p_[order(17)];
  }

  const std::uint32_t (&p_)[18];
  const std::uint32_t (&s_)[4][256];
};

std::uint32_t LoadLittleEndian(const unsigned char* bytes) {
  std::uint32_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return std::endian::native == std::endian::little ? word : __builtin_bswap32(word);
}

void StoreLittleEndian(unsigned char* bytes, std::uint32_t word) {
  if (std::endian::native != std::endian::little) word = __builtin_bswap32(word);
  std::memcpy(bytes, &word, sizeof word);
}

/// Runs N blocks at a time for as long as there are so many. All are loaded before one is stored.
template <std::size_t N, typename Operation>
unsigned char* RunBlocks(Rounds<N> rounds, unsigned char* bytes, std::size_t blocks,
                         Operation operation) {
  for (; blocks >= N; blocks -= N) {
    for (std::size_t n = 0; n < N; ++n) {
      rounds.left[n] = LoadLittleEndian(bytes + kBlock * n);
      rounds.right[n] = LoadLittleEndian(bytes + kBlock * n + 4);
    }
    operation(rounds);
    for (std::size_t n = 0; n < N; ++n) {
      StoreLittleEndian(bytes + kBlock * n, rounds.left[n]);
      StoreLittleEndian(bytes + kBlock * n + 4, rounds.right[n]);
    }
    bytes += kBlock * N;
  }
  return bytes;
}

/// All blocks. Four at once fill most of the time that one spends waiting; with more, short texts
/// would go one block at a time.
template <typename Operation>
void RunAll(const std::uint32_t (&p)[18], const std::uint32_t (&s)[4][256], void* data,
            std::size_t length, Operation operation) {
  constexpr std::size_t kTogether = 4;
  const std::size_t blocks = length / kBlock + (length % kBlock != 0);
  auto* bytes = static_cast<unsigned char*>(data);
  bytes = RunBlocks(Rounds<kTogether>(p, s), bytes, blocks, operation);
  RunBlocks(Rounds<1>(p, s), bytes, blocks % kTogether, operation);
}

/// The bytes that a text of Base64 means, deciphered and terminated. Where they are no whole number
/// of blocks, the last one is made whole with zeros; what is said beyond it is nobody's text.
LSizedArray<unsigned char> Decipher(const LBlowFish& cipher, const char* text) {
  LSizedArray<unsigned char> bytes;
  LBase64Decode(text, text ? std::strlen(text) : 0, bytes);
  const std::size_t count = bytes.Count();
  bytes.SetCapacity(count / kBlock * kBlock + kBlock);
  std::fill_n(bytes.end(), bytes.Capacity() - count, static_cast<unsigned char>(0));
  cipher.Decode(bytes.Data(), count);
  bytes[count] = 0;
  return bytes;
}

/// The same bytes as a text.
const char* Text(const LSizedArray<unsigned char>& bytes) {
  return reinterpret_cast<const char*>(bytes.Data());
}

}  // namespace

LBlowFish::LBlowFish() {
  std::memcpy(p_, bf_P, sizeof p_);
  std::memcpy(s_, bf_S, sizeof s_);
}

void LBlowFish::SetKey(const char* key) {
  const std::size_t length = key ? std::strlen(key) : 0;
  if (length == 0) return;
  *this = LBlowFish();
  std::size_t place = 0;
  for (std::uint32_t& subkey : p_) {
    std::uint32_t word = 0;
    for (int i = 0; i < 4; ++i) {
      word = word << 8 | static_cast<unsigned char>(key[place]);
      place = (place + 1) % length;
    }
    subkey ^= word;
  }
  Rounds<1> rounds(p_, s_);
  rounds.left[0] = rounds.right[0] = 0;
  const auto replace = [&](std::uint32_t* words, std::size_t count) {
    for (std::size_t i = 0; i < count; i += 2) {
      rounds.Encipher();
      words[i] = rounds.left[0];
      words[i + 1] = rounds.right[0];
    }
  };
  replace(p_, 18);
  for (auto& box : s_)
    replace(box, 256);
}

void LBlowFish::Blowfish_encipher(unsigned int& left, unsigned int& right) {
  Rounds<1> rounds(p_, s_);
  rounds.left[0] = left;
  rounds.right[0] = right;
  rounds.Encipher();
  left = rounds.left[0];
  right = rounds.right[0];
}

void LBlowFish::Blowfish_decipher(unsigned int& left, unsigned int& right) const {
  Rounds<1> rounds(p_, s_);
  rounds.left[0] = left;
  rounds.right[0] = right;
  rounds.Decipher();
  left = rounds.left[0];
  right = rounds.right[0];
}

void LBlowFish::Encode(void* data, unsigned long length) {
  RunAll(p_, s_, data, length, [](auto& rounds) { rounds.Encipher(); });
}

void LBlowFish::Decode(void* data, unsigned long length) const {
  RunAll(p_, s_, data, length, [](auto& rounds) { rounds.Decipher(); });
}

void LBlowFish::StringEncodeBase64(LStringLongTemplate<char>& out, const char* text) {
  std::string bytes(text ? text : "");
  bytes.resize(bytes.size() / kBlock * kBlock + kBlock);
  Encode(bytes.data(), bytes.size());
  LBase64Encode<char>(bytes.data(), bytes.size(), out, kBase64NoLineBreaks);
}

void LBlowFish::StringEncodeBase64(char* out, const char* text) {
  char bytes[264] = "";
  const std::size_t length = text ? strnlen(text, sizeof bytes - 1) : 0;
  std::copy_n(text, length, bytes);
  const std::size_t size = length / kBlock * kBlock + kBlock;
  Encode(bytes, size);
  LBase64Encode<char>(bytes, size, out, kBase64NoLineBreaks);
}

void LBlowFish::StringDecodeBase64(LStringLongTemplate<char>& out, const char* text) const {
  out = Text(Decipher(*this, text));
}

void LBlowFish::StringDecodeBase64(char* out, const char* text) const {
  const LSizedArray<unsigned char> plain = Decipher(*this, text);
  const std::size_t length = strnlen(Text(plain), kFixedSize - 1);
  std::copy_n(Text(plain), length, out);
  out[length] = 0;
}
