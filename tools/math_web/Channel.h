// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "tools/math_web/Feed.h"
#include "tools/math_web/View.h"
#include "tools/math_web/picture.h"

namespace Lumenar::Web {

class Stream;

/// A feed as the streams of clients see it: its newest sample, and the pictures that were made of it, each once.
/// Threads  the gateway's own.
class Channel {
 public:
  /// `source` lives as long as this channel.
  Channel(std::string name, std::shared_ptr<const void> source) : name_(std::move(name)), source_(std::move(source)) {}

  const std::string& Name() const { return name_; }

  /// Null before the first sample.
  const Sample* NewestSample() const { return newest_.sample.get(); }
  std::uint64_t Number() const { return newest_.number; }

  /// The newest sample, which is a trace, for a view.
  const Picture& PictureFor(const View& view);

  /// A sample has come: each stream sends it, or keeps in mind that there is one.
  /// An older one than the last is passed over.
  void Take(const Newest& newest);

  /// The reading is no more: each stream is told why, and leaves.
  void End(const std::string& reason);

  void Join(Stream& stream) { streams_.insert(&stream); }
  void Leave(Stream& stream) { streams_.erase(&stream); }
  bool IsOf(const void* source) const { return source_.get() == source; }
  bool IsEmpty() const { return streams_.empty(); }

 private:
  const std::string name_;
  const std::shared_ptr<const void> source_;
  Newest newest_;
  std::map<View, Picture> pictures_;  // of newest_
  std::set<Stream*> streams_;
};

}  // namespace Lumenar::Web
