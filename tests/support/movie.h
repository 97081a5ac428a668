// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_SUPPORT_MOVIE_H
#define ZORVEX_TESTS_SUPPORT_MOVIE_H

#include <string>
#include <vector>

/// What a player finds in a movie file.
struct Movie {
  std::vector<std::string> burntIn;  ///< what each picture shows; empty where it cannot be read
  std::vector<double> seconds;       ///< when each picture is shown
  std::string container, codec;      ///< media types: "video/quicktime", "image/jpeg"
  unsigned width = 0, height = 0;

  double Duration() const { return seconds.empty() ? 0 : seconds.back() - seconds.front(); }
};

/// The sound track of a movie.
struct MovieSoundTrack {
  std::string codec;           ///< media type
  std::vector<float> samples;  ///< of the first channel
  double rate = 0;             ///< in Hz
  double begin = 0;            ///< when the first sample is heard, in seconds

  double Duration() const { return rate > 0 ? static_cast<double>(samples.size()) / rate : 0; }
};

/// Plays the sound of a movie; one that has none gives no samples.
MovieSoundTrack PlayMovieSound(const std::string& path);

/// Plays a movie from its beginning to its end. A file that cannot be played gives no pictures.
Movie PlayMovie(const std::string& path);

#endif  // ZORVEX_TESTS_SUPPORT_MOVIE_H
