// SPDX-License-Identifier: MIT
//
// The formats of a device: what its platform tells of it, completed by what its first frame tells
// and by smaller standard sizes.
#include "capture/zorvexdeviceformat.h"

#include <algorithm>
#include <cstdlib>

#include "capture/contained.h"
#include "capture/truncated.h"
#include "capture/zorvexdevicedata.h"
#include "capture/zorvexformatprobe.h"

namespace {

constexpr std::uint32_t kBGRA = FourCharCode("BGRA");

struct Size {
  unsigned long width;
  unsigned long height;
};
constexpr Size kMuxedSize{720, 576};
constexpr Size kDefaultSize{640, 480};
constexpr Size resolutions[] = {{160, 120}, {320, 240},  {352, 288},
                                {640, 480}, {1280, 720}, {1920, 1080}};

/// The formats of each device that was enumerated.
constinit ZRVXDeviceDataList<ZRVXDeviceFormatHolder> DevicesFormats;
/// The format of the first frame of each device that is not muxed; of type 0 where there came none.
constinit ZRVXDeviceDataList<ZRVXDeviceFormat> DefaultVideoFormats;

/// Keeps a device open for a scope; closes only what it opened.
class OpenScope {
 public:
  explicit OpenScope(QTCaptureDevice& device)
      : device_(device), wasOpen_(device.IsOpen()), isOpen_(wasOpen_ || device.Open()) {}
  OpenScope(const OpenScope&) = delete;
  OpenScope& operator=(const OpenScope&) = delete;
  ~OpenScope() {
    if (isOpen_ && !wasOpen_) device_.Close();
  }
  bool IsOpen() const { return isOpen_; }

 private:
  QTCaptureDevice& device_;
  const bool wasOpen_;
  const bool isOpen_;
};

bool ZRVXDeviceFormatEnumerateEx(QTCaptureDevice& device, const QTFormatDescription* description,
                                 IZRVXDeviceFormatEnumerator& enumerator);

bool EnumerateStreams(QTCaptureDevice& device, IZRVXDeviceFormatEnumerator& enumerator) {
  const OpenScope open(device);
  if (!open.IsOpen()) return false;
  const auto input = CapturePlatform::Current().NewDeviceInput(&device);
  for (const Retained<QTCaptureConnection>& connection : input->Connections()) {
    if (!connection) continue;
    if (!ZRVXDeviceFormatEnumerateEx(device, connection->FormatDescription(), enumerator)) {
      return false;
    }
  }
  return true;
}

/// The format of the device's first frame, of type 0 when there came none: asked of the device once
/// in the life of the process, whatever came of it.
ZRVXDeviceFormat DefaultVideoFormat(QTCaptureDevice& device) {
  char const* const uniqueID = device.UniqueID();
  if (!uniqueID) return {};
  if (const ZRVXDeviceFormat* known = DefaultVideoFormats.Find(uniqueID)) return *known;
  ZRVXDeviceFormat& format = DefaultVideoFormats.Add(uniqueID);
  ProbeVideoFormat(device, format);
  return format;
}

/// The device's own format, which heads its list.
ZRVXDeviceFormat OwnVideoFormat(QTCaptureDevice& device, const QTFormatDescription& description) {
  // Muxed devices are not probed: a tape that stands still sends no frames.
  if (device.HasMediaType(QTMediaType::QTMediaTypeMuxed)) {
    return {kBGRA, kMuxedSize.width, kMuxedSize.height, 0};
  }
  const ZRVXDeviceFormat seen = DefaultVideoFormat(device);
  if (seen.nFormatType != 0) return seen;
  const auto& size =
      description.FormatDescriptionAttributes().QTFormatDescriptionVideoEncodedPixelsSizeAttribute;
  return size ? ZRVXDeviceFormat(kBGRA, Truncated(size->width), Truncated(size->height), 0)
              : ZRVXDeviceFormat(kBGRA, kDefaultSize.width, kDefaultSize.height, 0);
}

bool EnumerateVideo(QTCaptureDevice& device, const QTFormatDescription& description,
                    IZRVXDeviceFormatEnumerator& enumerator) {
  const ZRVXDeviceFormat own = OwnVideoFormat(device, description);
  if (!enumerator.OnDeviceFormatVideo(own.nFormatType, own.nWidth, own.nHeight)) return false;
  return std::ranges::all_of(resolutions, [&](const Size& size) {
    const bool isSmaller = size.width < own.nWidth && size.height < own.nHeight;
    return !isSmaller || enumerator.OnDeviceFormatVideo(own.nFormatType, size.width, size.height);
  });
}

/// One description; false when it could not be looked into or the enumerator has enough.
bool ZRVXDeviceFormatEnumerateEx(QTCaptureDevice& device, const QTFormatDescription* description,
                                 IZRVXDeviceFormatEnumerator& enumerator) {
  if (!description) return true;
  switch (description->MediaType()) {
    case QTMediaType::QTMediaTypeSound:
      return enumerator.OnDeviceFormatAudio(description->FormatType());
    case QTMediaType::QTMediaTypeMuxed:
      return EnumerateStreams(device, enumerator);
    case QTMediaType::QTMediaTypeVideo:
      return EnumerateVideo(device, *description, enumerator);
    case QTMediaType::QTMediaTypeOther:
      break;
  }
  return true;
}

bool EnumerateDevice(QTCaptureDevice& device, IZRVXDeviceFormatEnumerator& enumerator) {
  char const* const uniqueID = device.UniqueID();
  if (!uniqueID) return false;
  if (const ZRVXDeviceFormatHolder* known = DevicesFormats.Find(uniqueID)) {
    known->EnumerateFormats(enumerator);
    return known->IsValid();
  }
  ZRVXDeviceFormatHolder& holder = DevicesFormats.Add(uniqueID);
  for (const Retained<QTFormatDescription>& description : device.FormatDescriptions())
    ZRVXDeviceFormatEnumerateEx(device, description.get(), holder);
  holder.Sort();
  holder.EnumerateFormats(enumerator);
  // Deliberate: the first time true also without any format, which the lookup above calls false.
  return true;
}

}  // namespace

