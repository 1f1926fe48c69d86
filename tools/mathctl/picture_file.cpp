// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/picture_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <strings.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "client/Error.h"
#include "client/Text.h"

extern char** environ;

namespace Lumenar::Mathctl {
namespace {

using Client::Error;
using Client::ErrorKind;
using Client::Printable;

[[noreturn]] void RefuseFile(const std::string& path, int error) {
  throw Error(ErrorKind::Refused,
              fmt::format("{}: cannot be written ({})", Printable(path), std::generic_category().message(error)));
}

// A descriptor with an owner.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { Close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int Number() const { return number_; }
  /// False when what was written before did not reach its place.
  bool Close() {
    const int number = std::exchange(number_, -1);
    return number < 0 || close(number) == 0;
  }

 private:
  int number_;
};

bool WriteAll(int file, const std::string& bytes) {
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t count = write(file, bytes.data() + done, bytes.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}

std::string ReadAll(int file) {
  std::string bytes(static_cast<std::size_t>(std::max<off_t>(lseek(file, 0, SEEK_END), 0)), '\0');
  const ssize_t count = pread(file, bytes.data(), bytes.size(), 0);
  bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  return bytes;
}

// A program that reads and writes memory of ours; signals are for it as if a shell had started it.
class DrawingProgram {
 public:
  explicit DrawingProgram(const std::string& input) {
    if (!WriteAll(in_.Number(), input) || lseek(in_.Number(), 0, SEEK_SET) != 0)
      throw Error(ErrorKind::Refused, "no memory for the picture");
  }

  // Its exit status; -1 when it did not start.
  int Run(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&files);
    posix_spawnattr_init(&attributes);
    const int places[] = {in_.Number(), out_.Number(), error_.Number()};
    for (int i = 0; i < 3; ++i) posix_spawn_file_actions_adddup2(&files, places[i], i);
    SetSignals(attributes);
    pid_t process = 0;
    const int failure = posix_spawnp(&process, arguments[0], &files, &attributes, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    return failure == 0 ? StatusOf(process) : -1;
  }

  std::string Out() const { return ReadAll(out_.Number()); }

  std::string LastErrorLine() const {
    std::string text = ReadAll(error_.Number());
    text.erase(text.find_last_not_of(" \n") + 1);
    return Printable(text.substr(text.find_last_of('\n') + 1));
  }

 private:
  static int StatusOf(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
      if (errno != EINTR) return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  static void SetSignals(posix_spawnattr_t& attributes) {
    sigset_t none, usual;
    sigemptyset(&none);
    sigemptyset(&usual);
    for (const int number : {SIGPIPE, SIGXFSZ, SIGINT, SIGTERM, SIGQUIT}) sigaddset(&usual, number);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }

  Descriptor in_{memfd_create("in", MFD_CLOEXEC)};
  Descriptor out_{memfd_create("out", MFD_CLOEXEC)};
  Descriptor error_{memfd_create("error", MFD_CLOEXEC)};
};

std::filesystem::path FolderOf(const std::string& path) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  return folder.empty() ? "." : folder;
}

mode_t UsualMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

bool EndsAs(std::string_view path, std::string_view ending) {
  return path.size() > ending.size() &&
         strncasecmp(path.data() + path.size() - ending.size(), ending.data(), ending.size()) == 0;
}

std::optional<PictureKind> PictureKindOf(std::string_view path) {
  if (EndsAs(path, ".png")) return PictureKind::Png;
  if (EndsAs(path, ".svg")) return PictureKind::Svg;
  if (EndsAs(path, ".pdf")) return PictureKind::Pdf;
  return std::nullopt;
}

std::string Drawn(const std::vector<std::string>& words, const std::string& input, const std::string& package) {
  constexpr int kTimedOut = 124, kNotFound = 127;  // exit statuses of "timeout"
  std::vector<std::string> limited{"timeout", "60"};
  limited.insert(limited.end(), words.begin(), words.end());
  DrawingProgram program(input);
  const int status = program.Run(limited);
  std::string picture = program.Out();
  if (status == 0 && !picture.empty()) return picture;
  if (status == kNotFound || status == -1)
    throw Error(ErrorKind::Refused, fmt::format("{0} is not installed: apt-get install {1}", words[0], package));
  if (status == kTimedOut) throw Error(ErrorKind::Refused, words[0] + " did not finish within a minute");
  throw Error(ErrorKind::Refused, fmt::format("{} did not draw the picture: {}", words[0], program.LastErrorLine()));
}

void RequireWritable(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) RefuseFile(path, EISDIR);
  if (access(FolderOf(path).c_str(), W_OK | X_OK) != 0) RefuseFile(path, errno);
}

void WriteWhole(const std::string& path, const std::string& bytes) {
  RequireWritable(path);
  std::string beside = (FolderOf(path) / ".mathctl-XXXXXX").string();
  Descriptor file(mkostemp(beside.data(), O_CLOEXEC));
  if (file.Number() < 0) RefuseFile(path, errno);
  const bool whole = WriteAll(file.Number(), bytes) && fchmod(file.Number(), UsualMode()) == 0 && file.Close() &&
                     std::rename(beside.c_str(), path.c_str()) == 0;
  if (whole) return;
  const int error = errno;
  unlink(beside.c_str());
  RefuseFile(path, error);
}

}  // namespace Lumenar::Mathctl
