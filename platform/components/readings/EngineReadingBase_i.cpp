// SPDX-License-Identifier: Apache-2.0
#include "platform/components/readings/EngineReadingBase_i.h"

namespace Lumenar {

using Corvanta::ItemKind;
using Corvanta::ItemNamer;

EngineReadingBase_i::EngineReadingBase_i(ItemNamer& namer, GUI_AbleRegistration& registration, const char* name,
                                         const ItemKind& kind)
    : name_(namer.Add(name)), topic_(namer.DDS_Topic(name_)), kind_(kind), registration_(registration) {}

EngineReadingBase_i::~EngineReadingBase_i() { Close(); }

Corvanta::TypeInfo EngineReadingBase_i::Info() const {
  Corvanta::TypeInfo info;
  info.name = name_.c_str();
  info.type_name = kind_.type_name;
  return info;
}

void EngineReadingBase_i::List(Corvanta::EngineReadingBase_ptr reference) {
  GUI_AbleRegistration::Entry entry;
  entry.name = name_;
  entry.type_name = kind_.type_name;
  entry.settable = kind_.settable;
  entry.topic = topic_;
  entry.reference = Corvanta::EngineReadingBase::_duplicate(reference);
  token_ = registration_.Add(entry);
}

void EngineReadingBase_i::Close() noexcept {
  if (const long token = token_.exchange(0); token != 0) registration_.Remove(token);
  if (servant_.in() != nullptr) servant_->Withdraw();
}

}  // namespace Lumenar
