// SPDX-License-Identifier: MIT
//
// What a frame costs on its way to the host: the processor time of the whole process for each
// frame of 1280x720 UYVY from a source that is not live, delivered in the four ways below. The
// making of the frame is in all of them; `FakeSink` is that alone. Compare ratios of one run:
//
//   framepath_benchmark --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
#include <benchmark/benchmark.h>
#include <gst/app/gstappsink.h>
#include <gst/video/video.h>
#include <sys/resource.h>

#include <atomic>
#include <semaphore>
#include <string>

#include "capture/zorvex.h"
#include "tests/support/testsource.h"

namespace {

constexpr int kFrames = 1500;
const std::string kSource = "videotestsrc pattern=black num-buffers=" + std::to_string(kFrames);
const std::string kCaps = "video/x-raw,format=UYVY,width=1280,height=720,framerate=30/1";

double ProcessSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Runs `body` once for each iteration and reports the processor time of one frame.
template <class Body>
void MeasureFrames(benchmark::State& state, Body body) {
  for ([[maybe_unused]] auto iteration : state) {
    const double begin = ProcessSeconds();
    const int frames = body();
    state.SetIterationTime((ProcessSeconds() - begin) / kFrames);
    if (frames != kFrames) state.SkipWithError("frames were lost");
  }
}

/// A pipeline that ends in the given sink, run to its end.
void RunToEnd(GstElement* pipeline) {
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  GstBus* bus = gst_element_get_bus(pipeline);
  GstMessage* message =
      gst_bus_timed_pop_filtered(bus, GST_CLOCK_TIME_NONE,
                                 static_cast<GstMessageType>(static_cast<int>(GST_MESSAGE_EOS) |
                                                             static_cast<int>(GST_MESSAGE_ERROR)));
  gst_message_unref(message);
  gst_object_unref(bus);
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(pipeline);
}

GstElement* Launch(const std::string& sink) {
  gstreamer::Initialise();
  return gst_parse_launch((kSource + " ! " + kCaps + " ! " + sink).c_str(), nullptr);
}

void FakeSink(benchmark::State& state) {
  MeasureFrames(state, [] {
    RunToEnd(Launch("fakesink sync=false enable-last-sample=false"));
    return kFrames;
  });
}
BENCHMARK(FakeSink)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(1);

/// The peer: an application sink's callback that maps the frame, as its documentation has it.
void AppSinkCallback(benchmark::State& state) {
  MeasureFrames(state, [] {
    GstElement* pipeline = Launch("appsink name=sink sync=false max-buffers=2");
    GstElement* sink = gst_bin_get_by_name(reinterpret_cast<GstBin*>(pipeline), "sink");
    g_object_set(sink, "enable-last-sample", FALSE, nullptr);
    int frames = 0;
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = [](GstAppSink* appSink, gpointer data) {
      GstSample* sample = gst_app_sink_pull_sample(appSink);
      GstVideoInfo info;
      GstVideoFrame frame;
      if (gst_video_info_from_caps(&info, gst_sample_get_caps(sample)) &&
          gst_video_frame_map(&frame, &info, gst_sample_get_buffer(sample), GST_MAP_READ)) {
        benchmark::DoNotOptimize(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
        ++*static_cast<int*>(data);
        gst_video_frame_unmap(&frame);
      }
      gst_sample_unref(sample);
      return GST_FLOW_OK;
    };
    gst_app_sink_set_callbacks(reinterpret_cast<GstAppSink*>(sink), &callbacks, &frames, nullptr);
    gst_object_unref(sink);
    RunToEnd(pipeline);
    return frames;
  });
}
BENCHMARK(AppSinkCallback)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(1);

struct Delivery {
  std::atomic<int> frames = 0;
  std::binary_semaphore complete{0};
};

void OnFrame(unsigned char const* pixels, unsigned int, unsigned long, unsigned long, unsigned long,
             SMPTETime const*, long data) {
  benchmark::DoNotOptimize(pixels);
  auto& delivery = *reinterpret_cast<Delivery*>(data);
  if (++delivery.frames == kFrames) delivery.complete.release();
}

void ZorvexCallback(benchmark::State& state) {
  const Retained<QTCaptureDevice> device = MakeRetained<TestSourceDevice>(kSource, kCaps);
  const TestSourcePlatform platform({device});
  MeasureFrames(state, [] {
    Delivery delivery;
    const unsigned long handle = ZRVXDeviceGet("Test Source", ZRVXDeviceMediaTypeVideo);
    ZRVXDeviceOpen(handle);
    if (ZRVXDeviceStartCapture(handle, OnFrame, reinterpret_cast<long>(&delivery), 0, 0, 0, nullptr,
                               0, 0, 0, 0, 0, nullptr) &&
        ZRVXDeviceIsCapturing(handle)) {
      delivery.complete.acquire();
    }
    ZRVXDeviceStopCapture(handle);
    ZRVXDeviceClose(handle);
    ZRVXDeviceRelease(handle);
    return delivery.frames.load();
  });
}
BENCHMARK(ZorvexCallback)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
