// SPDX-License-Identifier: Apache-2.0
#include "services/hw_enumeration/HwEnumerate_Able_i.h"

#include <fmt/format.h>

#include <system_error>
#include <utility>

#include "platform/base/Diagnostic.h"
#include "platform/orb/ORB_base.h"

namespace Corvanta {

using Lumenar::EngineTable;
using Lumenar::Lock;

namespace {

void WriteEvent(const EngineTable::Key& key, const std::string& event) {
  Lumenar::WriteOut(fmt::format("{} instance {}: {}", key.first, key.second, event));
}

}  // namespace

HwEnumerate_Able_i::HwEnumerate_Able_i(std::optional<Lumenar::EngineFile> file) : file_(std::move(file)) {
  if (!file_) return;
  std::string problem;
  Lock lock(mutex_);
  file_->Read(table_, problem);
  if (!problem.empty()) Lumenar::WriteError("hw_enumeration: state file " + problem);
}

HwEnumerate_Able_i::~HwEnumerate_Able_i() = default;

Progress_Interface_ptr HwEnumerate_Able_i::GetProgressInterface(const char* engine, CORBA::Long instance, CORBA::Long) {
  const EngineTable::Key key(engine, instance);
  if (!EngineTable::IsNameGood(key.first)) throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
  ProgressServant replaced;
  Progress_Interface_var reference;
  {
    Lock lock(mutex_);
    const auto announcement = table_.Announce(key);
    if (!announcement) throw CORBA::IMP_LIMIT(0, CORBA::COMPLETED_NO);
    ProgressServant& place = servants_[key];
    replaced = place._retn();
    place = new Progress_Interface_i(this, key, *announcement);
    reference = place->_this();  // under the lock: who replaces it finds it active, and ends that
    Keep();
  }
  ORB_base::DeactivateObject(replaced.in());
  WriteEvent(key, "announced");
  return reference._retn();
}

void HwEnumerate_Able_i::Report(const EngineTable::Key& key, long announcement, const std::string& progress) {
  {
    Lock lock(mutex_);
    if (!table_.Report(key, announcement, progress)) throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
    Keep();
  }
  WriteEvent(key, progress + " %");
}

/// A file that cannot be written is noted once and costs no engine anything but a later restart.
void HwEnumerate_Able_i::Keep() {
  if (!file_) return;
  try {
    file_->Write(table_);
    file_fails_ = false;
  } catch (const std::system_error& error) {
    if (!file_fails_) Lumenar::WriteError(std::string("hw_enumeration: state file not written: ") + error.what());
    file_fails_ = true;
  }
}

EngineProgressSeq* HwEnumerate_Able_i::Engines() {
  EngineProgressSeq_var engines = new EngineProgressSeq;
  Lock lock(mutex_);
  engines->length(static_cast<CORBA::ULong>(table_.Entries().size()));
  CORBA::ULong i = 0;
  for (const auto& [key, entry] : table_.Entries()) {
    EngineProgress& progress = engines[i++];
    progress.engine = key.first.c_str();
    progress.instance = static_cast<CORBA::Long>(key.second);
    progress.progress = entry.progress.c_str();
  }
  return engines._retn();
}

Progress_Interface_i::Progress_Interface_i(HwEnumerate_Able_i* service, EngineTable::Key key, long announcement)
    : service_(service), key_(std::move(key)), announcement_(announcement) {}

void Progress_Interface_i::SetProgress(const char* progress) {
  if (!EngineTable::IsProgressGood(progress)) throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
  service_->Report(key_, announcement_, progress);
}

}  // namespace Corvanta
