// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ProcessFigures.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

namespace Lumenar::Test {
namespace {

std::string Folder(pid_t pid) { return "/proc/" + std::to_string(pid); }

/// The number behind "NAME:" in a file.
std::optional<long> NumberIn(const std::filesystem::path& path, const std::string& name) {
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);)
    if (line.rfind(name + ":", 0) == 0) return std::stol(line.substr(name.size() + 1));
  return std::nullopt;
}

/// The same of the process's status.
long Status(pid_t pid, const std::string& name) {
  if (const auto number = NumberIn(Folder(pid) + "/status", name)) return *number;
  throw std::runtime_error("process " + std::to_string(pid) + " has no " + name + ": is it gone?");
}

}  // namespace

long AddressSpace_kB(pid_t pid) { return Status(pid, "VmSize"); }

long ResidentMemory_kB(pid_t pid) { return Status(pid, "VmRSS"); }

long PeakMemory_kB(pid_t pid) { return Status(pid, "VmHWM"); }

void ForgetPeakMemory(pid_t pid) { std::ofstream(Folder(pid) + "/clear_refs") << "5\n"; }

int CountThreads(pid_t pid) { return static_cast<int>(Status(pid, "Threads")); }

int CountDescriptors(pid_t pid) {
  const std::filesystem::directory_iterator descriptors(Folder(pid) + "/fd");
  return static_cast<int>(std::distance(begin(descriptors), end(descriptors)));
}

long CountWakings(pid_t pid) {
  long wakings = 0;
  for (const auto& thread : std::filesystem::directory_iterator(Folder(pid) + "/task"))
    wakings += NumberIn(thread.path() / "status", "voluntary_ctxt_switches").value_or(0);  // none of one that has ended
  return wakings;
}

std::chrono::milliseconds ProcessorTime(pid_t pid) {
  std::ifstream file(Folder(pid) + "/stat");
  std::string text;
  std::getline(file, text);
  std::istringstream fields(text.substr(text.rfind(')') + 1));  // the name may hold anything
  constexpr int kFieldsBefore = 11;
  std::string skipped;
  for (int i = 0; i < kFieldsBefore; ++i) fields >> skipped;
  long user = 0, system = 0;
  if (!(fields >> user >> system)) throw std::runtime_error("process " + std::to_string(pid) + " is gone");
  return std::chrono::milliseconds((user + system) * 1000 / sysconf(_SC_CLK_TCK));
}

}  // namespace Lumenar::Test
