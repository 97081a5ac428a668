// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_BLOWFISH_H
#define ZORVEX_FOUNDATION_STORE_BLOWFISH_H

#include <cstdint>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>

/// The cipher Blowfish: blocks of 64 bits, 16 rounds. It keeps what is stored from being read at a
/// glance and is compatible with what has been stored; it is not for new secrets, since equal
/// blocks give equal ciphertext.
///
/// Two things are different from other implementations, on purpose, and change what comes out: the
/// two halves of a block are little-endian words, and each block is enciphered by itself, without
/// an initialisation vector.
class ZORVEX_API LBlowFish {
 public:
  /// Not keyed: the state is that which keying starts from.
  LBlowFish();

  /// Keys the cipher from a terminated text. The first 72 bytes count; a shorter key is repeated.
  /// An empty or null key changes nothing, whether the cipher was keyed before or not.
  void SetKey(const char* key);

  /// One block, in its two halves.
  void Blowfish_encipher(unsigned int& left, unsigned int& right);
  /// The way back.
  void Blowfish_decipher(unsigned int& left, unsigned int& right) const;

  /// All blocks of `length` bytes, in place, at any address. `data` has room for a whole number of
  /// blocks: when `length` is no multiple of 8, the last block goes beyond it.
  void Encode(void* data, unsigned long length);
  /// The way back, over as many bytes.
  void Decode(void* data, unsigned long length) const;

  /// Enciphers a text with its terminator, filled up with zeros to a whole number of blocks, and
  /// gives the Base64 of that, without line breaks. `text` may lie in `out`; a null text is the
  /// empty one.
  void StringEncodeBase64(LStringLongTemplate<char>& out, const char* text);
  /// The same into a buffer of 260 characters: the first 263 of the text take part, and what is
  /// longer than 259 in the end is cut. A text of up to 191 characters can be deciphered again.
  void StringEncodeBase64(char* out, const char* text);

  /// The text out of what StringEncodeBase64 gave, up to its first zero. From any other text comes
  /// something, without a word. `text` may lie in `out`; a null text is the empty one.
  void StringDecodeBase64(LStringLongTemplate<char>& out, const char* text) const;
  /// The same into a buffer of 260 characters; what is longer than 259 is cut.
  void StringDecodeBase64(char* out, const char* text) const;

 private:
  std::uint32_t p_[18];
  std::uint32_t s_[4][256];
};

#endif  // ZORVEX_FOUNDATION_STORE_BLOWFISH_H
