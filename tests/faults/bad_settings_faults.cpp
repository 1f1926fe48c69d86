// SPDX-License-Identifier: Apache-2.0
// Settings, addresses and files that no program can use: one line with the reason, and an exit status; no abort, and no
// waiting.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <fstream>

#include "tests/faults/FaultCase.h"
#include "tests/faults/ProgramRun.h"

namespace Lumenar::Test {
namespace {

constexpr const char* kNobody =
    "127.0.0.1:1";  // an address where no naming service is; none is asked before the settings are good

class BadSettings : public testing::Test {
 protected:
  std::string Write(const std::string& text) {
    const auto path = platform_.Directory() / "settings";
    std::ofstream(path) << text;
    return path.string();
  }

  std::string Pipe() {
    const auto path = platform_.Directory() / "pipe";
    ::mkfifo(path.c_str(), 0600);
    return path.string();
  }

  static void ExpectAllRefuse(const std::map<std::string, std::string>& environment, const std::string& reason) {
    for (const ProgramCase& program : AllPrograms()) {
      SCOPED_TRACE(program.name + ": " + reason);
      ExpectRefusal(*Start(program, environment), program.refusal, reason);
    }
  }

  IsolatedPlatform platform_{IsolatedPlatform::Options::NamingOnly()};
};

TEST_F(BadSettings, OfTheTransport) {
  DescribeFault(
      "bad settings",
      "endpoints, peers, interfaces and numbers that are none, or that this machine does not have, for every program",
      "one line with file, line and reason, exit 1 (mathctl: 2)");
  const std::pair<std::string, std::string> rows[] = {
      {"giop:tcp:127.0.0.1:99999",
       "'giop:tcp:127.0.0.1:99999' is no endpoint: the port is no number from 1 to 65535\n"},
      {"giop:tcp:127.0.0.1:abc", "'giop:tcp:127.0.0.1:abc' is no endpoint: the port is no number from 1 to 65535\n"},
      {"giop:ssl:127.0.0.1:", "'giop:ssl:127.0.0.1:' is no endpoint: it must begin with giop:tcp: or giop:unix:\n"},
      {"giop:tcp:192.0.2.1:", "giop:tcp:192.0.2.1:: Cannot assign requested address\n"},
      {"giop:unix:/proc/no/", "giop:unix:/proc/no/: /proc/no cannot be made: "},
  };
  for (const auto& [endpoint, reason] : rows) {
    const std::string file = Write("# settings\n\norb.endpoint = " + endpoint + "\n");
    ExpectAllRefuse({{"LUMENAR_TRANSPORT_CONF", file}, {"LUMENAR_NAMING", kNobody}},
                    file + ":3: orb.endpoint: " + reason);
  }
  const std::pair<std::string, std::string> others[] = {
      {"orb.allowed_peer = 1.2.3.4/99", "orb.allowed_peer: '1.2.3.4/99' is not one"},
      {"dds.interface = nonsense!", "dds.interface: 'nonsense!' is no IPv4 address"},
  };
  for (const auto& [line, reason] : others) {
    const std::string file = Write(line + "\n");
    ExpectAllRefuse({{"LUMENAR_TRANSPORT_CONF", file}, {"LUMENAR_NAMING", kNobody}}, file + ":1: " + reason);
  }
}

TEST_F(BadSettings, AddressOfTheNamingService) {
  DescribeFault("nonsense addresses", "a naming service at addresses that are none, for every program and as --naming",
                "one line that names the setting, exit 1 (mathctl: 2)");
  const std::string plain = Write("");
  for (const char* address : {"abc", ":", "127.0.0.1:99999", "127.0.0.1:0", "a b:1", "300.1.1.1:2700", "[::1:2700"}) {
    ExpectAllRefuse({{"LUMENAR_NAMING", address}, {"LUMENAR_TRANSPORT_CONF", plain}},
                    "LUMENAR_NAMING: '" + std::string(address) + "' is no address: ");
    ExpectRefusal(*Start({"mathctl", {"--naming", address, "list"}, 2}, {}), 2,
                  "--naming: '" + std::string(address) + "' is no address: ");
  }
}

TEST_F(BadSettings, PipesInPlaceOfFiles) {
  DescribeFault("pipes in place of files",
                "a pipe, which nobody writes to, as transport settings, state file, recording, instrument settings, "
                "engine library",
                "one line with the file, exit 1 (wrong library, mathctl: 2); nobody waits");
  const std::string pipe = Pipe();
  const std::string reason = pipe + ": is not a regular file";
  ExpectAllRefuse({{"LUMENAR_TRANSPORT_CONF", pipe}, {"LUMENAR_NAMING", kNobody}}, reason);
  ExpectAllRefuse({{"LUMENAR_TRANSPORT_CONF", platform_.Directory().string()}, {"LUMENAR_NAMING", kNobody}},
                  platform_.Directory().string() + ": is not a regular file");
  const auto& environment = platform_.Environment();
  for (const char* service : {"topic_manager", "hw_enumeration"})
    ExpectRefusal(*Start({service, {"--state", pipe}, 1}, environment), 1, reason);
  const std::string sim = BuiltEngineLibrary("sim").string(), replay = BuiltEngineLibrary("replay").string();
  ExpectRefusal(*Start({"engine_host", {sim, "--set", "SIM_CONFIG=" + pipe}, 1}, environment), 1, reason);
  const std::string scpi = BuiltEngineLibrary("scpi").string();
  ExpectRefusal(*Start({"engine_host", {scpi, "--set", "SCPI_DEVICES=" + pipe}, 1}, environment), 1, reason);
  ExpectRefusal(*Start({"engine_host", {replay, "--set", "REPLAY_FILES=" + pipe}, 1}, environment), 1, reason);
  ExpectRefusal(*Start({"engine_host", {pipe}, 2}, environment), 2, reason);
}

TEST_F(BadSettings, OfTheSimulatorNameTheLine) {
  const std::string file = Write("# items\nlong:A\ntrace:B:wave=square:points=0\n");
  const std::string sim = BuiltEngineLibrary("sim").string();
  ExpectRefusal(*Start({"engine_host", {sim, "--set", "SIM_CONFIG=" + file}, 1}, platform_.Environment()), 1,
                "SIM_CONFIG=" + file + ":3: ");
}

TEST_F(BadSettings, WrongArguments) {
  DescribeFault("wrong arguments", "unknown options, values out of range, too many words, for every program",
                "one line, exit 2");
  const std::string engine = BuiltEngineLibrary("math_factory_hh").string();
  const ProgramCase rows[] = {{"topic_manager", {"--wrong"}, 2},
                              {"topic_manager", {"--queue", "0"}, 2},
                              {"topic_manager", {"--queue", "many"}, 2},
                              {"topic_manager", {"--state"}, 2},
                              {"topic_manager", {"word"}, 2},
                              {"hw_enumeration", {"--wrong"}, 2},
                              {"hw_enumeration", {"word"}, 2},
                              {"engine_host", {}, 2},
                              {"engine_host", {engine, "word"}, 2},
                              {"engine_host", {engine, "--set", "NOTHING"}, 2},
                              {"engine_host", {"/nonexistent/x.so"}, 2},
                              {"engine_host", {BuiltProgram("mathctl").string()}, 2},
                              {"engine_host", {"/etc/passwd"}, 2},
                              {"engine_host", {"/tmp"}, 2},
                              {"math_web", {"--wrong"}, 2},
                              {"math_web", {"--listen", "nonsense"}, 2},
                              {"mathctl", {}, 2},
                              {"mathctl", {"watch", "X", "-n", "-1"}, 2},
                              {"mathctl", {"watch", "X", "-n", "0"}, 2}};
  for (const ProgramCase& row : rows) {
    SCOPED_TRACE(row.name + " " + testing::PrintToString(row.arguments));
    ExpectRefusal(*Start(row, platform_.Environment()), row.refusal, row.name + ": ");
  }
}

}  // namespace
}  // namespace Lumenar::Test
