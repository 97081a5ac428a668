// SPDX-License-Identifier: MIT
#include "tools/framering.h"

namespace {

/// The part of the capture, of so many, that the share lies in. A share that is a fraction of whole
/// numbers must not fall short of its part by rounding.
unsigned Part(double share, unsigned parts) {
  return static_cast<unsigned>(share * parts + 1e-9);
}

}  // namespace

KeptFrame* FrameRing::Claim(double share) {
  constexpr unsigned halves = 2;
  constexpr unsigned twelfths = 12;
  const unsigned half = Part(share, halves);
  const unsigned twelfth = Part(share, twelfths);
  const bool forSnapshot = snapshot_ && half >= nextHalf_ && nextHalf_ < halves;
  const bool forSheet = sheet_ && twelfth >= nextTwelfth_ && nextTwelfth_ < twelfths;
  if ((!forSnapshot && !forSheet) || filled_ - taken_ == copies) return nullptr;
  if (forSnapshot) nextHalf_ = half + 1;
  if (forSheet) nextTwelfth_ = twelfth + 1;
  KeptFrame& copy = ring_[filled_ % copies];
  copy.forSnapshot = forSnapshot;
  copy.forSheet = forSheet;
  return &copy;
}

void FrameRing::Filled() {
  ++filled_;
}

const KeptFrame* FrameRing::Take() {
  return taken_ == filled_ ? nullptr : &ring_[taken_ % copies];
}

void FrameRing::GiveBack() {
  ++taken_;
}
