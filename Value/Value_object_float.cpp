// SPDX-License-Identifier: Apache-2.0
#include "Value/Value_object.h"

#include "Value/Value_object_impl.h"

namespace Lumenar::Value {

template class Value_object<float>;
template Value_object<float> Relative_sub<float>(const Value_object<float>&, const Value_object<float>&);

}  // namespace Lumenar::Value
