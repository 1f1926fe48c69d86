// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "client/Error.h"
#include "client/Text.h"

namespace Lumenar::Mathctl {

/// Calls `function`, which reads or writes files; what goes wrong with them becomes a Client::Error in one line.
/// Errors   Client::Error Refused: a file that cannot be opened, read or written, or whose contents make no sense; those of
///          `function` itself.
template <class Function>
auto WithFiles(Function&& function) {
  using Client::ErrorKind;
  try {
    return function();
  } catch (const Client::Error&) {
    throw;
  } catch (const std::system_error& error) {
    const bool is_there = error.code() == std::errc::file_exists;
    throw Client::Error(ErrorKind::Refused,
                        Client::Printable(error.what()) + (is_there ? " (--force replaces it)" : ""));
  } catch (const std::runtime_error& error) {
    throw Client::Error(ErrorKind::Refused, Client::Printable(error.what()));
  } catch (const std::invalid_argument& error) {
    throw Client::Error(ErrorKind::Refused, Client::Printable(error.what()));
  }
}

}  // namespace Lumenar::Mathctl
