// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace Corvanta {

/// Where an object stands in the naming service: one element a component.
using NamePath = std::vector<std::string>;

/// The context in which all engines and services of an instrument have their names.
inline constexpr char kLocalContext[] = "Lumenar/local";

// The names in it.
inline constexpr char kRegistrationName[] = "GUI_ABLE";  ///< of registration objects, one instance an engine
inline constexpr char kMathEngineName[] = "MATHFACTORY";
inline constexpr char kFirstMathFactory[] = "MATHFACTORY/1";
inline constexpr char kTopicManager[] = "DDS_MANAGER/1";
inline constexpr char kHardwareEnumeration[] = "HWENUM_ABLE/1";

/// "A/B/C" as its components: `most` of them at most, the last of which keeps the slashes that are left.
NamePath Components(std::string_view text, std::size_t most = std::numeric_limits<std::size_t>::max());

/// Where NAME or NAME/INSTANCE stands.
NamePath LocalPath(std::string_view name);

/// The same as a text: "Lumenar/local/NAME".
std::string LocalPathText(std::string_view name);

/// What stands before the instance of a registered name: "PROBE" of "PROBE/1".
std::string_view NameWithoutInstance(std::string_view name);

}  // namespace Corvanta
