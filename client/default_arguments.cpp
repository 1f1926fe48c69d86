// SPDX-License-Identifier: Apache-2.0
// The ORB's argument list of a program that has none of its own: the naming service and the transport configuration that
// this library is built for. A program that names its own, with LUMENAR_LOCAL_ARGUMENTS, has that.
#include "platform/program/local_arguments.h"

LUMENAR_LOCAL_ARGUMENTS("lumenar_client")
