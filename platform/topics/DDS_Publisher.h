// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/noncopyable.hpp>
#include <utility>

#include "platform/base/SharedText.h"
#include "platform/dds/DDS_BaseObj.h"
#include "platform/wire/record_kinds.h"

namespace Corvanta {

/// The publishing side of a reading: a topic name and the way to the topic manager.
/// T is the record kind: BASIC_TRACE::BT_DATA, VALUE_DOUBLE::VALUE, int or bool.
template <class T>
class DDS_Publisher : public DDS_BaseObj, virtual public boost::noncopyable {
 public:
  /// `manager` outlives this.
  explicit DDS_Publisher(Lumenar::SharedText topic, DdsBaseAccess& manager = DdsBase())
      : topic_(std::move(topic)), manager_(manager) {}

  /// Sends a record on the topic. Never throws; see DdsBaseAccess::Publish. The caller keeps the order: one call at a
  /// time.
  void Publish(const T& record) noexcept { manager_.Publish(topic_.c_str(), ViewOf(record)); }

 private:
  const Lumenar::SharedText topic_;
  DdsBaseAccess& manager_;
};

}  // namespace Corvanta
