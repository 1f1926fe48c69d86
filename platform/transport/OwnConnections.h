// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "platform/transport/TransportState.h"
#include "platform/transport/guarded_tcp.h"

namespace Corvanta {

/// Stands in for one of the ORB's transports, TCP or Unix-domain sockets, while it lives: connections that this process
/// opens pass a MessageFraming of their own, which admits answers to what was asked alone. A connection that was at
/// rest is looked at before a call goes out over it: if its peer has closed it meanwhile, the ORB opens another and
/// nothing is lost.
class OwnConnections final : public omni::giopTransportImpl {
 public:
  enum class Transport { Tcp, Unix };

  OwnConnections(Transport transport, std::shared_ptr<TransportState> state);
  ~OwnConnections() override;

  omni::giopEndpoint* toEndpoint(const char* address) override { return plain_.toEndpoint(address); }
  omni::giopAddress* toAddress(const char* address) override;
  CORBA::Boolean isValid(const char* address) override { return plain_.isValid(address); }
  CORBA::Boolean addToIOR(const char* address, omni::IORPublish* endpoints) override {
    return plain_.addToIOR(address, endpoints);
  }
  const omnivector<const char*>* getInterfaceAddress() override { return plain_.getInterfaceAddress(); }

 private:
  const Transport transport_;
  const std::shared_ptr<TransportState> state_;
  omni::giopTransportImpl& plain_;  // the ORB's own
};

}  // namespace Corvanta
