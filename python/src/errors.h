// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pybind11/pybind11.h>

namespace Lumenar::Python {

/// Makes Client::Error the exception of lumenar._errors that its kind names, with its sentence; whatever else our code
/// throws on purpose becomes a lumenar.Error too. Once, when the module is imported.
void RegisterErrors();

}  // namespace Lumenar::Python
