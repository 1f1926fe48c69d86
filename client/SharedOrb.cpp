// SPDX-License-Identifier: Apache-2.0
#include "client/SharedOrb.h"

#include <memory>
#include <set>

#include "client/Error.h"
#include "platform/base/Mutex.h"

namespace Lumenar::Client {
namespace {

using std::chrono::milliseconds;

/// The ORB and the limits of those who share it. Its lock is held while the ORB comes and goes, so that who comes while
/// the last one goes gets an ORB of his own.
class OrbOfTheProcess {
 public:
  static OrbOfTheProcess& Instance() {
    static OrbOfTheProcess* orb = new OrbOfTheProcess;  // outlives every share
    return *orb;
  }

  Corvanta::ORB_wrapper_base& Take(milliseconds limit) {
    Lock lock(mutex_);
    const auto taken = limits_.insert(limit);
    try {
      if (!orb_) orb_ = std::make_unique<Corvanta::ORB_wrapper_base>(localargc, localargv);
    } catch (...) {
      limits_.erase(taken);
      throw;
    }
    SetLimit();
    return *orb_;
  }

  void GiveBack(milliseconds limit) {
    Lock lock(mutex_);
    limits_.erase(limits_.find(limit));
    if (limits_.empty()) {
      orb_.reset();
    } else {
      SetLimit();
    }
  }

 private:
  void SetLimit() REQUIRES(mutex_) {
    Corvanta::ORB_base::SetCallTimeout(*limits_.rbegin());
    NoteCallLimit(*limits_.rbegin());
  }

  Mutex mutex_;
  std::multiset<milliseconds> limits_ GUARDED_BY(mutex_);
  std::unique_ptr<Corvanta::ORB_wrapper_base> orb_ GUARDED_BY(mutex_);
};

}  // namespace

SharedOrb::SharedOrb(milliseconds call_timeout)
    : call_timeout_(call_timeout), orb_(OrbOfTheProcess::Instance().Take(call_timeout)) {}

SharedOrb::~SharedOrb() { OrbOfTheProcess::Instance().GiveBack(call_timeout_); }

}  // namespace Lumenar::Client
