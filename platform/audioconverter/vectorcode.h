// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AUDIOCONVERTER_VECTORCODE_H
#define ZORVEX_PLATFORM_AUDIOCONVERTER_VECTORCODE_H

#include <cstddef>
#include <cstring>

/// Code for vectors in the compiler's own terms. A function marked ZORVEX_INLINE, given to
/// BestBuild, is compiled twice: for what the build is for (SSE2 or NEON, two instructions for each
/// vector of 32 bytes), and for x86 processors that have vectors of that size. Which one runs is
/// decided when the program does.
#define ZORVEX_INLINE [[gnu::always_inline]] inline

template <auto kCode>
struct Builds;
template <class Result, class... Arguments, Result (*kCode)(Arguments...)>
struct Builds<kCode> {
  static Result Plain(Arguments... arguments) { return kCode(arguments...); }
#if defined(__x86_64__) || defined(__i386__)
  [[gnu::target("avx2,fma")]] static Result WithAvx2(Arguments... arguments) {
    return kCode(arguments...);
  }
  static auto Best() {
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") ? WithAvx2 : Plain;
  }
#else
  static auto Best() {
    return Plain;
  }
#endif
};

/// A pointer to the quickest build of a function.
template <auto kCode>
auto BestBuild() {
  return Builds<kCode>::Best();
}

template <class Sample>
struct VectorOf {
  using Whole [[gnu::vector_size(32)]] = Sample;
  using Half [[gnu::vector_size(16)]] = Sample;
  /// As they stand in memory, on no particular boundary.
  using StoredWhole [[gnu::vector_size(32), gnu::aligned(alignof(Sample)), gnu::may_alias]] =
      Sample;
};
template <class Sample>
using Vector = typename VectorOf<Sample>::Whole;

/// Samples in a vector.
template <class Sample>
constexpr std::size_t kLanes = 32 / sizeof(Sample);

template <class Sample>
ZORVEX_INLINE void Load(Vector<Sample>& vector, const Sample* source) {
  vector = *reinterpret_cast<const typename VectorOf<Sample>::StoredWhole*>(source);
}

template <class Sample>
ZORVEX_INLINE void Store(const Vector<Sample>& vector, Sample* destination) {
  *reinterpret_cast<typename VectorOf<Sample>::StoredWhole*>(destination) = vector;
}

/// The sums of the lanes of four vectors.
ZORVEX_INLINE void SumLanes(const Vector<float> (&vectors)[4], float (&sums)[4]) {
  VectorOf<float>::Half halves[4];
  for (int i = 0; i < 4; ++i) {
    halves[i] = __builtin_shufflevector(vectors[i], vectors[i], 0, 1, 2, 3) +
                __builtin_shufflevector(vectors[i], vectors[i], 4, 5, 6, 7);
  }
  const auto first = __builtin_shufflevector(halves[0], halves[1], 0, 4, 1, 5) +
                     __builtin_shufflevector(halves[0], halves[1], 2, 6, 3, 7);
  const auto second = __builtin_shufflevector(halves[2], halves[3], 0, 4, 1, 5) +
                      __builtin_shufflevector(halves[2], halves[3], 2, 6, 3, 7);
  const auto all = __builtin_shufflevector(first, second, 0, 1, 4, 5) +
                   __builtin_shufflevector(first, second, 2, 3, 6, 7);
  std::memcpy(sums, &all, sizeof all);
}

ZORVEX_INLINE void SumLanes(const Vector<double> (&vectors)[4], double (&sums)[4]) {
  VectorOf<double>::Half halves[4];
  for (int i = 0; i < 4; ++i) {
    halves[i] = __builtin_shufflevector(vectors[i], vectors[i], 0, 1) +
                __builtin_shufflevector(vectors[i], vectors[i], 2, 3);
  }
  for (int i = 0; i < 4; i += 2) {
    const auto pair = __builtin_shufflevector(halves[i], halves[i + 1], 0, 2) +
                      __builtin_shufflevector(halves[i], halves[i + 1], 1, 3);
    std::memcpy(sums + i, &pair, sizeof pair);
  }
}

#endif  // ZORVEX_PLATFORM_AUDIOCONVERTER_VECTORCODE_H
