// SPDX-License-Identifier: MIT
#ifndef ZORVEX_CAPTURE_ZORVEX_H
#define ZORVEX_CAPTURE_ZORVEX_H

/// \file
/// The capture interface of zorvex. Include it as <zorvex/zorvex.h>.
///
/// Conventions, which hold wherever a function says nothing else:
///
///  1. Handles. A device is named once, by its display name, in ZRVXDeviceGet; everything else
///     takes the handle from there. Handle 0 stands for no device. A handle that is 0, stale or
///     made up is recognised: the function does nothing and returns its failure value.
///  2. Ownership. A handle is reference counted: ZRVXDeviceGet and ZRVXDeviceRetain add one,
///     ZRVXDeviceRelease takes one away. Pointers that are passed in or handed to a callback are
///     valid during that call only; the library keeps copies of what it needs.
///  3. Text is UTF-8, with a terminating zero. Names are compared without regard to case. The
///     library keeps 259 bytes of a name.
///  4. Failures are results: false, or handle 0. Nothing throws out of the library, nothing is
///     printed. An exception that leaves a callback is dropped.
///  5. Threads. Every function may be called from any thread, and from inside a callback. Calls
///     that build up or end the use of one device (open, close, start, release, listing its
///     formats) must not overlap each other, and ZRVXDeviceCloseAllAudioDevices counts as such a
///     call for every device; looking at it, stopping it and invalidating its callbacks may overlap
///     anything. No handle may be released for the last time while another thread still uses it.
///     Asking for a time code, and invalidating a callback, wait for that callback: two callbacks
///     of one device must not wait for each other like that.
///  6. Callbacks come on threads of the platform, one at a time for each callback. The library
///     starts no thread for capture and calls back only while a capture runs.
///  7. Time. No function waits longer than a few seconds for a device, whatever the device does.
///     Looking devices up, asking who uses one, and asking what a tape does wait for at most a
///     second; looking devices up takes longer while another thread gives back a device that
///     records. Formats are looked up once for each device (see ZRVXDeviceFormatEnumerate). All
///     other questions are answered at once.

#include <zorvex/foundation/export.h>
#include <zorvex/platform/smptetime.h>

/// What kind of media is wanted of a device. A value outside the four acts as video.
enum ZRVXDeviceMediaType : unsigned int {
  ZRVXDeviceMediaTypeAny = 0,    ///< video, audio or muxed
  ZRVXDeviceMediaTypeAudio = 1,  ///< sound or muxed; no device while audio capture is unsupported
  ZRVXDeviceMediaTypeVideo = 2,  ///< video or muxed
  ZRVXDeviceMediaTypeMuxed = 3,  ///< picture and sound in one stream, as tape devices send them
};

/// What the tape of a device does.
enum ZRVXDeviceTransportMode : unsigned int {
  ZRVXDeviceTransportModeStop = 0,
  ZRVXDeviceTransportModePlay = 1,
  ZRVXDeviceTransportModeRewind = 2,           ///< fast, without a picture
  ZRVXDeviceTransportModeFastForward = 3,      ///< fast, without a picture
  ZRVXDeviceTransportModePlayFastReverse = 4,  ///< with a picture
  ZRVXDeviceTransportModePlayFastForward = 5,  ///< with a picture
  ZRVXDeviceTransportModeUnavailable = 6,      ///< an answer only: there is no transport
};

/// Implemented by the host to receive the names of the devices.
class IZRVXDeviceEnumerator {
 public:
  /// Receives one display name; valid during the call. Returns true to go on, false to end the
  /// walk.
  virtual bool OnDevice(char const* name) = 0;

 protected:
  ~IZRVXDeviceEnumerator() = default;
};

/// Implemented by the host to receive the formats of a device.
class IZRVXDeviceFormatEnumerator {
 public:
  /// Receives a sound format: a four-character code, 'lpcm' for linear PCM. True goes on; false
  /// ends the list of sound formats, and the pictures' follows.
  virtual bool OnDeviceFormatAudio(unsigned int format) = 0;
  /// Receives a picture format: a pixel format code with a size in pixels. True goes on.
  virtual bool OnDeviceFormatVideo(unsigned int pixelFormat, unsigned long width,
                                   unsigned long height) = 0;

 protected:
  ~IZRVXDeviceFormatEnumerator() = default;
};

