// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_AVC_SPEEDTABLE_H
#define ZORVEX_PLATFORM_AVC_SPEEDTABLE_H

#include <cstdint>
#include <optional>

namespace avc {

/// Speeds and the operands of the play command that stand for them. Normal speed is 10000, reverse
/// is negative. The command set only orders its speeds, from slowest to fastest; the numbers are
/// this platform's:
///
///     operand   31h  32h  33h  34h  35h  36h  37h  38h   39h   3Ah   3Bh   3Ch   3Dh   3Eh   3Fh
///     speed    1250 2500 3750 5000 6250 7500 8750 10000 11000 12000 13000 14500 16000 17500 19000
///
/// and 41h to 4Fh the same in reverse. 75h (and 38h) is normal speed forward, 65h (and 48h) in
/// reverse; pauses and single frames (7Dh, 6Dh, 30h, 40h) stand still.

/// The operand for a speed other than 0: the nearest that there is, of two the faster.
std::uint8_t PlayModeForSpeed(long speed);
/// The fastest of the operands that search in the direction of this one, or the slowest of those
/// for slow motion: what there is in the place of it. Any other operand itself.
std::uint8_t LastOfRow(std::uint8_t mode);
/// The speed that an operand of the play command stands for; none for one that is no such operand.
std::optional<long> SpeedOfPlayMode(std::uint8_t mode);

}  // namespace avc

#endif  // ZORVEX_PLATFORM_AVC_SPEEDTABLE_H
