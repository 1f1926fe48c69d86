// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace Lumenar::Scpi {

/// Where the device files stand that come with this system: below the tree that this code was loaded from, so that they
/// are found wherever the tree is moved. Empty where they are not found.
std::filesystem::path ReadyFilesFolder();

/// The path of a device file: what is given where it has a "/" or is a file that exists, else that of the ready file of
/// this name.
/// Errors   std::invalid_argument that names the ready files.
std::string PathOfDeviceFile(const std::string& file_or_name);

}  // namespace Lumenar::Scpi
