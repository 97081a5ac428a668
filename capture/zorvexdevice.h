// SPDX-License-Identifier: MIT
#ifndef ZORVEX_CAPTURE_ZORVEXDEVICE_H
#define ZORVEX_CAPTURE_ZORVEXDEVICE_H

/// \file
/// The device slots behind the handles of <zorvex/zorvex.h>, for hosts that want the platform's
/// device objects too. The letters in front of the names of fields: sz is text with a terminating
/// zero in a fixed array, p a reference to an object, n a number, b a truth value.

#include <atomic>
#include <cstdint>

#include <zorvex/capture/slotfield.h>
#include <zorvex/capture/zorvex.h>
#include <zorvex/foundation/export.h>
#include <zorvex/platform/captureplatform.h>

class ZRVXDeviceDecompressedAudioOutputDelegate;
class ZRVXDeviceDecompressedVideoOutputDelegate;

/// Receives the name and the platform's object of each device; true goes on, false ends the walk.
class IZRVXDeviceEnumeratorEx {
 public:
  /// Borrows both for the call.
  virtual bool OnDevice(char const* name, QTCaptureDevice* device) = 0;

 protected:
  ~IZRVXDeviceEnumeratorEx() = default;
};

/// Passes on the names of the devices that a host asked for.
class ZORVEX_API ZRVXDeviceEnumeratorExWrapper final : public IZRVXDeviceEnumeratorEx {
 public:
  /// Bit 0 of `flags` lets devices through that are not connected; the other bits have no meaning.
  ZRVXDeviceEnumeratorExWrapper(IZRVXDeviceEnumerator* enumerator, ZRVXDeviceMediaType mediaType,
                                unsigned int flags);
  bool OnDevice(char const* name, QTCaptureDevice* device) override;

 private:
  IZRVXDeviceEnumerator* pEnumerator;
  ZRVXDeviceMediaType MediaType;
  unsigned int nFlags;
};

/// Finds the first device of a name, compared without regard to case, that qualifies for a kind of
/// media, connected or not.
class ZORVEX_API ZRVXDeviceFinder final : public IZRVXDeviceEnumeratorEx {
 public:
  /// Keeps `name`, which must outlive it.
  ZRVXDeviceFinder(char const* name, ZRVXDeviceMediaType mediaType);
  bool OnDevice(char const* name, QTCaptureDevice* device) override;
  /// The device found, or none.
  const Retained<QTCaptureDevice>& Found() const { return pFound; }

 private:
  char const* szWanted;
  ZRVXDeviceMediaType MediaType;
  Retained<QTCaptureDevice> pFound;
};

/// One slot of the device table. The operations are those of the exported functions of the same
/// name, where their contracts stand.
///
/// A slot is free (empty name), created (name and device, count 0), held (count 1 or more) or
/// capturing (its session runs), and becomes free again when the count falls from 1 to 0 while no
/// session runs:
///
///     free -> created -> held <-> capturing
///      ^--------------- held
class ZORVEX_API ZRVXDevice {
 public:
  static ZRVXDevice* GetDevice(char const* name, ZRVXDeviceMediaType mediaType);
  /// The slot of a handle; none when it is not the address of a slot in use.
  static ZRVXDevice* GetDevice(unsigned long handle);
  /// The device of a handle, owned by its slot; none as above.
  static QTCaptureDevice* GetQTDevice(unsigned long handle);
  /// The slot of that name and kind, or a fresh one with count 0; none when no device matches or no
  /// slot is free. The caller holds the registry's lock.
  static ZRVXDevice* CreateDevice(char const* name, ZRVXDeviceMediaType mediaType);
  /// Walks the devices that the platform lists, until the enumerator gives false.
  static void Enumerate(IZRVXDeviceEnumeratorEx* enumerator);
  /// Whether a device of the platform qualifies for a kind of media.
  static bool HasMediaType(QTCaptureDevice* device, ZRVXDeviceMediaType mediaType);
  /// Whether the platform captures a kind of media; all but sound it always does.
  static bool IsMediaTypeSupported(ZRVXDeviceMediaType mediaType);
  /// As ZRVXHasUsedDevices.
  static bool HasUsedDevices();
  /// As ZRVXDumpUsedDevices.
  static bool DumpUsedDevices();
  /// Runs CloseAudioDevice on every slot, in use or not; true when each of them gave true.
  static bool CloseAllAudioDevices();

  /// Empties the slot, unless its session runs.
  void Clear();
  /// Counts one more holder. The caller holds the registry's lock.
  void Retain();
  /// Counts one holder less; the last one empties the slot, unless its session runs. The caller
  /// holds the registry's lock.
  void Release();

  /// As ZRVXDeviceOpen.
  bool Open();
  /// As ZRVXDeviceClose.
  bool Close();
  /// As ZRVXDeviceIsOpened.
  bool IsOpened() const;
  /// As ZRVXDeviceIsConnected.
  bool IsConnected() const;
  /// As ZRVXDeviceIsUsedByAnotherApplication.
  bool IsUsedByAnotherApplication() const;
  bool HasMediaType(ZRVXDeviceMediaType mediaType) const;

