// SPDX-License-Identifier: Apache-2.0
// The server that plays instruments is understood by clients that others wrote, so that what our engine is tested with is
// what instruments do. Each is skipped where it is not installed (scripts/install-deps instruments).
#include <gmock/gmock.h>

#include <sstream>

#include "tests/support/ScpiServer.h"

namespace Lumenar::Test {
namespace {

constexpr const char* kSystemPython = "/usr/bin/python3";  // to which the system's packages belong

bool IsThere(std::vector<std::string> command) {
  try {
    Process process(std::move(command));
    return process.WaitForExit(std::chrono::seconds(30)) == 0;
  } catch (const std::runtime_error&) {
    return false;
  }
}

std::string OutputOf(std::vector<std::string> command) {
  Process process(std::move(command));
  EXPECT_EQ(process.WaitForExit(std::chrono::seconds(30)), 0) << process.Error();
  return process.Out();
}

std::string PortOf(const std::string& address) { return address.substr(address.rfind(':') + 1); }

TEST(IndependentClients, PyVisaReadsNumbersAndBlocks) {
  if (!IsThere({kSystemPython, "-c", "import pyvisa, pyvisa_py"}))
    GTEST_SKIP() << "pyvisa and pyvisa-py are not installed";
  const ScpiServer server;
  const std::string script = R"(
import sys, pyvisa
manager = pyvisa.ResourceManager("@py")
def instrument(port):
    resource = manager.open_resource(f"TCPIP::127.0.0.1::{port}::SOCKET", read_termination="\n", write_termination="\n")
    resource.timeout = 10000
    return resource
meter, analyser = instrument(sys.argv[1]), instrument(sys.argv[2])
print(meter.query("*IDN?"))
print(4.9 < float(meter.query(":MEAS:VOLT:DC?")) < 5.1)
analyser.write(":FORM REAL,32")
big = analyser.query_binary_values(":TRAC? TRACE1", datatype="f", is_big_endian=True)
print(len(big), -35 < max(big) < -25)
analyser.write(":FORM ASC")
print(len(analyser.query_ascii_values(":TRAC? TRACE1")))
)";
  EXPECT_EQ(OutputOf({kSystemPython, "-c", script, PortOf(server.Multimeter()), PortOf(server.Analyser())}),
            "Lumenar,Multimeter,0,1.0\nTrue\n10001 True\n10001\n");
}

TEST(IndependentClients, LxiToolsReadAnAnswer) {
  if (!IsThere({"lxi", "--version"})) GTEST_SKIP() << "lxi-tools is not installed";
  const ScpiServer server;
  EXPECT_THAT(OutputOf({"lxi", "scpi", "-a", "127.0.0.1", "-p", PortOf(server.Multimeter()), "-r", "*IDN?"}),
              testing::HasSubstr("Lumenar,Multimeter,0,1.0"));
}

}  // namespace
}  // namespace Lumenar::Test
