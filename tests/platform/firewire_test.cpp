// SPDX-License-Identifier: MIT
//
// Tape units on a bus of the test's own, as the kernel shows one: a folder with what it knows of
// the units, and device files. Units come and go, the bus is reset at the wrong moment, and not
// everybody answers as they should.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/firewire-cdev.h>
#include <linux/firewire-constants.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>

#include "platform/devicelist.h"
#include "platform/firewire/firewireprovider.h"
#include "platform/firewire/kernelbus.h"
#include "platform/firewire/unitchannel.h"
#include "platform/fourcharcode.h"
#include "platform/gstreamer/gstpointer.h"
#include "platform/uniquefd.h"

namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;
using firewire::FireWireDevice;
using firewire::FireWireNode;
using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;

constexpr __u32 kUnitNode = 0xffc1, kOtherNode = 0xffc2, kGeneration = 7;

template <class Event>
Bytes AsBytes(const Event& event) {
  const auto* first = reinterpret_cast<const std::uint8_t*>(&event);
  return {first, first + sizeof event};
}

/// What the kernel's device file gives to read.
Bytes Frame(const Bytes& frame, __u32 node = kUnitNode, __u64 offset = 0xfffff0000d00) {
  fw_cdev_event_request2 event{};
  event.type = FW_CDEV_EVENT_REQUEST2;
  event.offset = offset;
  event.source_node_id = node;
  event.generation = kGeneration;
  event.length = static_cast<__u32>(frame.size());
  constexpr std::size_t kHeader = offsetof(fw_cdev_event_request2, data);
  Bytes bytes(kHeader + frame.size());
  std::memcpy(bytes.data(), &event, kHeader);
  std::copy(frame.begin(), frame.end(), bytes.begin() + kHeader);
  return bytes;
}
Bytes WriteDone(__u32 code = RCODE_COMPLETE) {
  fw_cdev_event_response event{};
  event.type = FW_CDEV_EVENT_RESPONSE;
  event.rcode = code;
  return AsBytes(event);
}
Bytes BusReset() {
  fw_cdev_event_bus_reset event{};
  event.type = FW_CDEV_EVENT_BUS_RESET;
  event.generation = kGeneration + 1;
  return AsBytes(event);
}

struct Unit {
  Bytes subunits{0x20, 0xff, 0xff, 0xff};
  Bytes state{0x0c, 0x20, 0xc4, 0x60};
  bool isSilent = false;
  /// For each exchange what can be read; without one the unit answers as its kind does.
  std::deque<std::vector<Bytes>> script{};
};

/// The kernel's side. Streams come from a description in place of the receiving elements.
class Machine final : public firewire::FireWireBus {
 public:
  Machine() {
    std::string name = (fs::temp_directory_path() / "zorvex-firewire-XXXXXX").string();
    folder = mkdtemp(name.data());
    fs::create_directories(folder / "dev");
    bus_ = std::make_unique<firewire::KernelBus>(folder / "sys", folder / "dev");
    current = this;
  }
  ~Machine() override {
    current = nullptr;
    fs::remove_all(folder);
  }

  Unit& Plug(const std::string& name, const std::string& guid,
             const std::string& kind = "0x00a02d:0x010001",
             const std::map<std::string, std::string>& files = {}) {
    fs::create_directories(folder / "sys" / name);
    for (const auto& [file, text] : files)
      std::ofstream(folder / "sys" / name / file) << text << '\n';
    std::ofstream(folder / "sys" / name / "units") << kind << '\n';
    std::ofstream(folder / "sys" / name / "guid") << guid << '\n';
    mkfifo((folder / "dev" / name).c_str(), 0600);
    return units_[name] = Unit();
  }
  void Unplug(const std::string& name) {
    fs::remove_all(folder / "sys" / name);
    fs::remove(folder / "dev" / name);
  }
  std::vector<Bytes> Sent() { return std::exchange(sent_, {}); }

