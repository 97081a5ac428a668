// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_BLOWFISHTABLES_H
#define ZORVEX_FOUNDATION_STORE_BLOWFISHTABLES_H

#include <cstdint>

/// What Blowfish starts from: the hexadecimal digits of pi behind the point, 243f6a88 85a308d3 ...,
/// first the subkeys and then the four S-boxes.
extern const std::uint32_t bf_P[18];
extern const std::uint32_t bf_S[4][256];

#endif  // ZORVEX_FOUNDATION_STORE_BLOWFISHTABLES_H
