// SPDX-License-Identifier: MIT
//
// Who may include whom. Arrows point down: tools and examples, capture, platform backends behind
// the platform's interfaces, foundation; third-party headers stay inside the backend that wraps
// them.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <set>
#include <string>

namespace {

namespace fs = std::filesystem;

const fs::path root = ZORVEX_SOURCE_DIR;

// Not the system's own platform, which names the backends.
#define INTERFACES R"(platform/(?!systemplatform)[^/]*\.h)"
#define GSTREAMER R"(gst/.*|glib.*|gobject/.*|gio/.*)"

/// The first layer that a file matches holds for it.
struct Layer {
  const char* files;
  const char* project;    // headers of the project that it may include
  const char* libraries;  // third-party headers that it may include
};
constexpr Layer layers[] = {
    {"capture/.*", R"(capture/.*|foundation/threads/.*|foundation/export\.h|)" INTERFACES, ""},
    {"foundation/.*", "foundation/.*|" INTERFACES, ""},
    {R"(platform/systemplatform\.h)", "platform/.*", ""},
    {INTERFACES, R"(foundation/export\.h|)" INTERFACES, ""},
    {R"(platform/[^/]*\.cpp)", "platform/.*", ""},
    {"platform/gstreamer/.*", "platform/gstreamer/.*|" INTERFACES, GSTREAMER},
    {"platform/audioconverter/.*", "platform/audioconverter/.*|" INTERFACES, ""},
    {"platform/avc/.*", "platform/avc/.*|" INTERFACES, ""},
    {"platform/(v4l2|sound|dv)/.*", "platform/(v4l2|sound|dv|gstreamer)/.*|" INTERFACES, GSTREAMER},
    {"platform/gpuprobe/.*", "platform/gpuprobe/.*", "(EGL|vulkan)/.*"},
    {"platform/simulated/.*", "platform/(simulated|gstreamer|avc|dv)/.*|" INTERFACES, GSTREAMER},
    {"platform/firewire/.*", "platform/(firewire|gstreamer|avc|dv)/.*|" INTERFACES, GSTREAMER},
    {"platform/linux/.*", "platform/linux/.*|" INTERFACES, R"(glib.*|sqlite3\.h)"},
    {"tools/.*", "tools/.*|installed", ".*"},
    {"examples/.*", "examples/.*|installed", ".*"},
};

bool Matches(const std::string& text, const char* pattern) {
  return std::regex_match(text, std::regex(pattern));
}

/// Headers of the C and C++ libraries and of the kernel; a folder in a name is a third party's
/// unless it is one of theirs.
bool IsSystemHeader(const std::string& header) {
  if (header.find('.') == std::string::npos) return true;
  if (Matches(header, "(sys|linux|arpa|net|netinet|asm|bits)/.*")) return true;
  return header.find('/') == std::string::npos && !Matches(header, R"((sqlite3|png|glib.*)\.h)");
}

/// Paths below include/ of an installed copy.
std::set<std::string> InstalledHeaders() {
  std::ifstream file(root / "cmake/ZorvexLibrary.cmake");
  const std::string text(std::istreambuf_iterator<char>(file), {});
  std::set<std::string> headers{"zorvex/zorvex.h", "zorvex/foundation.h"};
  const std::regex name(R"(\n  ([a-z/0-9]+\.h))");
  for (std::sregex_iterator match(text.begin(), text.end(), name), end; match != end; ++match) {
    headers.insert("zorvex/" + match->str(1));
  }
  return headers;
}

/// `include` as it stands in the source, with its quotes or brackets.
bool IsAllowed(const std::string& file, const std::string& include) {
  static const std::set<std::string> installed = InstalledHeaders();
  const auto* layer = std::begin(layers);
  while (layer != std::end(layers) && !Matches(file, layer->files))
    ++layer;
  if (layer == std::end(layers)) return false;

  std::string header = include.substr(1, include.size() - 2);
  const bool isInstalled = include.front() == '<' && header.starts_with("zorvex/");
  if (include.front() == '<' && !isInstalled) {
    return IsSystemHeader(header) || Matches(header, layer->libraries);
  }
  if (isInstalled) {
    if (!installed.contains(header)) return false;
    if (Matches("installed", layer->project)) return true;
    header = header == "zorvex/zorvex.h"       ? "capture/zorvex.h"
             : header == "zorvex/foundation.h" ? "foundation/foundation.h"
                                               : header.substr(std::string("zorvex/").size());
  }
  return Matches(header, layer->project);
}

TEST(Layering, TheRulesTellGoodFromBad) {
  struct {
    const char* file;
    const char* include;
    bool expected;
  } const rows[] = {
      {"capture/zorvex.cpp", "\"platform/captureplatform.h\"", true},
      {"capture/zorvex.cpp", "<zorvex/platform/nsobject.h>", true},
      {"capture/zorvex.cpp", "<pthread.h>", true},
      {"capture/zorvex.cpp", "<atomic>", true},
      {"capture/zorvex.cpp", "\"foundation/threads/lockobject.h\"", true},
      {"capture/zorvex.cpp", "\"foundation/text/stringformat.h\"", false},
      {"capture/zorvex.cpp", "<zorvex/foundation.h>", false},
      {"capture/zorvex.cpp", "\"platform/gstreamer/pipeline.h\"", false},
      {"capture/zorvex.cpp", "<gst/gst.h>", false},
      {"capture/zorvex.cpp", "<boost/any.hpp>", false},
      {"foundation/threads/thread.cpp", "\"platform/eventqueue.h\"", true},
      {"foundation/threads/thread.cpp", "\"platform/linux/eventqueue.h\"", false},
      {"foundation/threads/thread.cpp", "<zorvex/zorvex.h>", false},
      {"foundation/store/settings.cpp", "<sqlite3.h>", false},
      {"platform/cvpixelbuffer.h", "<glib.h>", false},
      {"platform/cvpixelbuffer.h", "\"capture/zorvex.h\"", false},
      {"platform/cvpixelbuffer.h", "\"platform/gstreamer/pipeline.h\"", false},
      {"platform/captureplatform.cpp", "\"platform/gstreamer/gstreamerplatform.h\"", true},
      {"platform/captureplatform.cpp", "<gst/gst.h>", false},
      {"platform/gstreamer/pipeline.cpp", "<gst/gst.h>", true},
      {"platform/gstreamer/pipeline.cpp", "\"platform/simulated/framepacer.h\"", false},
      {"platform/gstreamer/pipeline.cpp", "<sqlite3.h>", false},
      {"platform/linux/preferences.cpp", "<sqlite3.h>", true},
      {"platform/quicktime/device.cpp", "<atomic>", false},
      {"tools/main.cpp", "<zorvex/zorvex.h>", true},
      {"tools/main.cpp", "<CLI/CLI.hpp>", true},
      {"tools/main.cpp", "\"capture/zorvex.h\"", false},
      {"tools/main.cpp", "<zorvex/capture/zorvexvideodelegate.h>", false},
      {"examples/hello.cpp", "\"platform/nsobject.h\"", false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(IsAllowed(row.file, row.include), row.expected) << row.file << ' ' << row.include;
  }
}

TEST(Layering, TheSourcesKeepToTheRules) {
  const std::regex directive(R"(\s*#\s*include\s*(<[^>]+>|"[^"]+").*)");
  for (const char* folder : {"capture", "foundation", "platform", "tools", "examples"}) {
    int includes = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
      if (!Matches(entry.path().extension(), R"(\.(h|cpp))")) continue;
      const std::string file = fs::relative(entry.path(), root);
      std::ifstream source(entry.path());
      for (std::string line; std::getline(source, line);) {
        std::smatch match;
        if (!std::regex_match(line, match, directive)) continue;
        ++includes;
        EXPECT_TRUE(IsAllowed(file, match[1])) << file << " must not include " << match[1];
      }
    }
    EXPECT_GT(includes, 0) << folder;
  }
}

}  // namespace