  std::vector<FireWireNode> Nodes() override { return bus_->Nodes(); }
  std::unique_ptr<firewire::FcpLink> Open(const FireWireNode& node) override {
    return bus_->Open(node);
  }
  GstElement* NewStream(std::uint64_t, bool isHdv) override {
    return isHdv ? gst_parse_bin_from_description(stream.c_str(), TRUE, nullptr) : nullptr;
  }

  int Control(int file, unsigned long request, void* argument);

  static std::atomic<Machine*> current;
  fs::path folder;
  std::string stream;

 private:
  std::vector<Bytes> Answer(Unit& unit, const Bytes& command);

  std::unique_ptr<firewire::KernelBus> bus_;
  std::mutex mutex_;
  std::map<std::string, Unit> units_;
  std::vector<Bytes> sent_;
};
std::atomic<Machine*> Machine::current = nullptr;

std::vector<Bytes> Machine::Answer(Unit& unit, const Bytes& command) {
  if (unit.isSilent) return {WriteDone()};
  if (!unit.script.empty()) {
    auto next = std::move(unit.script.front());
    unit.script.pop_front();
    return next;
  }
  Bytes answer = command;
  answer[0] = command[0] == 0x01 ? 0x0c : 0x09;
  if (command[2] == 0x31) std::copy(unit.subunits.begin(), unit.subunits.end(), &answer[4]);
  if (command[2] == 0x78) answer[3] = 0x90;
  if (command[2] == 0xd0) answer = unit.state;
  return {WriteDone(), Frame(answer)};
}

int Machine::Control(int file, unsigned long request, void* argument) {
  const std::lock_guard lock(mutex_);
  const fs::path path = fs::read_symlink("/proc/self/fd/" + std::to_string(file));
  if (request == FW_CDEV_IOC_GET_INFO) {
    auto* info = static_cast<fw_cdev_get_info*>(argument);
    EXPECT_GE(info->version, 4u);
    info->version = 5;
    auto* bus = reinterpret_cast<fw_cdev_event_bus_reset*>(info->bus_reset);
    bus->node_id = kUnitNode;
    bus->generation = kGeneration;
  } else if (request == FW_CDEV_IOC_ALLOCATE) {
    const auto* area = static_cast<fw_cdev_allocate*>(argument);
    EXPECT_EQ(area->offset, 0xfffff0000d00u);
    EXPECT_EQ(area->region_end, area->offset + area->length);
  } else if (request == FW_CDEV_IOC_SEND_REQUEST) {
    const auto* write = static_cast<fw_cdev_send_request*>(argument);
    EXPECT_EQ(write->offset, 0xfffff0000b00u);
    EXPECT_EQ(write->generation, kGeneration);
    EXPECT_EQ(write->tcode, write->length == 4 ? 0u : 1u);
    const auto* data = reinterpret_cast<const std::uint8_t*>(write->data);
    sent_.emplace_back(data, data + write->length);
    const UniqueFd pipe(open(path.c_str(), O_WRONLY | O_NONBLOCK));
    fcntl(pipe.Get(), F_SETFL, O_DIRECT | O_NONBLOCK);  // one event for each read
    for (const Bytes& event : Answer(units_[path.filename()], sent_.back()))
      EXPECT_GT(::write(pipe.Get(), event.data(), event.size()), 0);
  } else {
    EXPECT_EQ(request, FW_CDEV_IOC_SEND_RESPONSE);
  }
  return 0;
}

}  // namespace

/// Stands in front of the C library's.
extern "C" int ioctl(int file, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  Machine* machine = Machine::current;
  if (machine && _IOC_TYPE(request) == '#') return machine->Control(file, request, argument);
  return static_cast<int>(syscall(SYS_ioctl, file, request, argument));
}

