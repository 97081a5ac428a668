// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_GSTPOINTER_H
#define ZORVEX_PLATFORM_GSTREAMER_GSTPOINTER_H

#include <gst/gst.h>

#include <memory>
#include <type_traits>

/// Owns one reference to a GStreamer object of type T.
template <class T>
struct GstUnref {
  void operator()(T* object) const {
    if constexpr (std::is_same_v<T, GstCaps> || std::is_same_v<T, GstQuery> ||
                  std::is_same_v<T, GstBuffer> || std::is_same_v<T, GstMessage> ||
                  std::is_same_v<T, GstEvent>) {
      gst_mini_object_unref(reinterpret_cast<GstMiniObject*>(object));
    } else if constexpr (std::is_same_v<T, GError>) {
      g_error_free(object);
    } else if constexpr (std::is_same_v<T, GstStructure>) {
      gst_structure_free(object);
    } else if constexpr (std::is_same_v<T, gchar>) {
      g_free(object);
    } else {
      gst_object_unref(object);
    }
  }
};
template <class T>
using GstPointer = std::unique_ptr<T, GstUnref<T>>;

inline GstBin* AsBin(GstElement* element) {
  return reinterpret_cast<GstBin*>(element);
}

#endif  // ZORVEX_PLATFORM_GSTREAMER_GSTPOINTER_H
