// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/reference_type.h"

namespace Corvanta {

bool IsOfType(CORBA::Object_ptr reference, std::string_view repository_id) {
  return !CORBA::is_nil(reference) && reference->_PR_getobj()->_mostDerivedRepoId() == repository_id;
}

}  // namespace Corvanta