namespace {

constexpr char kGuid[] = "0x0800460102aa55ff";
constexpr std::uint64_t kGuidNumber = 0x0800460102aa55ff;
const Bytes kQuery{0x01, 0x20, 0xd0, 0x7f};
const Bytes kPlaying{0x0c, 0x20, 0xc3, 0x75};
const Bytes kPlay{0x00, 0x20, 0xc3, 0x75};
const Bytes kPause{0x00, 0x20, 0xc3, 0x7d};

TEST(UnitChannel, PicksTheAnswerOutOfWhatComesIn) {
  const Bytes refused{0x0a, 0x20, 0xd0, 0x7f};
  const Bytes interim = Frame({0x0f, 0x20, 0xd0, 0x7f}), accepted = Frame({0x09, 0x20, 0xc4, 0x60});
  const Bytes timeCode = Frame({0x0c, 0x20, 0x51, 0x71, 0, 0, 0, 0});
  const Bytes otherSubunit = Frame({0x0c, 0x28, 0xc3, 0x75});
  struct {
    std::vector<Bytes> incoming;
    std::optional<Bytes> answer;
  } const rows[] = {
      {{WriteDone(), Frame(kPlaying)}, kPlaying},
      {{Frame(refused), WriteDone()}, refused},
      {{WriteDone(), interim, Frame(kPlaying)}, kPlaying},
      {{WriteDone(), interim}, {}},
      {{WriteDone(), accepted, timeCode, otherSubunit, Frame(kPlaying)}, kPlaying},
      {{Frame(kPlaying, kOtherNode), Frame(kPlaying, kUnitNode, 0xfffff0000b00), Frame(refused)},
       refused},
      {{Frame({}), Frame({0x0c}), Frame({0x0c, 0x20}), Frame(Bytes(512, 0xff)), {0x06}}, {}},
      {{WriteDone(), interim, BusReset(), Frame(kPlaying)}, {}},
      {{WriteDone(RCODE_GENERATION), Frame(kPlaying)}, {}},
      {{}, {}},
  };
  const auto machine = std::make_shared<Machine>();
  for (const auto& row : rows) {
    machine->Plug("fw1", kGuid).script = {row.incoming};
    const auto start = Clock::now();
    EXPECT_EQ(firewire::UnitChannel(machine, kGuidNumber).Transact(kQuery, 80ms), row.answer);
    EXPECT_LT(Clock::now() - start, 700ms);
  }
  EXPECT_EQ(firewire::UnitChannel(machine, 1).Transact(kQuery, 80ms), std::nullopt);
}

TEST(UnitChannel, ABusResetCostsNoCommandAndRepeatsNoPause) {
  const auto machine = std::make_shared<Machine>();
  AvcTransport transport(std::make_shared<firewire::UnitChannel>(machine, kGuidNumber));
  Unit& unit = machine->Plug("fw1", kGuid);
  unit.script = {{BusReset()}};
  transport.SetControls({10000, 1});
  EXPECT_EQ(machine->Sent(), (std::vector<Bytes>{kPlay, kPlay}));
  unit.script = {{Frame(kPlaying)}, {BusReset()}};
  transport.SetControls({0, 1});
  EXPECT_EQ(machine->Sent(), (std::vector<Bytes>{kQuery, kPause}));
}

TEST(FireWireProvider, ListsWhatSendsPictures) {
  const auto machine = std::make_shared<Machine>();
  const std::string avc = "0x00a02d:0x010001";
  machine->Plug("fw0", "0x01", avc, {{"is_local", "1"}});  // this computer
  machine->Plug("fw1", kGuid, "0x00005e:0x000001 0x00a02d:0x014001",
                {{"vendor_name", "  Ac\xffme "}, {"model_name", "DV\t-1 \xc3\xa4\x01"}});
  machine->Plug("fw2", "0x0a", avc, {{"vendor_name", "Acme"}}).subunits = {0x38, 0x20};
  machine->Plug("fw2.0", "", "", {{"model_name", "Acme Deck"}});  // the name of a part of it
  machine->Plug("fw3", "0x0b").subunits = {0x38};                 // a camera without a tape
  machine->Plug("fw4", "0x0c").subunits = {0x08, 0x60};           // sound
  machine->Plug("fw5", "0x0d").isSilent = true;
  machine->Plug("fw6", "0x0e", "0x00a02d:0x010000", {{"model_name", "Converter"}}).isSilent = true;
  machine->Plug("fw7", "0x0f", "0x00a02d 0xx:0x1 : 0x00a02d:0x000102");  // an industrial camera
  machine->Plug("fw8", "garbage");
  machine->Plug("fw10", "0x11");
  fs::remove(machine->folder / "dev/fw10");
  struct {
    const char* name;
    const char* id;
    bool hasTransport;
  } const expected[] = {
      {"Acme Deck", "firewire:000000000000000a", true},
      {"DV Camcorder", "firewire:000000000000000b", false},
      {"Converter", "firewire:000000000000000e", false},
      {"Ac\xef\xbf\xbdme DV-1 \xc3\xa4", "firewire:0800460102aa55ff", true},
  };
  std::vector<std::unique_ptr<DeviceProvider>> providers;
  providers.push_back(std::make_unique<firewire::FireWireProvider>(machine));
  DeviceList list(std::move(providers));
  const auto start = Clock::now();
  const auto devices = list.Devices();
  EXPECT_LT(Clock::now() - start, 2s);
  ASSERT_EQ(devices.size(), std::size(expected));
  for (std::size_t i = 0; i < devices.size(); ++i) {
    EXPECT_STREQ(devices[i]->LocalizedDisplayName(), expected[i].name);
    EXPECT_STREQ(devices[i]->UniqueID(), expected[i].id);
    EXPECT_EQ(devices[i]->DeviceAttributes().QTCaptureDeviceAVCTransportControlsAttribute,
              expected[i].hasTransport);
  }
  // While nothing changes nobody is asked, the silent one neither.
  machine->Sent();
  list.Devices();
  EXPECT_TRUE(machine->Sent().empty());
  machine->Unplug("fw2");
  EXPECT_EQ(list.Devices().size(), std::size(expected));
  EXPECT_FALSE(devices[0]->IsConnected() || devices[0]->Open());
  machine->Plug("fw11", "0x0a");  // in another place
  EXPECT_EQ(list.Devices()[0].get(), devices[0].get());
  EXPECT_TRUE(devices[0]->IsConnected() && devices[0]->Open());
}

TEST(FireWireProvider, IsQuickAndSilentWithoutABus) {
  const auto provider = firewire::NewFireWireProvider();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const auto start = Clock::now();
  for (int i = 0; i < 1000 && !fs::exists("/sys/bus/firewire"); ++i)
    ASSERT_TRUE(provider->Devices().empty());
  EXPECT_LT(Clock::now() - start, 500ms);
  EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
}

Retained<FireWireDevice> NewDevice(const std::shared_ptr<Machine>& machine, bool hasTransport) {
  return MakeRetained<FireWireDevice>(machine, machine->Nodes().at(0), hasTransport);
}

TEST(FireWireDevice, BelongsToOneProcessAtATime) {
  const auto machine = std::make_shared<Machine>();
  machine->Plug("fw1", kGuid);
  // A lock is that of an open file: a second device is what a second process would be.
  const auto ours = NewDevice(machine, true), others = NewDevice(machine, true);
  ASSERT_TRUE(ours->Open());
  EXPECT_FALSE(ours->IsInUseByAnotherApplication());
  EXPECT_TRUE(others->IsInUseByAnotherApplication());
  EXPECT_FALSE(others->Open());
  ours->Close();
  EXPECT_FALSE(others->IsInUseByAnotherApplication());
  EXPECT_TRUE(others->Open());
}

/// Two recordings on one tape, programs of their own, and between them a piece without pictures.
std::string MakeTape(const fs::path& folder) {
  const std::string base = folder / "";
  const std::string ffmpeg = "ffmpeg -v error -i " + base;
  const std::string command =
      "ffmpeg -v error -f lavfi -i testsrc2=s=1440x1080:r=25 -f lavfi -i sine=r=48000 -t 1 "
      "-c:v mpeg2video -b:v 8M -c:a mp2 -ac 2 " +
      base + "1.ts && " + ffmpeg + "1.ts -vn -c copy -t 0.2 " + base + "2.ts && " + ffmpeg +
      "1.ts -c copy -mpegts_service_id 7 -mpegts_start_pid 0x900 " + base + "3.ts && cat " + base +
      "[123].ts > " + base + "tape.ts";
  return std::system(command.c_str()) == 0 ? base + "tape.ts" : "";
}

/// Runs a source with a sink at each of its pads.
class SourceRun {
 public:
  explicit SourceRun(GstElement* source)
      : pipeline_(static_cast<GstElement*>(gst_object_ref_sink(gst_pipeline_new(nullptr)))) {
    gst_bin_add(AsBin(pipeline_.get()), source);
    AddSink(source, "src", pictures, "video/x-raw,format=I420,width=1440,height=1080");
    AddSink(source, "sound", sounds, "audio/x-raw,layout=interleaved,rate=48000");
    gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING);
  }
  ~SourceRun() { gst_element_set_state(pipeline_.get(), GST_STATE_NULL); }

