// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pybind11/pybind11.h>

namespace Lumenar::Python {

/// Defines lumenar.Result. Once, when the module is imported.
void DefineResult(pybind11::module_& module);

}  // namespace Lumenar::Python
