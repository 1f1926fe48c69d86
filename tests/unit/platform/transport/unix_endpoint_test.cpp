// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/unix_endpoint.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/transport/SettingsFile.h"

namespace Corvanta {
namespace {

namespace fs = std::filesystem;

/// A socket file, with a listener behind it as long as this lives.
class Listener {
 public:
  explicit Listener(const fs::path& path) : descriptor_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.native().copy(address.sun_path, sizeof address.sun_path - 1);
    if (::bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(descriptor_, 1) != 0)
      throw std::runtime_error("no listener at " + path.string());
  }
  ~Listener() { ::close(descriptor_); }

 private:
  const int descriptor_;
};

void LeaveSocket(const fs::path& path) { Listener listener(path); }

/// The id of a process that is gone.
pid_t GonePid() {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(0);
  ::waitpid(child, nullptr, 0);
  return child;
}

class UnixEndpoint : public testing::Test {
 protected:
  UnixEndpoint() {
    std::string name = (fs::temp_directory_path() / "lumenar-unix-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error(name);
    directory_ = name;
  }
  ~UnixEndpoint() override { fs::remove_all(directory_); }

  static std::string Refusal(const fs::path& path) {
    try {
      return "accepted as " + PrepareEndpoint("giop:unix:" + path.string());
    } catch (const TransportConfigError& error) {
      const std::string line = error.what();
      const std::string start = "giop:unix:" + path.string() + ": ";
      return line.compare(0, start.size(), start) == 0 ? line.substr(start.size()) : line;
    }
  }

  /// The socket's path that an endpoint at `path` becomes.
  static fs::path Prepared(const fs::path& path) {
    return PrepareEndpoint("giop:unix:" + path.string()).substr(std::string("giop:unix:").size());
  }

  fs::path directory_;
};

TEST_F(UnixEndpoint, OtherEndpointsStayAsTheyAre) {
  for (const char* endpoint : {"giop:tcp:127.0.0.1:", "giop:ssl::3000", "giop:unix"})
    EXPECT_EQ(PrepareEndpoint(endpoint), endpoint);
}

TEST_F(UnixEndpoint, AFreePathStaysAsItIs) { EXPECT_EQ(Prepared(directory_ / "manager"), directory_ / "manager"); }

TEST_F(UnixEndpoint, ADirectoryGetsASocketNamedByProgramAndProcess) {
  const fs::path socket = Prepared(directory_ / "");
  EXPECT_EQ(socket.parent_path(), directory_);
  EXPECT_EQ(socket.extension(), "." + std::to_string(::getpid()));
  EXPECT_EQ(socket.stem(), fs::read_symlink("/proc/self/exe").filename());
}

TEST_F(UnixEndpoint, AMissingDirectoryIsMadeForItsOwnerAlone) {
  Prepared(directory_ / "run" / "");
  struct stat status {};
  ASSERT_EQ(::stat((directory_ / "run").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700U);
}

TEST_F(UnixEndpoint, ASocketThatWasLeftBehindIsRemoved) {
  LeaveSocket(directory_ / "manager");
  Prepared(directory_ / "manager");
  EXPECT_FALSE(fs::exists(directory_ / "manager"));
}

TEST_F(UnixEndpoint, SocketsOfProcessesThatAreGoneAreRemovedFromTheDirectory) {
  const fs::path gone = directory_ / ("engine_host." + std::to_string(GonePid()));
  const fs::path alive = directory_ / ("engine_host." + std::to_string(::getppid()));
  LeaveSocket(gone);
  LeaveSocket(alive);  // about to listen again, for all that is known
  std::ofstream(directory_ / ("file." + std::to_string(GonePid()))) << "no socket";
  std::ofstream(directory_ / "manager") << "no number";

  Prepared(directory_ / "");

  EXPECT_FALSE(fs::exists(gone));
  EXPECT_TRUE(fs::exists(alive));
  EXPECT_TRUE(fs::exists(directory_ / "manager"));
  EXPECT_EQ(std::distance(fs::directory_iterator(directory_), {}), 3);
}

TEST_F(UnixEndpoint, SocketsThatNameNoProcessAreLeftAlone) {
  const std::string gone = std::to_string(GonePid());
  const std::vector<std::string> names = {
      "manager", "manager.", "engine." + gone + "x", "engine.-" + gone, "engine.0", "engine.99999999999", gone};
  for (const std::string& name : names) LeaveSocket(directory_ / name);

  Prepared(directory_ / "");

  for (const std::string& name : names) EXPECT_TRUE(fs::exists(directory_ / name)) << name;
}

TEST_F(UnixEndpoint, ASocketWithAListenerIsLeftAlone) {
  const Listener manager(directory_ / "manager");
  const Listener engine(directory_ / ("engine_host." + std::to_string(GonePid())));
  EXPECT_EQ(Refusal(directory_ / "manager"), "another process listens there");
  Prepared(directory_ / "");
  EXPECT_EQ(std::distance(fs::directory_iterator(directory_), {}), 2);
}

TEST_F(UnixEndpoint, WhatIsNoSocketIsLeftAlone) {
  std::ofstream(directory_ / "notes") << "mine";
  EXPECT_EQ(Refusal(directory_ / "notes"), "there is something else than a socket");
  EXPECT_TRUE(fs::exists(directory_ / "notes"));
  fs::create_symlink(directory_ / "notes", directory_ / "link");
  EXPECT_EQ(Refusal(directory_ / "link"), "there is something else than a socket");
}

TEST_F(UnixEndpoint, ADirectoryThatOthersCanWriteToIsRefused) {
  for (const mode_t mode : {0770, 0707, 01777}) {
    ASSERT_EQ(::chmod(directory_.c_str(), mode), 0);
    EXPECT_EQ(Refusal(directory_ / "manager"),
              directory_.string() + " can be written by others: it must be its owner's alone (chmod 700)");
  }
  ASSERT_EQ(::chmod(directory_.c_str(), 0755), 0);
  EXPECT_EQ(Prepared(directory_ / "manager"), directory_ / "manager") << "reading harms nothing";
}

TEST_F(UnixEndpoint, ADirectoryThatCannotBeUsedIsRefused) {
  std::ofstream(directory_ / "notes") << "mine";
  EXPECT_EQ(Refusal(directory_ / "notes" / "x"), (directory_ / "notes").string() + " is no directory");
  EXPECT_EQ(Refusal(directory_ / "a" / "b" / "x"),
            (directory_ / "a" / "b").string() + " cannot be made: No such file or directory");
}

TEST_F(UnixEndpoint, ADirectoryOfAnotherUserIsRefused) {
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(directory_.c_str(), 1, 1), 0);
    EXPECT_EQ(Refusal(directory_ / "x"), directory_.string() + " belongs to another user");
  } else {
    EXPECT_EQ(Refusal("/usr/lib/x"), "/usr/lib belongs to another user");
  }
}

TEST_F(UnixEndpoint, APathThatNoSocketCanHaveIsRefused) {
  EXPECT_EQ(Refusal("run/manager"), "the path must be absolute");
  EXPECT_EQ(Refusal(""), "the path must be absolute");
  const fs::path longest = directory_ / std::string(107 - directory_.native().size() - 1, 'x');
  EXPECT_EQ(Prepared(longest), longest);
  const std::string reason = "a socket's path has at most 107 bytes";
  EXPECT_EQ(Refusal(longest.string() + "x"), reason);
}

}  // namespace
}  // namespace Corvanta
