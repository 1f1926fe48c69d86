// SPDX-License-Identifier: Apache-2.0
// Clients that send nonsense to an endpoint of TCP and to one of this machine alone.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "tests/support/IsolatedPlatform.h"
#include "tests/support/RawClient.h"

namespace Corvanta::Test {
namespace {

namespace fs = std::filesystem;

enum class Endpoint { Tcp, Unix };

class guarded_transport : public testing::TestWithParam<Endpoint> {
 protected:
  guarded_transport() {
    std::string name = (fs::temp_directory_path() / "lumenar-guarded-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error(name);
    directory_ = name;
    const std::string socket = (directory_ / "socket").string();
    const bool is_unix = GetParam() == Endpoint::Unix;
    std::ofstream(directory_ / "transport.conf")
        << "orb.endpoint = " << (is_unix ? "giop:unix:" + socket : "giop:tcp:127.0.0.1:") << "\n";
    using Environment = std::map<std::string, std::string>;
    server_ = std::make_unique<Lumenar::Test::Process>(
        std::vector<std::string>{Lumenar::Test::BuiltProgram("any_guard_server").string()},
        Environment{{"LUMENAR_TRANSPORT_CONF", (directory_ / "transport.conf").string()}});
    if (!server_->WaitForLine("ready")) throw std::runtime_error(server_->Error());
    std::istringstream lines(server_->Out());
    std::string subscriber;
    lines >> subscriber;
    address_ = AddressOf(subscriber);
    if (is_unix) address_.path = socket;
  }
  ~guarded_transport() override { fs::remove_all(directory_); }

  /// Whether the server wrote these words to standard error.
  bool Says(const std::string& text) const {
    return Lumenar::Test::WaitUntil([&] { return server_->Error().find(text) != std::string::npos; });
  }

  void ExpectServes() {
    RawClient client(address_);
    EXPECT_EQ(client.Call("GetId", Wire()), "ok");
  }

  fs::path directory_;
  std::unique_ptr<Lumenar::Test::Process> server_;
  ObjectAddress address_;
};

TEST_P(guarded_transport, AFragmentOfNobodyClosesItsConnectionAlone) {
  RawClient other(address_);
  EXPECT_EQ(other.Call("GetId", Wire()), "ok");
  RawClient client(address_);
  client.Send(RawClient::Message(kFragment, 0, Wire().Ulong(7).Raw("more").Bytes()));
  EXPECT_EQ(client.Answer(), "closed");
  EXPECT_EQ(other.Call("GetId", Wire()), "ok");
  ExpectServes();
  const std::string peer = GetParam() == Endpoint::Unix ? "unix:" + address_.path : "127.0.0.1";
  EXPECT_TRUE(Says("connection from " + peer + " closed: a Fragment of no message")) << server_->Error();
}

TEST_P(guarded_transport, AnAnswerFromAClientToo) {
  RawClient client(address_);
  client.Send(RawClient::Message(kReply, 0, Wire().Ulong(1).Ulong(0).Ulong(0).Bytes()));
  EXPECT_EQ(client.Answer(), "closed");
  ExpectServes();
}

TEST_P(guarded_transport, ARequestThatIsTooLargeIsAnsweredAndTheConnectionGoesOn) {
  RawClient client(address_);
  Wire arguments;
  arguments.Text(std::string(100'000, 'x'));
  EXPECT_EQ(client.Call("_is_a", arguments), "MARSHAL");
  EXPECT_EQ(client.Call("GetId", Wire()), "ok");
  EXPECT_TRUE(Says("Request _is_a of")) << server_->Error();
}

TEST_P(guarded_transport, FragmentsArePutTogether) {
  RawClient client(address_);
  Wire sample;
  TraceType()(sample);
  WriteTrace(sample, 10'000, 10'000);
  EXPECT_EQ(client.CallInFragments("DDS_Callback", sample, 64), "ok");
  EXPECT_EQ(client.Call("GetId", Wire()), "ok");
}

INSTANTIATE_TEST_SUITE_P(over, guarded_transport, testing::Values(Endpoint::Tcp, Endpoint::Unix),
                         [](const auto& test) { return std::string(test.param == Endpoint::Tcp ? "Tcp" : "Unix"); });

}  // namespace
}  // namespace Corvanta::Test