bool ZRVXDeviceFormatSet::Add(ZRVXDeviceFormat const& format) {
  ZRVXDeviceFormat* const end = Formats + nCount;
  if (std::find(Formats, end, format) != end || nCount == kCapacity) return false;
  *end = format;
  ++nCount;
  return true;
}

void ZRVXDeviceFormatSet::Sort() {
  std::qsort(Formats, nCount, sizeof Formats[0], CompareFunc);
}

int ZRVXDeviceFormatSet::CompareFunc(void const* a, void const* b) {
  const auto& first = *static_cast<ZRVXDeviceFormat const*>(a);
  const auto& second = *static_cast<ZRVXDeviceFormat const*>(b);
  if (first.nWidth != second.nWidth) return first.nWidth > second.nWidth ? -1 : 1;
  if (first.nHeight != second.nHeight) return first.nHeight > second.nHeight ? -1 : 1;
  if (first.nFormatType != second.nFormatType) {
    return first.nFormatType < second.nFormatType ? -1 : 1;
  }
  return 0;
}

bool ZRVXDeviceFormatHolder::OnDeviceFormatAudio(unsigned int format) {
  Audio.Add({format, 0, 0, 0});
  return true;
}

bool ZRVXDeviceFormatHolder::OnDeviceFormatVideo(unsigned int pixelFormat, unsigned long width,
                                                 unsigned long height) {
  Video.Add({pixelFormat, width, height, 0});
  return true;
}

void ZRVXDeviceFormatHolder::Sort() {
  Audio.Sort();
  Video.Sort();
}

void ZRVXDeviceFormatHolder::EnumerateFormats(IZRVXDeviceFormatEnumerator& enumerator) const {
  for (unsigned long i = 0; i < Audio.Count(); ++i) {
    if (!enumerator.OnDeviceFormatAudio(Audio[i].nFormatType)) break;
  }
  for (unsigned long i = 0; i < Video.Count(); ++i) {
    const ZRVXDeviceFormat& format = Video[i];
    if (!enumerator.OnDeviceFormatVideo(format.nFormatType, format.nWidth, format.nHeight)) break;
  }
}

bool ZRVXDeviceFormatChecker::OnDeviceFormatAudio(unsigned int) {
  bAudio = true;
  return true;
}

bool ZRVXDeviceFormatChecker::OnDeviceFormatVideo(unsigned int, unsigned long, unsigned long) {
  bVideo = true;
  return true;
}

bool ZRVXDeviceFormatEnumeratorVoid::OnDeviceFormatAudio(unsigned int) {
  return true;
}

ZRVXDeviceVideoFormatChecker::ZRVXDeviceVideoFormatChecker(unsigned int pixelFormat,
                                                           unsigned long width,
                                                           unsigned long height)
    : nFormatType(pixelFormat), nWidth(width), nHeight(height) {}

bool ZRVXDeviceVideoFormatChecker::OnDeviceFormatVideo(unsigned int, unsigned long width,
                                                       unsigned long height) {
  if (width == nWidth && height == nHeight) bFound = true;
  return true;
}

bool ZRVXDeviceFormatEnumerateEx(QTCaptureDevice* device, IZRVXDeviceFormatEnumerator* enumerator) {
  if (!device || !enumerator) return false;
  return Contained(false, [&] { return EnumerateDevice(*device, *enumerator); });
}
