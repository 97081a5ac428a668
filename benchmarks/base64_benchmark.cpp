// SPDX-License-Identifier: MIT
//
// Base64 and Blowfish beside what a program would use without this library. Machines drift, so
// compare ratios within one run:
//
//   base64_benchmark --benchmark_repetitions=15 --benchmark_enable_random_interleaving=true
//                    --benchmark_report_aggregates_only=true
#include <benchmark/benchmark.h>
#include <botan/blowfish.h>
#include <gcrypt.h>
#include <glib.h>
#include <modp_b64.h>
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/blowfish.h>
#include <openssl/evp.h>

#include <cstring>
#include <string>
#include <vector>

#include <zorvex/foundation.h>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes SomeBytes(const benchmark::State& state) {
  Bytes bytes(static_cast<std::size_t>(state.range(0)));
  unsigned int value = 1;
  for (unsigned char& byte : bytes)
    byte = static_cast<unsigned char>((value = value * 1664525 + 1013904223) >> 24);
  return bytes;
}

void Finish(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <unsigned int flags>
void EncodeHere(benchmark::State& state) {
  const Bytes bytes = SomeBytes(state);
  LStringLongTemplate<char> text;
  for (auto _ : state) {
    LBase64Encode<char>(bytes.data(), bytes.size(), text, flags);
    benchmark::DoNotOptimize(text.Text());
  }
  Finish(state);
}

void EncodeGLib(benchmark::State& state) {
  const Bytes bytes = SomeBytes(state);
  for (auto _ : state) {
    gchar* text = g_base64_encode(bytes.data(), bytes.size());
    benchmark::DoNotOptimize(text);
    g_free(text);
  }
  Finish(state);
}

void EncodeOpenSsl(benchmark::State& state) {
  const Bytes bytes = SomeBytes(state);
  Bytes text(bytes.size() / 3 * 4 + 8);
  for (auto _ : state) {
    EVP_EncodeBlock(text.data(), bytes.data(), static_cast<int>(bytes.size()));
    benchmark::DoNotOptimize(text.data());
  }
  Finish(state);
}

void EncodeModp(benchmark::State& state) {
  const Bytes bytes = SomeBytes(state);
  std::vector<char> text(modp_b64_encode_len(bytes.size()));
  for (auto _ : state) {
    modp_b64_encode(text.data(), reinterpret_cast<const char*>(bytes.data()), bytes.size());
    benchmark::DoNotOptimize(text.data());
  }
  Finish(state);
}

std::string TextOf(const Bytes& bytes, unsigned int flags) {
  LStringLongTemplate<char> text;
  LBase64Encode<char>(bytes.data(), bytes.size(), text, flags);
  return text.Text();
}

template <unsigned int flags>
void DecodeHere(benchmark::State& state) {
  const std::string text = TextOf(SomeBytes(state), flags);
  LSizedArray<unsigned char> bytes;
  for (auto _ : state) {
    LBase64Decode(text.data(), text.size(), bytes);
    benchmark::DoNotOptimize(bytes.Data());
  }
  Finish(state);
}

template <unsigned int flags>
void DecodeGLib(benchmark::State& state) {
  const std::string text = TextOf(SomeBytes(state), flags);
  for (auto _ : state) {
    gsize size = 0;
    guchar* bytes = g_base64_decode(text.c_str(), &size);
    benchmark::DoNotOptimize(bytes);
    g_free(bytes);
  }
  Finish(state);
}

void DecodeOpenSsl(benchmark::State& state) {
  const std::string text = TextOf(SomeBytes(state), kBase64NoLineBreaks);
  Bytes bytes(text.size());
  for (auto _ : state) {
    EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(text.data()),
                    static_cast<int>(text.size()));
    benchmark::DoNotOptimize(bytes.data());
  }
  Finish(state);
}

void DecodeModp(benchmark::State& state) {
  const std::string text = TextOf(SomeBytes(state), kBase64NoLineBreaks);
  std::vector<char> bytes(modp_b64_decode_len(text.size()));
  for (auto _ : state) {
    modp_b64_decode(bytes.data(), text.data(), text.size());
    benchmark::DoNotOptimize(bytes.data());
  }
  Finish(state);
}

constexpr char kKey[] = "sixteen letters.";
constexpr std::size_t kKeyLength = sizeof kKey - 1;

void CipherHere(benchmark::State& state, bool isDeciphered) {
  Bytes bytes = SomeBytes(state);
  LBlowFish cipher;
  cipher.SetKey(kKey);
  for (auto _ : state) {
    if (isDeciphered)
      cipher.Decode(bytes.data(), bytes.size());
    else
      cipher.Encode(bytes.data(), bytes.size());
    benchmark::DoNotOptimize(bytes.data());
  }
  Finish(state);
}

