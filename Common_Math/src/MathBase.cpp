#include "Common_Math/src/MathBase.h"

#include <atomic>

namespace Lumenar {
namespace {

std::atomic<CORBA::Long> idCounter{0};

}  // namespace

MathBase::MathBase() : id_(idCounter++), gate_(Corvanta::UpcallGate::Create(this)) {}

// When construction failed, deliveries may be waiting for its end.
MathBase::~MathBase() { gate_->Close(); }

CORBA::Long MathBase::GetId() {
  gate_->RequireOpen();
  return id_;
}

boost::shared_ptr<MathBase> MathBase::Own(MathBase* object) {
  const boost::shared_ptr<MathBase> owner(object, [](MathBase* closing) {
    closing->Close();
    closing->_remove_ref();
  });
  owner->gate_->Open();
  return owner;
}

void MathBase::Activate() { reference_ = _this(); }

Corvanta::MathFactory::Math_ptr MathBase::Reference() const {
  return Corvanta::MathFactory::Math::_duplicate(reference_);
}

void MathBase::Close() noexcept {
  gate_->Close();
  CloseParts();
  reference_ = Corvanta::MathFactory::Math::_nil();  // the servant may outlive the ORB's use for it
}

}  // namespace Lumenar
