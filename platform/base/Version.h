// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Lumenar {

/// The version of this system, as "1.0.0": what the program or engine library that asks was built from.
/// Threads   any.
const char* Version() noexcept;

}  // namespace Lumenar
