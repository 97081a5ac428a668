// SPDX-License-Identifier: MIT
#include "platform/audioconverter/edgeextension.h"

#include <algorithm>

#include "platform/audioconverter/burgkernel.h"

namespace {

/// Over the loudest sample of the window: a low tone may have its peak yet before it.
constexpr double kHeadroom = 1.5;

}  // namespace

template <class Sample>
EdgeExtension<Sample>::EdgeExtension(std::size_t longest)
    : kernels_(BestBurgKernels<Sample>()),
      forward_(kWindow + kBurgPadding),
      backward_(kWindow + kBurgPadding),
      history_(kBurgOrder + longest + kPredictedAtOnce) {}

template <class Sample>
void EdgeExtension<Sample>::Describe(const Sample* samples, std::size_t count) {
  // A third of the samples: a longer prediction of so few would follow their accidents.
  const std::size_t order = std::min(kBurgOrder, count / 3);
  coefficients_ = {};
  if (order == 0) {
    coefficients_[1] = 1;  // holds the last one
    return;
  }
  for (std::vector<Sample>* errors : {&forward_, &backward_}) {
    const auto end = std::copy_n(samples, count, errors->begin());
    std::fill(end, errors->end(), Sample{0});
  }
  kernels_.fit(forward_.data(), backward_.data(), count, order, coefficients_);
}

template <class Sample>
void EdgeExtension<Sample>::LimitTo(const Sample* samples, std::size_t count) {
  limit_ = kHeadroom * static_cast<double>(kernels_.loudest(samples, count));
}

template <class Sample>
const double* EdgeExtension<Sample>::Predict(std::size_t frames) {
  double* const predicted = history_.data() + kBurgOrder;
  kernels_.predict(coefficients_, predicted, frames);
  for (std::size_t i = 0; i < frames; ++i)
    predicted[i] = std::clamp(predicted[i], -limit_, limit_);
  return predicted;
}

template <class Sample>
void EdgeExtension<Sample>::Append(Sample* end, std::size_t available, std::size_t frames) {
  for (std::size_t i = 1; i <= kBurgOrder; ++i)
    history_[kBurgOrder - i] = i <= available ? static_cast<double>(*(end - i)) : 0;
  const double* const predicted = Predict(frames);
  for (std::size_t i = 0; i < frames; ++i)
    end[i] = static_cast<Sample>(predicted[i]);
}

template <class Sample>
void EdgeExtension<Sample>::Prepend(Sample* begin, std::size_t available, std::size_t frames) {
  for (std::size_t i = 1; i <= kBurgOrder; ++i)
    history_[kBurgOrder - i] = i <= available ? static_cast<double>(begin[i - 1]) : 0;
  const double* const predicted = Predict(frames);
  for (std::size_t i = 1; i <= frames; ++i)
    *(begin - i) = static_cast<Sample>(predicted[i - 1]);
}

template <class Sample>
void EdgeExtension<Sample>::Continue(Sample* end, std::size_t available, std::size_t frames) {
  const std::size_t count = std::min(available, kWindow);
  LimitTo(end - count, count);
  Describe(end - count, count);
  Append(end, available, frames);
}

// Burg's method makes nothing of the direction of time: the same prediction works backwards.
template <class Sample>
void EdgeExtension<Sample>::Precede(Sample* begin, std::size_t available, std::size_t frames) {
  const std::size_t count = std::min(available, kWindow);
  LimitTo(begin, count);
  Describe(begin, count);
  Prepend(begin, available, frames);
}

template <class Sample>
void EdgeExtension<Sample>::Surround(Sample* begin, std::size_t available, std::size_t frames) {
  const std::size_t count = std::min(available, kWindow);
  LimitTo(begin, available);
  Describe(begin + (available - count) / 2, count);
  Prepend(begin, available, frames);
  Append(begin + available, available, frames);
}

template class EdgeExtension<float>;
template class EdgeExtension<double>;
