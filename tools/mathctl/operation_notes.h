// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace Lumenar::Mathctl {

/// What people have to know of a type of math object before they create one.
struct OperationNote {
  const char* type;
  const char* inputs;
  const char* result;
};

/// Null for a type that this program does not know: an engine may offer more.
const OperationNote* NoteOf(std::string_view type);

}  // namespace Lumenar::Mathctl
