// SPDX-License-Identifier: Apache-2.0
#include "platform/dds/find_manager.h"

#include <chrono>

#include "platform/orb/names.h"

namespace Corvanta {
namespace {

constexpr std::chrono::milliseconds kProbeLimit{250};

/// Returns when the manager answers, as only a manager does. One that died, one that hangs, and any other object raise
/// here, within a short time.
void RequireAnswer(ORB_wrapper_base& orb, DDS_Manager_ptr manager) {
  ORB_base::SetCallTimeout(manager, kProbeLimit);
  manager->SubscriptionEpoch();
  // Half the limit of calls: a client whose call makes us publish to a manager that hangs still gets its answer in
  // time.
  ORB_base::SetCallTimeout(manager, orb.Transport().call_timeout / 2);
}

/// The manager that the naming service has now; raises at once when that is `known`, which does not answer.
DDS_Manager_ptr FindAnother(ORB_wrapper_base& orb, const DdsBaseAccess::FindManager& find, DDS_Manager_ptr known,
                            const CORBA::SystemException& error) {
  CORBA::Object_var object = find();
  if (!CORBA::is_nil(known) && known->_is_equivalent(object)) error._raise();
  DDS_Manager_var manager = DDS_Manager::_unchecked_narrow(object);
  if (CORBA::is_nil(manager)) throw CORBA::INV_OBJREF(0, CORBA::COMPLETED_NO);
  RequireAnswer(orb, manager);
  return manager._retn();
}

}  // namespace

CORBA::Object_ptr FindInNamingServiceOfTheOrb() {
  auto* orb = dynamic_cast<ORB_wrapper_base*>(&ORB_base::Current());
  if (orb == nullptr) throw CORBA::BAD_INV_ORDER(0, CORBA::COMPLETED_NO);
  return orb->Resolve(LocalPath(kTopicManager));
}

bool MeansAway(const CORBA::SystemException& error) {
  return CORBA::TRANSIENT::_downcast(&error) != nullptr || CORBA::COMM_FAILURE::_downcast(&error) != nullptr ||
         CORBA::TIMEOUT::_downcast(&error) != nullptr || CORBA::OBJECT_NOT_EXIST::_downcast(&error) != nullptr ||
         CORBA::INV_OBJREF::_downcast(&error) != nullptr || CORBA::NO_RESPONSE::_downcast(&error) != nullptr ||
         CORBA::BAD_OPERATION::_downcast(&error) != nullptr;  // another object stands where the manager stood
}

DDS_Manager_ptr FindManagerThatAnswers(ORB_wrapper_base& orb, const DdsBaseAccess::FindManager& find,
                                       DDS_Manager_ptr known) {
  try {
    if (CORBA::is_nil(known)) throw CORBA::TRANSIENT(0, CORBA::COMPLETED_NO);
    RequireAnswer(orb, known);
    return DDS_Manager::_duplicate(known);
  } catch (const CORBA::SystemException& error) {
    return FindAnother(orb, find, known, error);
  }
}

}  // namespace Corvanta
