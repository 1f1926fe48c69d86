// SPDX-License-Identifier: Apache-2.0
#include "platform/value/Value_object.h"

#include "platform/value/Value_object_impl.h"

namespace Lumenar::Value {

template class Value_object<float>;
template Value_object<float> Relative_sub<float>(const Value_object<float>&, const Value_object<float>&);

}  // namespace Lumenar::Value
