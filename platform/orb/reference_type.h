// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <string_view>

namespace Corvanta {

/// Whether a reference was made for exactly this type, as "IDL:Corvanta/DDS_Sub:1.0": what it says of itself. Nobody is
/// asked, and a type that inherits from it is another one.
bool IsOfType(CORBA::Object_ptr reference, std::string_view repository_id);

}  // namespace Corvanta
