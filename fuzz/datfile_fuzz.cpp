// SPDX-License-Identifier: MIT
// Whatever is in a dat file, loading it gives what a slow and obvious reader gives, and what is
// saved of it loads as the same again.
#include <strings.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/store/datfilenative.h"

namespace {

struct Section {
  std::string name;
  std::vector<std::pair<std::string, std::string>> items;
};
using Model = std::vector<Section>;

void Require(bool condition) {
  if (!condition) std::abort();
}

std::string Cut(std::string_view text) {
  return std::string(text.substr(0, 259));
}

bool IsSame(const std::string& a, const std::string& b) {
  return strcasecmp(a.c_str(), b.c_str()) == 0;
}

std::vector<std::string> LinesOf(std::string_view text) {
  std::vector<std::string> lines(1);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r' && text[i] != '\n') {
      lines.back() += text[i];
      continue;
    }
    const bool isPair = i + 1 < text.size() && text[i] + text[i + 1] == '\r' + '\n';
    i += isPair ? 1 : 0;
    lines.emplace_back();
  }
  for (std::string& line : lines)
    line.resize(strnlen(line.c_str(), std::min<std::size_t>(line.size(), 551)));
  return lines;
}

Model Load(std::string_view text) {
  Model model;
  std::size_t current = 0;
  for (const std::string& line : LinesOf(text)) {
    const std::size_t equals = line.find('=');
    if (line[0] == '[') {
      const std::string name = Cut(line.substr(1, line.find(']') - 1));
      for (current = 0; current < model.size(); ++current)
        if (IsSame(model[current].name, name)) break;
      if (current == model.size()) model.push_back({name, {}});
    } else if (!model.empty() && equals != std::string::npos) {
      const std::string name = Cut(line.substr(0, equals)), value = Cut(line.substr(equals + 1));
      auto& items = model[current].items;
      std::size_t i = 0;
      while (i < items.size() && !IsSame(items[i].first, name))
        ++i;
      if (i == items.size()) items.emplace_back(name, "");
      items[i].second = value;
    }
  }
  return model;
}

std::string TextOf(const Model& model) {
  std::string text;
  for (const Section& section : model) {
    text += "[" + section.name + "]\r\n";
    for (const auto& [name, value] : section.items)
      text.append(name).append("=").append(value).append("\r\n");
    text += "\r\n";
  }
  return text;
}

class MemoryFile {
 public:
  MemoryFile() : descriptor_(memfd_create("datfile", MFD_CLOEXEC)) {}
  ~MemoryFile() { close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  int Descriptor() const { return descriptor_; }
  std::string Path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }
  void Write(const void* data, std::size_t size) const {
    Require(pwrite(descriptor_, data, size, 0) == static_cast<ssize_t>(size));
  }
  std::string Contents() const {
    std::string text(static_cast<std::size_t>(lseek(descriptor_, 0, SEEK_END)), 0);
    Require(pread(descriptor_, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
    return text;
  }

 private:
  const int descriptor_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const Model model = Load(text);
  const MemoryFile input;
  input.Write(data, size);
  LDatFileNativeFile file(input.Path().c_str());
  file.ReloadIfChanged();
  for (const Section& section : model) {
    for (const auto& [name, value] : section.items) {
      char out[260];
      file.GetValue(section.name.c_str(), name.c_str(), "?", out);
      Require(out == value);
    }
  }
  file.Save();
  const std::string saved = input.Contents();
  Require(saved == TextOf(model));
  Require(TextOf(Load(saved)) == saved);

  // As merged into what is there already: nothing changes.
  const MemoryFile again;
  again.Write(data, size);
  file.Load(LReadFileRef(again.Descriptor()));
  file.Save();
  Require(input.Contents() == saved);
  return 0;
}