void CipherOpenSsl(benchmark::State& state, int direction) {
  Bytes bytes = SomeBytes(state);
  BF_KEY key;
  BF_set_key(&key, kKeyLength, reinterpret_cast<const unsigned char*>(kKey));
  for (auto _ : state) {
    for (std::size_t i = 0; i < bytes.size(); i += 8)
      BF_ecb_encrypt(&bytes[i], &bytes[i], &key, direction);
    benchmark::DoNotOptimize(bytes.data());
  }
  Finish(state);
}

void CipherGcrypt(benchmark::State& state, decltype(gcry_cipher_encrypt)* run) {
  Bytes bytes = SomeBytes(state);
  gcry_cipher_hd_t cipher = nullptr;
  gcry_check_version(nullptr);
  gcry_cipher_open(&cipher, GCRY_CIPHER_BLOWFISH, GCRY_CIPHER_MODE_ECB, 0);
  gcry_cipher_setkey(cipher, kKey, kKeyLength);
  for (auto _ : state) {
    run(cipher, bytes.data(), bytes.size(), nullptr, 0);
    benchmark::DoNotOptimize(bytes.data());
  }
  gcry_cipher_close(cipher);
  Finish(state);
}

void CipherBotan(benchmark::State& state, bool isDeciphered) {
  Bytes bytes = SomeBytes(state);
  Botan::Blowfish cipher;
  cipher.set_key(reinterpret_cast<const unsigned char*>(kKey), kKeyLength);
  for (auto _ : state) {
    if (isDeciphered)
      cipher.decrypt_n(bytes.data(), bytes.data(), bytes.size() / 8);
    else
      cipher.encrypt_n(bytes.data(), bytes.data(), bytes.size() / 8);
    benchmark::DoNotOptimize(bytes.data());
  }
  Finish(state);
}

void KeyHere(benchmark::State& state) {
  LBlowFish cipher;
  for (auto _ : state) {
    cipher.SetKey(kKey);
    benchmark::DoNotOptimize(&cipher);
    benchmark::ClobberMemory();
  }
}

void KeyOpenSsl(benchmark::State& state) {
  BF_KEY key;
  for (auto _ : state) {
    BF_set_key(&key, kKeyLength, reinterpret_cast<const unsigned char*>(kKey));
    benchmark::DoNotOptimize(&key);
    benchmark::ClobberMemory();
  }
}

void SettingThereAndBack(benchmark::State& state) {
  LStringLongTemplate<char> stored;
  for (auto _ : state) {
    LSettingEncrypt(stored, "a password");
    LSettingDecrypt(stored.Buffer());
    benchmark::DoNotOptimize(stored.Buffer());
  }
}

void Lengths(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(24)->Arg(1 << 20);
}

BENCHMARK(EncodeHere<kBase64NoLineBreaks>)->Apply(Lengths);
BENCHMARK(EncodeHere<0>)->Apply(Lengths);
BENCHMARK(EncodeGLib)->Apply(Lengths);
BENCHMARK(EncodeOpenSsl)->Apply(Lengths);
BENCHMARK(EncodeModp)->Apply(Lengths);
BENCHMARK(DecodeHere<kBase64NoLineBreaks>)->Apply(Lengths);
BENCHMARK(DecodeHere<0>)->Apply(Lengths);
BENCHMARK(DecodeGLib<kBase64NoLineBreaks>)->Apply(Lengths);
BENCHMARK(DecodeGLib<0>)->Apply(Lengths);
BENCHMARK(DecodeOpenSsl)->Apply(Lengths);
BENCHMARK(DecodeModp)->Apply(Lengths);
BENCHMARK_CAPTURE(CipherHere, encipher, false)->Apply(Lengths);
BENCHMARK_CAPTURE(CipherOpenSsl, encipher, BF_ENCRYPT)->Apply(Lengths);
BENCHMARK_CAPTURE(CipherGcrypt, encipher, gcry_cipher_encrypt)->Apply(Lengths);
BENCHMARK_CAPTURE(CipherBotan, encipher, false)->Apply(Lengths);
BENCHMARK_CAPTURE(CipherHere, decipher, true)->Apply(Lengths);
BENCHMARK_CAPTURE(CipherOpenSsl, decipher, BF_DECRYPT)->Apply(Lengths);
BENCHMARK_CAPTURE(CipherGcrypt, decipher, gcry_cipher_decrypt)->Apply(Lengths);
BENCHMARK_CAPTURE(CipherBotan, decipher, true)->Apply(Lengths);
BENCHMARK(KeyHere);
BENCHMARK(KeyOpenSsl);
BENCHMARK(SettingThereAndBack);

}  // namespace

BENCHMARK_MAIN();
