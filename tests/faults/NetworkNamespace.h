// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Lumenar::Test {

/// Another machine, as far as the network goes: a network namespace with one link to this one. Goes with the object.
class NetworkNamespace {
 public:
  /// Errors   std::runtime_error that says why there can be none here, as that the test is not root's.
  NetworkNamespace();
  ~NetworkNamespace();
  NetworkNamespace(const NetworkNamespace&) = delete;
  NetworkNamespace& operator=(const NetworkNamespace&) = delete;

  const std::string& AddressHere() const { return here_; }
  const std::string& AddressThere() const { return there_; }

  /// The command that runs a program there.
  std::vector<std::string> Command(std::vector<std::string> program) const;

  /// Runs something whose sockets are there.
  void Do(const std::function<void()>& work) const;

 private:
  std::string name_;
  std::string here_;
  std::string there_;
};

}  // namespace Lumenar::Test
