// SPDX-License-Identifier: MIT
#include "tests/support/movie.h"

#include <gst/app/gstappsink.h>
#include <gst/pbutils/pbutils.h>
#include <gst/video/video.h>

#include <filesystem>

#include "platform/cvpixelbuffer.h"
#include "platform/gstreamer/gstpointer.h"
#include "tests/support/burntin.h"

namespace {

/// Reads container and codec from the file's structure.
void Discover(const std::string& path, Movie& movie) {
  GstDiscoverer* discoverer = gst_discoverer_new(20 * GST_SECOND, nullptr);
  gchar* uri = gst_filename_to_uri(path.c_str(), nullptr);
  GstDiscovererInfo* info = gst_discoverer_discover_uri(discoverer, uri, nullptr);
  const auto mediaType = [](GstDiscovererStreamInfo* stream) {
    const GstPointer<GstCaps> caps(gst_discoverer_stream_info_get_caps(stream));
    return std::string(gst_structure_get_name(gst_caps_get_structure(caps.get(), 0)));
  };
  if (info) {
    if (GstDiscovererStreamInfo* stream = gst_discoverer_info_get_stream_info(info)) {
      movie.container = mediaType(stream);
      g_object_unref(stream);
    }
    GList* videos = gst_discoverer_info_get_video_streams(info);
    if (videos) movie.codec = mediaType(static_cast<GstDiscovererStreamInfo*>(videos->data));
    gst_discoverer_stream_info_list_free(videos);
    g_object_unref(info);
  }
  g_free(uri);
  g_object_unref(discoverer);
}

void Note(GstSample* sample, Movie& movie) {
  GstVideoInfo info;
  GstVideoFrame frame;
  GstBuffer* buffer = gst_sample_get_buffer(sample);
  if (!gst_video_info_from_caps(&info, gst_sample_get_caps(sample)) ||
      !gst_video_frame_map(&frame, &info, buffer, GST_MAP_READ)) {
    return;
  }
  movie.width = static_cast<unsigned>(GST_VIDEO_FRAME_WIDTH(&frame));
  movie.height = static_cast<unsigned>(GST_VIDEO_FRAME_HEIGHT(&frame));
  movie.seconds.push_back(static_cast<double>(GST_BUFFER_PTS(buffer)) / GST_SECOND);
  movie.burntIn.push_back(
      ReadBurntIn({static_cast<const unsigned char*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)),
                   FourCharCode("2vuy"), movie.width, movie.height,
                   static_cast<std::size_t>(GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0))}));
  gst_video_frame_unmap(&frame);
}

}  // namespace

Movie PlayMovie(const std::string& path) {
  Movie movie;
  if (!std::filesystem::exists(path)) return movie;
  Discover(path, movie);
  const std::string text = "filesrc location=\"" + path +
                           "\" ! decodebin ! videoconvert ! video/x-raw,format=UYVY ! appsink "
                           "name=sink sync=false";
  GstElement* pipeline = gst_parse_launch(text.c_str(), nullptr);
  GstElement* sink = gst_bin_get_by_name(AsBin(pipeline), "sink");
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  // A file that is broken off gives an error after its last picture; the sink is at its end then.
  while (GstSample* sample =
             gst_app_sink_try_pull_sample(reinterpret_cast<GstAppSink*>(sink), 5 * GST_SECOND)) {
    Note(sample, movie);
    gst_sample_unref(sample);
  }
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(sink);
  gst_object_unref(pipeline);
  return movie;
}
