// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "foundation/debug/debug.h"
#include "foundation/store/uricodec.h"
#include "foundation/store/usersettings.h"
#include "foundation/system/desktop.h"
#include "foundation/text/stringformat.h"
#include "platform/systemversion.h"

namespace {

constexpr std::size_t kAddressSize = 2085;  // the longest address that is safe with browsers

constinit std::mutex pageMutex;
constinit char page[kAddressSize] = "";

void CopyPage(char* dest) {
  const std::lock_guard lock(pageMutex);
  const char* const configured = *page != '\0' ? page : std::getenv("ZORVEX_BUG_REPORT_PAGE");
  tplsnprintf(dest, kAddressSize, "%s", configured);
}

}  // namespace

void LDebugSetBugReportPage(const char* address) {
  const std::lock_guard lock(pageMutex);
  tplsnprintf(page, sizeof page, "%s", address);
}

void LDebugHangDetectorBugReport(bool /*unused*/) {
  char address[kAddressSize];
  CopyPage(address);
  const std::size_t length = std::strlen(address);
  if (length == 0) return;
  char installation[260];
  _LUserSettingGetString("Software", "IID", "", installation);
  const SystemVersion version = ReadSystemVersion();
  LFixedLengthStringWriterTemplate<char> writer(address + length, kAddressSize - 1 - length);
  sprintf(writer, "%csoftware=LZorvex&version=8&xi=AbTermOrHang-Mac%d%02d&iid=",
          std::strchr(address, '?') == nullptr ? '?' : '&', version.major, version.minor);
  LURIEncodeToWriter(writer, static_cast<const char*>(installation));
  address[length + writer.Length()] = '\0';
  LOpenWebPage(address);
}
