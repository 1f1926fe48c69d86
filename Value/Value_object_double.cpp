// SPDX-License-Identifier: Apache-2.0
#include "Value/Value_object.h"

#include "Value/Value_object_impl.h"

namespace Lumenar::Value {

template class Value_object<double>;
template Value_object<double> Relative_sub<double>(const Value_object<double>&, const Value_object<double>&);

}  // namespace Lumenar::Value
