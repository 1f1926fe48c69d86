// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Corvanta {

/// Makes ready for an endpoint "giop:unix:PATH", on which the ORB will listen: the ORB itself would take over the file
/// of a process that listens, or any other file. Returns the endpoint for the ORB; any other endpoint comes back as it
/// is.
///
/// A PATH that ends in '/' is a directory in which each process makes a socket of its own, "PROGRAM.PID"; sockets that
/// processes left behind there are removed. The directory is made, for its owner alone, when it is missing.
///
/// Errors   TransportConfigError when PATH is not absolute or too long for a socket; the directory is missing and
///          cannot be made, belongs to another user or can be written by others; at PATH is something else than a
///          socket, or a socket on which a process listens.
std::string PrepareEndpoint(const std::string& endpoint);

}  // namespace Corvanta