  /// As ZRVXDeviceStartCapture.
  bool StartCapture(ZRVXVideoCallBack videoCallBack, long videoCallBackData,
                    unsigned int pixelFormat, unsigned long width, unsigned long height,
                    ZRVXAudioCallBack audioCallBack, long audioCallBackData,
                    unsigned int audioFormatFlags, unsigned long sampleRate, unsigned long channels,
                    unsigned long bytesPerSample, char const* movieFile);
  /// As ZRVXDeviceStopCapture.
  bool StopCapture();
  /// As ZRVXDeviceStopRecording.
  bool StopRecording();
  /// As ZRVXDeviceIsCapturing.
  bool IsCapturing() const;
  /// As ZRVXDeviceInvalidateCaptureVideoCallBack.
  bool InvalidateCaptureVideoCallBack(ZRVXVideoCallBack callBack, long data);
  /// As ZRVXDeviceGetSMPTETime.
  bool GetSMPTETime(SMPTETime* timeCode) const;

  /// Attaches a separate device for the sound of the next start, in place of the one attached
  /// before, whose session stops. Nothing happens for an empty name and for the one that is
  /// attached already, byte for byte. The name stays attached also when no device has it.
  void CreateAudioDevice(char const* name);
  /// As ZRVXDeviceCloseAudioDevice.
  bool CloseAudioDevice();
  /// As ZRVXDeviceInvalidateCaptureAudioCallBack.
  bool InvalidateCaptureAudioCallBack(ZRVXAudioCallBack callBack, long data);

  /// As ZRVXDeviceIsTransportAvailable.
  bool IsTransportAvailable() const;
  /// What the device answers: for a device without a transport ZRVXDeviceTransportModeUnavailable.
  ZRVXDeviceTransportMode GetTransportMode() const;
  /// As ZRVXDeviceSetTransportMode.
  void SetTransportMode(ZRVXDeviceTransportMode mode);

  /// Whether the platform has audio outputs; found out once, while the library loads. While it is
  /// false no device qualifies as audio.
  static bool bIsAudioRecordingSupported;

 private:
  ZORVEX_HIDDEN bool IsInUse() const;
  ZORVEX_HIDDEN void Empty();
  /// Lets go of the inputs, outputs and delegates; not of the movie output.
  ZORVEX_HIDDEN void ForgetSessionParts();
  /// Copies a name into a slot, cut to fit.
  ZORVEX_HIDDEN static void StoreName(char (&target)[260], char const* name);
  ZORVEX_HIDDEN bool AttachDevice(QTCaptureSession& session);
  ZORVEX_HIDDEN bool AttachVideo(QTCaptureSession& session, ZRVXVideoCallBack callBack, long data,
                                 const CVPixelBufferAttributes& attributes);
  /// Adds what sound needs; where that fails, the capture is left without sound.
  ZORVEX_HIDDEN void AttachAudio(QTCaptureSession& session, ZRVXAudioCallBack callBack, long data,
                                 unsigned int formatFlags, unsigned long sampleRate,
                                 unsigned long channels, unsigned long bytesPerSample);
  ZORVEX_HIDDEN void AttachAudioDevice(QTCaptureSession& session);
  /// Takes everything of sound out of the session, if there is one, and lets go of it.
  ZORVEX_HIDDEN void DetachAudio(QTCaptureSession* session);
  /// Takes the delegates off the outputs; the session if it runs on an open device, else nothing
  /// happens and none is returned.
  ZORVEX_HIDDEN Retained<QTCaptureSession> EndDelivery();
  ZORVEX_HIDDEN bool AttachMovie(QTCaptureSession& session, char const* movieFile);

  char szName[260]{};             ///< as the host spelled it, cut to 259 bytes; empty: a free slot
  char szAudioDeviceName[260]{};  ///< of a separate audio device; empty when none
  SlotField<QTCaptureDevice> pDevice;
  SlotField<QTCaptureDevice> pAudioDevice;      ///< separate audio device
  SlotField<QTCaptureSession> pSession;         ///< made by the first capture
  SlotField<QTCaptureDeviceInput> pVideoInput;  ///< of pDevice
  SlotField<QTCaptureDeviceInput> pAudioInput;  ///< of pAudioDevice
  SlotField<QTCaptureDecompressedVideoOutput> pVideoOutput;
  SlotField<ZRVXDeviceDecompressedVideoOutputDelegate> pVideoDelegate;
  SlotField<QTCaptureDecompressedAudioOutput> pAudioOutput;
  SlotField<ZRVXDeviceDecompressedAudioOutputDelegate> pAudioDelegate;
  SlotField<QTCaptureMovieFileOutput> pMovieFileOutput;
  std::atomic<std::int32_t> nRefCount;  ///< a negative value makes the slot unusable
};

#endif  // ZORVEX_CAPTURE_ZORVEXDEVICE_H
