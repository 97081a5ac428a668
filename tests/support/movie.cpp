// SPDX-License-Identifier: MIT
#include "tests/support/movie.h"

#include <gst/app/gstappsink.h>
#include <gst/audio/audio.h>
#include <gst/pbutils/pbutils.h>
#include <gst/video/video.h>

#include <cstring>
#include <filesystem>

#include "platform/cvpixelbuffer.h"
#include "platform/gstreamer/gstpointer.h"
#include "tests/support/burntin.h"

namespace {

/// Reads the container, and the codecs of the first streams of pictures and sound, from the file's
/// structure.
void Discover(const std::string& path, Movie& movie, std::string& soundCodec) {
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
    GList* sounds = gst_discoverer_info_get_audio_streams(info);
    if (sounds) soundCodec = mediaType(static_cast<GstDiscovererStreamInfo*>(sounds->data));
    gst_discoverer_stream_info_list_free(sounds);
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

/// Streams that the test does not look at go to a sink of their own: a player that leaves them
/// unlinked fails when the other one ends first.
void LinkRest(GstElement* decoder, GstPad* pad, gpointer wanted) {
  const GstPointer<GstCaps> caps(gst_pad_get_current_caps(pad));
  const char* name = gst_structure_get_name(gst_caps_get_structure(caps.get(), 0));
  if (g_str_has_prefix(name, static_cast<const char*>(wanted))) return;
  GstElement* sink = gst_element_factory_make("fakesink", nullptr);
  g_object_set(sink, "async", FALSE, "sync", FALSE, nullptr);
  const GstPointer<GstObject> pipeline(gst_object_get_parent(GST_OBJECT_CAST(decoder)));
  gst_bin_add(reinterpret_cast<GstBin*>(pipeline.get()), sink);
  const GstPointer<GstPad> end(gst_element_get_static_pad(sink, "sink"));
  gst_pad_link(pad, end.get());
  gst_element_sync_state_with_parent(sink);
}

/// Decodes the streams of a kind ("video/", "audio/") through `conversion` and gives each sample of
/// the result to `note`.
template <class Note>
void Decode(const std::string& path, const char* kind, const char* conversion, Note note) {
  const std::string text = "filesrc location=\"" + path + "\" ! decodebin name=decoder ! " +
                           conversion + " ! appsink name=sink sync=false";
  GstElement* pipeline = gst_parse_launch(text.c_str(), nullptr);
  GstElement* sink = gst_bin_get_by_name(AsBin(pipeline), "sink");
  GstElement* decoder = gst_bin_get_by_name(AsBin(pipeline), "decoder");
  g_signal_connect(decoder, "pad-added", G_CALLBACK(LinkRest), const_cast<char*>(kind));
  gst_object_unref(decoder);
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  // A file that is broken off gives an error after its last picture; the sink is at its end then.
  while (GstSample* sample =
             gst_app_sink_try_pull_sample(reinterpret_cast<GstAppSink*>(sink), 5 * GST_SECOND)) {
    note(sample);
    gst_sample_unref(sample);
  }
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(sink);
  gst_object_unref(pipeline);
}

void NoteSound(GstSample* sample, MovieSoundTrack& track) {
  GstAudioInfo info;
  GstMapInfo map;
  GstBuffer* buffer = gst_sample_get_buffer(sample);
  if (!gst_audio_info_from_caps(&info, gst_sample_get_caps(sample)) ||
      !gst_buffer_map(buffer, &map, GST_MAP_READ)) {
    return;
  }
  if (track.samples.empty()) {
    track.rate = GST_AUDIO_INFO_RATE(&info);
    track.begin = static_cast<double>(GST_BUFFER_PTS(buffer)) / GST_SECOND;
  }
  const auto frameBytes = static_cast<std::size_t>(GST_AUDIO_INFO_BPF(&info));
  for (std::size_t at = 0; at + frameBytes <= map.size; at += frameBytes) {
    float value = 0;
    std::memcpy(&value, map.data + at, sizeof value);
    track.samples.push_back(value);
  }
  gst_buffer_unmap(buffer, &map);
}

}  // namespace

Movie PlayMovie(const std::string& path) {
  Movie movie;
  if (!std::filesystem::exists(path)) return movie;
  std::string soundCodec;
  Discover(path, movie, soundCodec);
  Decode(path, "video/", "videoconvert ! video/x-raw,format=UYVY",
         [&](GstSample* sample) { Note(sample, movie); });
  return movie;
}

MovieSoundTrack PlayMovieSound(const std::string& path) {
  MovieSoundTrack track;
  if (!std::filesystem::exists(path)) return track;
  Movie movie;
  Discover(path, movie, track.codec);
  if (track.codec.empty()) return track;
  Decode(path, "audio/", "audioconvert ! audio/x-raw,format=F32LE,layout=interleaved",
         [&](GstSample* sample) { NoteSound(sample, track); });
  return track;
}
