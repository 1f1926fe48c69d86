// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <string>

namespace Lumenar {

/// A CORBA exception in words for people: its name, the ORB's word for the minor code where it has one, and whether
/// the call was completed; as "TRANSIENT (TRANSIENT_ConnectFailed, not completed)".
std::string CorbaText(const CORBA::Exception& exception);

}  // namespace Lumenar
