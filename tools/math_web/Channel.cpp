// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Channel.h"

#include "tools/math_web/Stream.h"

namespace Lumenar::Web {

const Picture& Channel::PictureFor(const View& view) {
  auto made = pictures_.find(view);
  if (made == pictures_.end()) {
    const Sample& sample = *newest_.sample;
    made = pictures_.emplace(view, PictureOf(*TraceIn(sample), sample.time_s, view)).first;
  }
  return made->second;
}

void Channel::Take(const Newest& newest) {
  if (newest_.sample != nullptr && newest.number < newest_.number) return;
  pictures_.clear();
  newest_ = newest;
  for (Stream* stream : streams_) stream->Offer();
}

void Channel::End(const std::string& reason) {
  const std::set<Stream*> streams = streams_;  // each leaves
  for (Stream* stream : streams) stream->End(reason);
}

}  // namespace Lumenar::Web
