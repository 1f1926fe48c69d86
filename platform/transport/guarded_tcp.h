// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>
// The ORB's transport layer, which its packages install for transports of others.
#include <omniORB4/giopEndpoint.h>
#include <omniORB4/internal/SocketCollection.h>
#include <omniORB4/internal/transportRules.h>
#include <omniORB4/tcpConnection.h>
#include <omniORB4/tcpEndpoint.h>
#include <omniORB4/unixConnection.h>
#include <omniORB4/unixEndpoint.h>
