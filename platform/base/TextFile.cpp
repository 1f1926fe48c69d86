// SPDX-License-Identifier: Apache-2.0
#include "platform/base/TextFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace Lumenar {

TextFile::TextFile(const std::filesystem::path& path, Links links) : path_(path.string()) {
  // Without O_NONBLOCK, opening a pipe waits for a writer.
  const int no_links = links == Links::Refused ? O_NOFOLLOW : 0;
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | no_links);
  if (descriptor < 0 && errno == ELOOP && no_links != 0) throw std::runtime_error(path_ + ": is a symbolic link");
  if (descriptor < 0) Fail(errno);
  struct stat status {};
  const int error = ::fstat(descriptor, &status) == 0 ? 0 : errno;
  const bool is_regular = error == 0 && S_ISREG(status.st_mode);
  if (is_regular) file_.reset(::fdopen(descriptor, "r"));
  if (file_) return;
  ::close(descriptor);
  if (error != 0 || is_regular) Fail(error != 0 ? error : ENOMEM);
  throw std::runtime_error(path_ + ": is not a regular file");
}

bool TextFile::NextLine(std::string& line, std::size_t longest) {
  line.clear();
  int character = 0;
  while ((character = std::getc(file_.get())) != EOF && character != '\n')
    if (line.size() <= longest) line.push_back(static_cast<char>(character));
  CheckRead();
  return character != EOF || !line.empty();
}

std::string TextFile::Rest(std::size_t largest) {
  std::string text;
  char block[16384];
  for (std::size_t count = 0; (count = std::fread(block, 1, sizeof block, file_.get())) > 0;) {
    text.append(block, count);
    if (text.size() > largest) throw std::runtime_error(fmt::format("{}: is larger than {} bytes", path_, largest));
  }
  CheckRead();
  return text;
}

void TextFile::CheckRead() const {
  if (std::ferror(file_.get()) != 0) Fail(errno);
}

void TextFile::Fail(int error) const { throw std::system_error(error, std::generic_category(), path_); }

}  // namespace Lumenar
