// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>

#include "HwEnumerate.hh"
#include "platform/base/Mutex.h"
#include "services/hw_enumeration/EngineFile.h"

namespace Corvanta {

class Progress_Interface_i;

/// The hardware-enumeration service: keeps the announced engines, in a file where there is one, and writes one line for
/// each event.
class HwEnumerate_Able_i : public POA_Corvanta::HwEnumerate_Able {
 public:
  /// The engines of the file are known again; says in one line on standard error what of it could not be read.
  explicit HwEnumerate_Able_i(std::optional<Lumenar::EngineFile> file);

  /// Errors   BAD_PARAM for a name that is empty, longer than 256 bytes or not printable; IMP_LIMIT when 1024
  ///          engines are known.
  Progress_Interface_ptr GetProgressInterface(const char* engine, CORBA::Long instance, CORBA::Long slot) override;
  EngineProgressSeq* Engines() override;

  /// A report of the engine's announcement of that number.
  /// Errors   OBJECT_NOT_EXIST when the engine announced itself again.
  void Report(const Lumenar::EngineTable::Key& key, long announcement, const std::string& progress);

 protected:
  ~HwEnumerate_Able_i() override;

 private:
  using ProgressServant = PortableServer::Servant_var<Progress_Interface_i>;

  void Keep() REQUIRES(mutex_);

  const std::optional<Lumenar::EngineFile> file_;
  Lumenar::Mutex mutex_;  ///< also held while the file is written, so that it follows the table; no call waits inside
  bool file_fails_ GUARDED_BY(mutex_) = false;
  Lumenar::EngineTable table_ GUARDED_BY(mutex_);
  std::map<Lumenar::EngineTable::Key, ProgressServant> servants_ GUARDED_BY(mutex_);
};

/// Through which one engine reports.
class Progress_Interface_i : public POA_Corvanta::Progress_Interface {
 public:
  Progress_Interface_i(HwEnumerate_Able_i* service, Lumenar::EngineTable::Key key, long announcement);

  /// Errors   BAD_PARAM for a text that is empty, longer than 32 bytes or not printable; OBJECT_NOT_EXIST when
  ///          the engine announced itself again.
  void SetProgress(const char* progress) override;

 protected:
  ~Progress_Interface_i() override = default;

 private:
  HwEnumerate_Able_i* const service_;  ///< lives until the ORB is gone
  const Lumenar::EngineTable::Key key_;
  const long announcement_;
};

}  // namespace Corvanta
