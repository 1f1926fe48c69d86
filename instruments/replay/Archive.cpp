// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/Archive.h"

#include <fmt/format.h>
#include <unzip.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "instruments/replay/LineReader.h"
#include "instruments/replay/Recording.h"

namespace Lumenar::Replay {
namespace {

/// Bytes in memory, read as the archive library reads a file.
struct MemoryStream {
  std::string_view bytes;
  std::size_t at = 0;
};

MemoryStream& StreamOf(void* stream) { return *static_cast<MemoryStream*>(stream); }

void* OpenMemory(void* opaque, const void*, int) { return opaque; }
int CloseMemory(void*, void*) { return 0; }
int ErrorOfMemory(void*, void*) { return 0; }
uLong WriteMemory(void*, void*, const void*, uLong) { return 0; }
ZPOS64_T TellMemory(void*, void* stream) { return StreamOf(stream).at; }

uLong ReadMemory(void*, void* stream, void* room, uLong size) {
  MemoryStream& memory = StreamOf(stream);
  const std::size_t count = std::min<std::size_t>(size, memory.bytes.size() - memory.at);
  if (count > 0) std::memcpy(room, memory.bytes.data() + memory.at, count);
  memory.at += count;
  return static_cast<uLong>(count);
}

long SeekMemory(void*, void* stream, ZPOS64_T offset, int origin) {
  MemoryStream& memory = StreamOf(stream);
  std::size_t from = 0;
  if (origin == ZLIB_FILEFUNC_SEEK_CUR) from = memory.at;
  if (origin == ZLIB_FILEFUNC_SEEK_END) from = memory.bytes.size();
  if (offset > memory.bytes.size() - from) return -1;
  memory.at = from + static_cast<std::size_t>(offset);
  return 0;
}

[[noreturn]] void RefuseArchive(const std::string& reason) { throw FormatError(1, reason); }

/// Closes the current file of an archive.
class OpenFile {
 public:
  explicit OpenFile(unzFile archive) : archive_(archive) {
    if (unzOpenCurrentFile(archive_) != UNZ_OK) RefuseArchive("a file of the archive cannot be read");
  }
  ~OpenFile() {
    if (archive_ != nullptr) unzCloseCurrentFile(archive_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  /// Errors   FormatError when what was read is not what was written.
  void Close() {
    if (unzCloseCurrentFile(std::exchange(archive_, nullptr)) != UNZ_OK)
      RefuseArchive("a file of the archive is damaged");
  }

 private:
  unzFile archive_;
};

}  // namespace

struct Archive::Reading {
  explicit Reading(std::string_view bytes) : stream{bytes} {
    zlib_filefunc64_def functions{};
    functions.zopen64_file = OpenMemory;
    functions.zread_file = ReadMemory;
    functions.zwrite_file = WriteMemory;
    functions.ztell64_file = TellMemory;
    functions.zseek64_file = SeekMemory;
    functions.zclose_file = CloseMemory;
    functions.zerror_file = ErrorOfMemory;
    functions.opaque = &stream;
    file = unzOpen2_64("", &functions);
    if (file == nullptr) RefuseArchive("is no zip archive that can be read");
  }
  ~Reading() { unzClose(file); }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

  MemoryStream stream;
  unzFile file = nullptr;
};

Archive::Archive(std::string_view bytes) : reading_(std::make_unique<Reading>(bytes)) { ListNames(); }

Archive::~Archive() = default;

void Archive::ListNames() {
  unzFile file = reading_->file;
  int result = unzGoToFirstFile(file);
  for (; result == UNZ_OK; result = unzGoToNextFile(file)) {
    std::array<char, 256> name{};  // its last byte stays 0
    if (unzGetCurrentFileInfo64(file, nullptr, name.data(), name.size() - 1, nullptr, 0, nullptr, 0) != UNZ_OK)
      RefuseArchive("the list of the archive's files is damaged");
    names_.emplace_back(name.data());
  }
  if (result != UNZ_END_OF_LIST_OF_FILE) RefuseArchive("the list of the archive's files is damaged");
}

std::string Archive::Read(std::size_t place) {
  unzFile file = reading_->file;
  int result = unzGoToFirstFile(file);
  for (std::size_t i = 0; i < place && result == UNZ_OK; ++i) result = unzGoToNextFile(file);
  if (result != UNZ_OK) RefuseArchive("the list of the archive's files is damaged");
  OpenFile open(file);
  std::string contents;
  std::array<char, 65536> block{};
  int count = 0;
  while ((count = unzReadCurrentFile(file, block.data(), block.size())) > 0) {
    contents.append(block.data(), static_cast<std::size_t>(count));
    bytes_read_ += static_cast<std::size_t>(count);
    if (bytes_read_ > kMostBytes) RefuseArchive(fmt::format("the archive holds more than {} bytes", kMostBytes));
  }
  if (count < 0) RefuseArchive(Quoted(names_.at(place)) + " of the archive is damaged");
  open.Close();
  return contents;
}

}  // namespace Lumenar::Replay
