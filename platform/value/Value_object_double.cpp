// SPDX-License-Identifier: Apache-2.0
#include "platform/value/Value_object.h"

#include "platform/value/Value_object_impl.h"

namespace Lumenar::Value {

template class Value_object<double>;
template Value_object<double> Relative_sub<double>(const Value_object<double>&, const Value_object<double>&);

}  // namespace Lumenar::Value
