// SPDX-License-Identifier: MIT
#include "platform/sound/soundservers.h"

#include <algorithm>
#include <optional>

#include "platform/sound/pipewiresources.h"
#include "platform/sound/pulsesources.h"
#include "platform/sound/serversocket.h"

namespace gstreamer {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kAnswerLimit{1000};
/// A host may list its devices every second; a server that hangs should not take all its time.
constexpr milliseconds kLookAgainAfter{3000};

using Ask = SourcesAnswer (*)(const std::shared_ptr<ServerSocket>&);

/// Nothing when there is no such server or it turns this process away.
std::optional<SourcesAnswer> AskServer(const std::vector<std::string>& paths, Ask ask,
                                       std::string& path) {
  const auto socket = std::make_shared<ServerSocket>(paths, kAnswerLimit);
  if (!socket->IsListening()) return std::nullopt;
  path = socket->Path();
  if (!socket->IsConnected()) return SourcesAnswer{SourcesAnswer::Silent, {}};
  SourcesAnswer answer = ask(socket);
  if (answer.kind == SourcesAnswer::Refused) return std::nullopt;
  return answer;
}

}  // namespace

const ServerSource* SoundView::Find(SoundSystem wanted, const std::string& name) const {
  if (system != wanted) return nullptr;
  const auto found = std::find_if(sources.begin(), sources.end(),
                                  [&](const ServerSource& source) { return source.name == name; });
  return found == sources.end() ? nullptr : &*found;
}

SoundView SoundServers::Look(milliseconds oldest) {
  const std::lock_guard lock(mutex_);
  const auto now = Clock::now();
  if (now < lookAgain_ || (looked_ != Clock::time_point::min() && now - looked_ < oldest)) {
    return view_;
  }
  SoundView view;
  view.system = SoundSystem::PulseAudio;
  auto answer = AskServer(PulseSocketPaths(), AskPulseAudio, view.socket);
  if (!answer) {
    view.system = SoundSystem::PipeWire;
    answer = AskServer(PipeWireSocketPaths(), AskPipeWire, view.socket);
  }
  if (!answer) view = SoundView{};
  looked_ = Clock::now();
  if (answer && answer->kind == SourcesAnswer::Silent) lookAgain_ = looked_ + kLookAgainAfter;
  if (answer) view.sources = std::move(answer->sources);
  view_ = std::move(view);
  return view_;
}

}  // namespace gstreamer
