// SPDX-License-Identifier: Apache-2.0
#include "platform/base/Version.h"

namespace Lumenar {

const char* Version() noexcept { return LUMENAR_VERSION; }

}  // namespace Lumenar