  /// The next message of these types; null when none comes.
  GstPointer<GstMessage> Await(int types) {
    const GstPointer<GstBus> bus(gst_element_get_bus(pipeline_.get()));
    return GstPointer<GstMessage>(
        gst_bus_timed_pop_filtered(bus.get(), 20 * GST_SECOND, static_cast<GstMessageType>(types)));
  }
  std::atomic<int> pictures = 0, sounds = 0;

 private:
  void AddSink(GstElement* source, const char* pad, std::atomic<int>& count, const char* format) {
    GstElement* sink = gst_element_factory_make("fakesink", nullptr);
    g_object_set(sink, "sync", FALSE, "async", FALSE, "signal-handoffs", TRUE, nullptr);
    g_signal_connect_swapped(sink, "handoff", G_CALLBACK(+[](std::atomic<int>* seen) { ++*seen; }),
                             &count);
    gst_bin_add(AsBin(pipeline_.get()), sink);
    const GstPointer<GstCaps> caps(gst_caps_from_string(format));
    EXPECT_TRUE(gst_element_link_pads_filtered(source, pad, sink, "sink", caps.get()));
  }
  const GstPointer<GstElement> pipeline_;
};

TEST(FireWireDevice, PlaysHdvOverRecordingsUntilItIsUnplugged) {
  gst_init(nullptr, nullptr);
  const auto machine = std::make_shared<Machine>();
  const std::string tape = MakeTape(machine->folder);
  ASSERT_FALSE(tape.empty());
  Unit& unit = machine->Plug("fw1", kGuid);
  const auto device = NewDevice(machine, true);
  ASSERT_TRUE(device->Open());
  EXPECT_FALSE(device->IsMediaExpected());
  unit.state = kPlaying;
  EXPECT_TRUE(device->IsMediaExpected());
  EXPECT_EQ(device->StreamDescriptions()[0]->FormatType(), FourCharCode("hdv3"));

  // To the end of the tape: what both recordings hold, and the end is told on both pads.
  machine->stream = "filesrc location=" + tape + " ! video/mpegts,systemstream=true";
  {
    const auto source = device->BeginStreaming({}, {});
    ASSERT_NE(source.element, nullptr);
    SourceRun run(source.element);
    const auto message = run.Await(GST_MESSAGE_EOS | GST_MESSAGE_ERROR);
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(GST_MESSAGE_TYPE(message.get()), GST_MESSAGE_EOS);
    EXPECT_GE(run.pictures, 48);  // of 50, without those that end in a piece
    EXPECT_GE(run.sounds, 86);    // of 91
  }
  device->EndStreaming();

  // A stream that would stop for ever when the unit goes.
  machine->stream = "appsrc is-live=true format=time ! video/mpegts,systemstream=true";
  const auto source = device->BeginStreaming({}, {});
  ASSERT_NE(source.element, nullptr);
  SourceRun run(source.element);
  machine->Unplug("fw1");
  EXPECT_NE(run.Await(GST_MESSAGE_ERROR), nullptr);
  EXPECT_NE(run.Await(GST_MESSAGE_EOS), nullptr);
}

}  // namespace