/// Receives one frame, on a thread of the platform.
///
/// \param pixels       first byte of the picture (of its first plane), in memory of the platform:
///                     readable during the call, never to be written or kept
/// \param pixelFormat  four-character code: '2vuy', 'yuvs', 'BGRA', 'y420', '420v', 24, 32 ...
/// \param width        in pixels
/// \param height       in pixels
/// \param bytesPerRow  distance between the starts of two rows, padding included
/// \param timeCode     the frame's SMPTE time code, or null when it carries none
/// \param data         what the host passed to ZRVXDeviceStartCapture
///
/// A callback may call any function of the library. It must not wait for a thread that is inside
/// ZRVXDeviceInvalidateCaptureVideoCallBack for the same device: that one waits for the callback.
typedef void (*ZRVXVideoCallBack)(unsigned char const* pixels, unsigned int pixelFormat,
                                  unsigned long width, unsigned long height,
                                  unsigned long bytesPerRow, SMPTETime const* timeCode, long data);

/// Receives one buffer of interleaved PCM, of at most 65535 bytes, on a thread of the platform. The
/// platform delivers some 25 buffers a second; of one that would be longer the end is dropped. A
/// buffer that cannot be converted to what was asked for is dropped whole.
///
/// What ZRVXVideoCallBack says of calls into the library and of waiting holds here too.
///
/// \param samples         valid during the call only
/// \param formatFlags     linear PCM flags of the samples: 1 float, 2 big endian, 4 signed integer,
///                        8 packed, 16 aligned high
/// \param sampleRate      in Hz
/// \param channels        channels per frame
/// \param bytesPerSample  of one channel
/// \param frames          sample frames in the buffer
/// \param data            what the host passed to ZRVXDeviceStartCapture
typedef void (*ZRVXAudioCallBack)(unsigned char const* samples, unsigned int formatFlags,
                                  unsigned long sampleRate, unsigned long channels,
                                  unsigned long bytesPerSample, unsigned long frames, long data);

