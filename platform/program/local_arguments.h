// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/program/built_for.h"
#include "platform/program/engine_entry.h"

/// The argument list for the ORB of a program or an engine library, to stand once in its main file: the naming service
/// and the transport configuration that it is built for. The target links `local_arguments`, which knows the two.
#define LUMENAR_LOCAL_ARGUMENTS(program)                                                       \
  extern "C" {                                                                                 \
  LUMENAR_EXPORT int localargc = 5;                                                            \
  LUMENAR_EXPORT char* localargv[] = {                                                         \
      const_cast<char*>(program),                                                              \
      const_cast<char*>("-ORBInitRef"),                                                        \
      const_cast<char*>("NameService=corbaloc:iiop:" LUMENAR_NAMING_HOST ":2700/NameService"), \
      const_cast<char*>("-ORBSvcConf"),                                                        \
      const_cast<char*>(LUMENAR_TRANSPORT_CONF),                                               \
  };                                                                                           \
  }
