// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DDS.hh"
#include "platform/dds/DDS_BaseObj.h"
#include "platform/orb/ORB_wrapper.h"

namespace Corvanta {

/// What stands under the manager's name in the naming service of the process's ORB.
/// Errors   CORBA system exceptions; BAD_INV_ORDER when there is no ORB with a naming service.
CORBA::Object_ptr FindInNamingServiceOfTheOrb();

/// Whether a failed call says that nobody is there, rather than that somebody refused the call.
bool MeansAway(const CORBA::SystemException& error);

/// A manager that can be used. `known` may be nil; else it is asked first, so that a manager whose connections broke,
/// or that hung for a while, is found again while the naming service is away.
/// Errors   CORBA system exceptions: of `find`, of a manager that does not answer; INV_OBJREF when there is none.
DDS_Manager_ptr FindManagerThatAnswers(ORB_wrapper_base& orb, const DdsBaseAccess::FindManager& find,
                                       DDS_Manager_ptr known);

}  // namespace Corvanta