extern "C" {

/// Prepares the calling thread for calls into the library and returns a token, never null. Needed
/// by threads that the host made itself; balanced by ZRVXThreadDestroy on the same thread.
ZORVEX_API void* ZRVXThreadInit();

/// Ends what ZRVXThreadInit began. \param token its result; null is ignored.
ZORVEX_API void ZRVXThreadDestroy(void* token);

/// Whether the caller is the thread that loaded the library.
ZORVEX_API bool ZRVXIsMainThread();

/// Whether any device is held. Touches no device and starts nothing.
ZORVEX_API bool ZRVXHasUsedDevices();

/// Same answer as ZRVXHasUsedDevices, slot by slot under a debugger; writes no output.
ZORVEX_API bool ZRVXDumpUsedDevices();

/// Hands the display names of the devices of a kind to `enumerator`, in a stable order, on the
/// calling thread. The first enumeration of a process looks for the devices and may take a moment.
///
/// \param enumerator  must not be null
/// \param mediaType   the kind wanted
/// \param flags       bit 0: name also devices that were seen before but are unplugged now; the
///                    other bits have no meaning
ZORVEX_API void ZRVXDeviceEnumerate(IZRVXDeviceEnumerator* enumerator,
                                    ZRVXDeviceMediaType mediaType, unsigned int flags);

/// Finds a device by display name and kind, plugged in or not, and takes a reference to it. The
/// same name and kind give the same handle while it is held.
///
/// \return the handle; 0 for a null or empty name, when no device matches, or when 64 devices are
///         held already
ZORVEX_API unsigned long ZRVXDeviceGet(char const* name, ZRVXDeviceMediaType mediaType);

/// Takes one more reference. False for an invalid handle.
ZORVEX_API bool ZRVXDeviceRetain(unsigned long handle);

/// Gives one reference back; with the last one the handle becomes invalid. A device that captures
/// is not released: the call is lost (call ZRVXDeviceStopCapture first), but a last reference given
/// back like that ends the delivery to the callbacks and the recording. Nothing is closed by a
/// release: call ZRVXDeviceClose, and ZRVXDeviceCloseAudioDevice where a sound device was attached,
/// before.
///
/// \return false for an invalid handle, else true, also when nothing was released
ZORVEX_API bool ZRVXDeviceRelease(unsigned long handle);

/// Hands the formats of a device to `enumerator` on the calling thread: its sound formats, then its
/// picture formats, the widest first.
///
/// The first call for a device looks them up and may run the device for a moment to see its first
/// frame: five seconds at most for that, and a few more for a device that is slow to open or to
/// stop. On the thread that loaded the library events go on being handled meanwhile. The answer is
/// kept for the life of the process, also for an unplugged device. So ask before the first capture:
/// a camera that is captured from already shows the list nothing of what it delivers.
/// Pictures smaller than the device's own are standard sizes that it can be asked for.
///
/// Not to be called by two threads at a time.
///
/// \return false for an invalid handle or a null enumerator, for a device without an identifier of
///         its own, or when the device is known to have no format from a call before
ZORVEX_API bool ZRVXDeviceFormatEnumerate(unsigned long handle,
                                          IZRVXDeviceFormatEnumerator* enumerator);

/// Takes the device for this process; true at once when it is open already.
///
/// \return false for an invalid handle, or when the device is busy (see
///         ZRVXDeviceIsUsedByAnotherApplication), unplugged (see ZRVXDeviceIsConnected), not
///         permitted to this user, or does not answer
ZORVEX_API bool ZRVXDeviceOpen(unsigned long handle);

/// Gives the device back to other processes. Stop a capture first: one that is left running stays
/// so without frames, also after the device is opened again, until it is stopped. False for an
/// invalid handle, else true.
ZORVEX_API bool ZRVXDeviceClose(unsigned long handle);

/// Gives back the separate sound device that ZRVXDeviceStartCaptureWithAudioDevice attached. The
/// whole capture of the handle stops, pictures too, and is not started again; a recording stays
/// open, and the next start goes on with it, unless ZRVXDeviceStopRecording is called before.
///
/// \return false for an invalid handle, when the capture does not stop, or when no device was found
///         for the name that was attached; else true, also when none was attached
ZORVEX_API bool ZRVXDeviceCloseAudioDevice(unsigned long handle);

/// The same for every device handle. True when each of them gave true.
ZORVEX_API bool ZRVXDeviceCloseAllAudioDevices();

/// Whether this process holds the device open; unplugging does not change it. False for an invalid
/// handle.
ZORVEX_API bool ZRVXDeviceIsOpened(unsigned long handle);

/// Whether the device delivers the given kind of media. False for an invalid handle.
ZORVEX_API bool ZRVXDeviceHasMediaType(unsigned long handle, ZRVXDeviceMediaType mediaType);

/// Whether the device has a tape transport. False for an invalid handle.
ZORVEX_API bool ZRVXDeviceIsTransportAvailable(unsigned long handle);

/// What the tape does now. A deck may be asked and take a second to answer.
///
/// \return ZRVXDeviceTransportModeStop for an invalid handle, ZRVXDeviceTransportModeUnavailable
///         for a device without a transport or a deck that does not answer. A mode that was set
///         reads back as it was set. A tape that plays at another speed, slow motion and reverse
///         play included, reads as fast play in its direction
ZORVEX_API ZRVXDeviceTransportMode ZRVXDeviceGetTransportMode(unsigned long handle);

/// Tells the tape what to do; every value outside 1 to 5 stops it. Nothing tells whether the device
/// could: ask for the mode. Does nothing for an invalid handle or without a transport.
ZORVEX_API void ZRVXDeviceSetTransportMode(unsigned long handle, ZRVXDeviceTransportMode mode);

/// Starts delivery to the callbacks and, with a path, recording. Open the device before.
///
/// On a device that captures already it adds what is missing and keeps the rest: the first
/// callbacks stay with their data.
///
/// \param handle             the device
/// \param videoCallBack      receives the frames; null for none
/// \param videoCallBackData  handed to it untouched
/// \param pixelFormat        four-character code wanted; 0 leaves the device's own, without
///                           conversion and without a copy
/// \param width              in pixels; 0 leaves the device's own
/// \param height             in pixels; 0 leaves the device's own
/// \param audioCallBack      receives the sound; null for none. Where audio capture is unsupported
///                           the capture goes on without it
/// \param audioCallBackData  handed to it untouched
/// \param audioFormatFlags   linear PCM flags wanted; 0 for 12, signed packed integers
/// \param sampleRate         in Hz; 0 for 44100
/// \param channels           wanted; 0 for 2
/// \param bytesPerSample     wanted; 0 for 2
/// \param movieFile          path of a movie file to record the device's stream to, or null. The
///                           extension chooses the container: .mp4, .m4v, .mkv, .avi; .mov for any
///                           other and for none. An existing file is replaced. A recording that is
///                           longer than 54 minutes goes on in "name 2.mov" and so on (.mov, .mp4)
///
/// \return false for an invalid handle, when the device is not open, or when the movie file cannot
///         be written. True says that everything was set up; ZRVXDeviceIsCapturing tells whether
///         the device began to deliver. Called from inside a callback it returns before the device
///         begins. What a failed start left behind stays for the next one: after one that failed
///         because of its movie file, captures of this handle record nothing until one of them has
///         run and was stopped, or the handle was released
ZORVEX_API bool ZRVXDeviceStartCapture(unsigned long handle, ZRVXVideoCallBack videoCallBack,
                                       long videoCallBackData, unsigned int pixelFormat,
                                       unsigned long width, unsigned long height,
                                       ZRVXAudioCallBack audioCallBack, long audioCallBackData,
                                       unsigned int audioFormatFlags, unsigned long sampleRate,
                                       unsigned long channels, unsigned long bytesPerSample,
                                       char const* movieFile);

/// The same, with sound from another device. A device that carries sound itself goes on supplying
/// it, and the other one is then ignored.
///
/// \param audioDeviceName  display name of a sound device, not null. Where none is found, it cannot
///                         be opened, or another handle of this process captures from it, the
///                         capture goes without sound. A name that differs from the one attached,
///                         be it in the case of a letter, stops the session and attaches anew
///
/// \return as ZRVXDeviceStartCapture; false also for an empty audioDeviceName
ZORVEX_API bool ZRVXDeviceStartCaptureWithAudioDevice(
    unsigned long handle, char const* audioDeviceName, ZRVXVideoCallBack videoCallBack,
    long videoCallBackData, unsigned int pixelFormat, unsigned long width, unsigned long height,
    ZRVXAudioCallBack audioCallBack, long audioCallBackData, unsigned int audioFormatFlags,
    unsigned long sampleRate, unsigned long channels, unsigned long bytesPerSample,
    char const* movieFile);

/// Ends capture and recording; the movie file is finalised. No callback begins after it returned,
/// and none is in progress, except the one that it was called from. It returns within a few
/// seconds also when the device hangs or is gone; only then, or when a callback itself does not
/// return for that long, may that callback still be in progress.
///
/// Does nothing when the device is not capturing or was closed. False for an invalid handle, else
/// true.
ZORVEX_API bool ZRVXDeviceStopCapture(unsigned long handle);

/// Ends the delivery to the callbacks and finalises the movie file, while the device goes on
/// running. A callback that is in progress goes on, and can no longer be waited for: invalidate it
/// before, where that matters. False for an invalid handle, else true.
ZORVEX_API bool ZRVXDeviceStopRecording(unsigned long handle);

/// Whether a capture runs: true from a successful start to the stop, also when the device was
/// unplugged in between. False for an invalid handle.
ZORVEX_API bool ZRVXDeviceIsCapturing(unsigned long handle);

/// Copies the time code of the latest frame.
///
/// \param timeCode  receives it, unchanged when there is none; may be null
/// \return false for an invalid handle, when no capture with a video callback runs, or when the
///         latest frame carried no time code
ZORVEX_API bool ZRVXDeviceGetSMPTETime(unsigned long handle, SMPTETime* timeCode);

/// Cuts a video callback off. When it returns, the callback is not in progress (except when it is
/// the caller) and will not be called again, so what it uses may be freed.
///
/// The two arguments are compared on their own: where only `data` is that of the running capture,
/// its callback stays and is called with data 0 from now on.
///
/// \return whether one of them matched; false for an invalid handle or when no capture with a video
///         callback runs
ZORVEX_API bool ZRVXDeviceInvalidateCaptureVideoCallBack(unsigned long handle,
                                                         ZRVXVideoCallBack callBack, long data);

/// The same for a sound callback.
///
/// \return whether one of the two matched; false for an invalid handle or when no capture with a
///         sound callback runs
ZORVEX_API bool ZRVXDeviceInvalidateCaptureAudioCallBack(unsigned long handle,
                                                         ZRVXAudioCallBack callBack, long data);

/// Whether the device is plugged in. False for an invalid handle.
ZORVEX_API bool ZRVXDeviceIsConnected(unsigned long handle);

/// Whether another process holds the device. False for an invalid handle.
ZORVEX_API bool ZRVXDeviceIsUsedByAnotherApplication(unsigned long handle);

/// A time code in milliseconds: its hours, minutes and seconds, and its frames divided by the rate
/// of its type; a type that is not known counts 25 frames a second. Numbers that drop-frame
/// counting leaves out are not made up for. Modulo 2 to the 32nd; subframes are ignored.
///
/// \param timeCode  must not be null
ZORVEX_API unsigned int ZRVXDeviceSMPTE2Milliseconds(SMPTETime const* timeCode);

}  // extern "C"

#endif  // ZORVEX_CAPTURE_ZORVEX_H
