// SPDX-License-Identifier: Apache-2.0
#include "recording/LineFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zstd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <stdexcept>
#include <system_error>

namespace Lumenar::Recording {
namespace {

constexpr std::size_t kBlock = std::size_t{1} << 16;
constexpr int kLargestWindow = 27;  // 128 MB: what the zstd program reads without being asked
constexpr unsigned char kZstdMagic[] = {0x28, 0xB5, 0x2F, 0xFD};

// Errors   std::system_error, std::runtime_error.
std::FILE* OpenToRead(const std::string& path, std::size_t& size) {
  // Without O_NONBLOCK, opening a pipe waits for a writer.
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (descriptor < 0) throw std::system_error(errno, std::generic_category(), path);
  struct stat status {};
  const bool regular = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
  std::FILE* file = regular ? ::fdopen(descriptor, "r") : nullptr;
  if (file == nullptr) {
    ::close(descriptor);
    throw std::runtime_error(path + ": is not a regular file");
  }
  size = static_cast<std::size_t>(status.st_size);
  return file;
}

}  // namespace

class LineFile::Decompressor {
 public:
  Decompressor() : context_(ZSTD_createDCtx(), &ZSTD_freeDCtx) {
    if (!context_) throw std::bad_alloc();
    ZSTD_DCtx_setParameter(context_.get(), ZSTD_d_windowLogMax, kLargestWindow);
  }

  bool NeedsInput() const { return in_.pos == in_.size && !full_; }
  bool InFrame() const { return in_frame_; }

  /// Where compressed bytes are put; then Feed says how many. False for none.
  std::vector<char>& Input() { return input_; }
  bool Feed(std::size_t count) {
    in_ = {input_.data(), count, 0};
    return count > 0;
  }

  /// How many bytes came out; false for data that is damaged.
  bool Run(std::vector<char>& block, std::size_t& count) {
    ZSTD_outBuffer out{block.data(), block.size(), 0};
    const std::size_t hint = ZSTD_decompressStream(context_.get(), &out, &in_);
    if (ZSTD_isError(hint) != 0) return false;
    in_frame_ = hint != 0;
    full_ = out.pos == out.size;
    count = out.pos;
    return true;
  }

 private:
  std::unique_ptr<ZSTD_DCtx, decltype(&ZSTD_freeDCtx)> context_;
  std::vector<char> input_ = std::vector<char>(kBlock);
  ZSTD_inBuffer in_{nullptr, 0, 0};
  bool in_frame_ = false;
  bool full_ = false;
};

LineFile::LineFile(const std::string& path, std::size_t longest)
    : path_(path), longest_(longest), file_(OpenToRead(path, size_)), block_(kBlock) {
  unsigned char first[sizeof kZstdMagic];
  const std::size_t count = std::fread(first, 1, sizeof first, file_.get());
  std::rewind(file_.get());
  if (count == sizeof first && std::memcmp(first, kZstdMagic, sizeof first) == 0) {
    decompressor_ = std::make_unique<Decompressor>();
  }
}

LineFile::~LineFile() = default;

LineFile::Result LineFile::Next(std::string& line) {
  line.clear();
  while (true) {
    if (begin_ == end_ && !Fill()) {
      if (damaged_) return Result::Damaged;
      return cut_ || !line.empty() ? Result::Unended : Result::NoMore;
    }
    const char* from = block_.data() + begin_;
    const char* stop = std::find(from, static_cast<const char*>(block_.data()) + end_, '\n');
    const auto length = static_cast<std::size_t>(stop - from);
    const bool ends = begin_ + length < end_;
    if (line.size() + length > longest_) return Result::TooLong;
    line.append(from, length);
    begin_ += length + (ends ? 1 : 0);
    if (ends) return Result::Line;
  }
}

bool LineFile::Fill() {
  begin_ = 0;
  end_ = 0;
  if (!decompressor_) {
    end_ = Read(block_);
    return end_ > 0;
  }
  while (end_ == 0) {
    if (decompressor_->NeedsInput() && !decompressor_->Feed(Read(decompressor_->Input()))) {
      cut_ = decompressor_->InFrame();
      return false;
    }
    damaged_ = !decompressor_->Run(block_, end_);
    if (damaged_) return false;
  }
  return true;
}

std::size_t LineFile::Read(std::vector<char>& block) {
  const std::size_t count = std::fread(block.data(), 1, block.size(), file_.get());
  if (std::ferror(file_.get()) != 0) throw std::system_error(errno, std::generic_category(), path_);
  bytes_read_ += count;
  return count;
}

}  // namespace Lumenar::Recording
