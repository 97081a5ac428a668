// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SIMULATED_SIMULATEDDECK_H
#define ZORVEX_PLATFORM_SIMULATED_SIMULATEDDECK_H

#include <memory>

#include "platform/avc/fcpchannel.h"
#include "platform/simulated/simulatedhardware.h"

/// The AV/C side of a simulated camcorder: a unit with one tape recorder and a cassette that must
/// not be recorded on. It takes command frames and gives response frames, byte by byte as a deck on
/// a bus does, at once or with the faults that the description asks for. docs/simulated.md lists
/// what it understands.
class SimulatedDeck final : public FcpChannel {
 public:
  explicit SimulatedDeck(std::shared_ptr<SimulatedHardware> hardware);

  std::optional<std::vector<std::uint8_t>> Transact(std::span<const std::uint8_t> command,
                                                    std::chrono::milliseconds limit) override;

 private:
  using Frame = std::vector<std::uint8_t>;

  Frame Answer(std::span<const std::uint8_t> command);
  Frame AnswerUnit(std::span<const std::uint8_t> command) const;
  Frame AnswerStatus(std::span<const std::uint8_t> command) const;
  Frame AnswerControl(std::span<const std::uint8_t> command);
  Frame TransportState() const;
  Frame TimeCode() const;
  Frame Garbage();

  const std::shared_ptr<SimulatedHardware> hardware_;
  std::uint32_t random_ = 1;  ///< the same numbers in each process
  std::size_t cut_ = 0;       ///< bytes that the last short answer had
};

#endif  // ZORVEX_PLATFORM_SIMULATED_SIMULATEDDECK_H
