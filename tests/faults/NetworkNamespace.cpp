// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/NetworkNamespace.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <thread>

namespace Lumenar::Test {
namespace {

/// Errors   std::runtime_error.
void Ip(const std::string& arguments) {
  if (std::system(("ip " + arguments + " >/dev/null 2>&1").c_str()) != 0)
    throw std::runtime_error("no network namespace can be made here: ip " + arguments + " failed");
}

}  // namespace

NetworkNamespace::NetworkNamespace() : name_("lumenar" + std::to_string(getpid() % 100000)) {
  if (geteuid() != 0) throw std::runtime_error("only root can make network namespaces");
  const std::string net = "10.231." + std::to_string(getpid() % 250) + ".";
  here_ = net + "1";
  there_ = net + "2";
  const std::string link = "lm" + std::to_string(getpid() % 100000);
  Ip("netns add " + name_);
  try {
    Ip("link add " + link + "a type veth peer name " + link + "b netns " + name_);
    Ip("address add " + here_ + "/30 dev " + link + "a");
    Ip("link set " + link + "a up");
    Ip("-n " + name_ + " address add " + there_ + "/30 dev " + link + "b");
    Ip("-n " + name_ + " link set " + link + "b up");
    Ip("-n " + name_ + " link set lo up");
  } catch (...) {
    Ip("netns delete " + name_);
    throw;
  }
}

NetworkNamespace::~NetworkNamespace() {
  try {
    Ip("netns delete " + name_);  // and with it both ends of the link
  } catch (const std::runtime_error&) {}
}

std::vector<std::string> NetworkNamespace::Command(std::vector<std::string> program) const {
  program.insert(program.begin(), {"ip", "netns", "exec", name_});
  return program;
}

void NetworkNamespace::Do(const std::function<void()>& work) const {
  std::exception_ptr failure;
  std::thread([&] {
    try {
      const int there = open(("/run/netns/" + name_).c_str(), O_RDONLY | O_CLOEXEC);
      if (there < 0 || setns(there, CLONE_NEWNET) != 0)
        throw std::runtime_error("cannot enter network namespace " + name_);
      close(there);
      work();
    } catch (...) {
      failure = std::current_exception();
    }
  }).join();
  if (failure) std::rethrow_exception(failure);
}

}  // namespace Lumenar::Test
