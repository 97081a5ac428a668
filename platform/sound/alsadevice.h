// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_SOUND_ALSADEVICE_H
#define ZORVEX_PLATFORM_SOUND_ALSADEVICE_H

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/devicenode.h"
#include "platform/gstreamer/gstpointer.h"
#include "platform/gstreamer/sourcedevice.h"
#include "platform/sound/soundservers.h"

namespace gstreamer {

/// One PCM device of a card, as its node and the files beside it tell: nothing is opened for it.
struct AlsaPcm {
  DeviceNode node;
  int card = 0;
  int device = 0;
  std::string name;     ///< of the card, and of the PCM where the card has several
  std::string busPath;  ///< where the card is plugged in, with the number of the PCM
  std::string model;    ///< vendor, product, serial number and PCM; empty without a serial number
};

/// The PCMs that capture, by card and number.
std::vector<AlsaPcm> FindAlsaPcms();

/// A PCM of a sound card, used as it is: nobody else has it meanwhile.
///
/// Opening takes the PCM, so that a second process finds it busy when it opens it and not only when
/// it starts it. The element that holds it becomes the source of the next run.
class AlsaDevice final : public SourceDevice {
 public:
  AlsaDevice(const AlsaPcm& pcm, std::shared_ptr<SoundServers> servers);

  bool HasMediaType(QTMediaType mediaType) const override;
  /// A closed device is not connected while a sound server has the cards.
  bool IsConnected() const override;
  bool IsInUseByAnotherApplication() const override;
  std::vector<Retained<QTFormatDescription>> FormatDescriptions() override;

  const std::string& Model() const { return model_; }
  /// For the provider: where the device is now.
  bool IsPresent() const;
  void SetPcm(const AlsaPcm& pcm);
  DeviceNode Node() const;

 protected:
  bool OpenDevice() override;
  void CloseDevice() override;
  Source MakeSource(const CVPixelBufferAttributes& wish) override;
  void SourceEnded() override;

 private:
  /// An element in state READY, which has the PCM; null when it cannot be had. Notes what the PCM
  /// offers.
  GstPointer<GstElement> OpenPcm();

  const std::string model_;
  const std::shared_ptr<SoundServers> servers_;
  /// Held while the PCM is opened, and until it is closed again where it is only asked: who opens
  /// the device shall not find it taken by a question of its own.
  std::mutex openingMutex_;
  mutable std::mutex mutex_;  ///< guards what follows
  AlsaPcm pcm_;
  std::shared_ptr<GstCaps> offered_;  ///< by the PCM, once it was open
  GstPointer<GstElement> claim_;      ///< while the device is open and not running
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_SOUND_ALSADEVICE_H
