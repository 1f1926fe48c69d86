// SPDX-License-Identifier: Apache-2.0
#include "recording/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zstd.h>

#include <cerrno>
#include <new>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace Lumenar::Recording {
namespace {

// Errors   std::system_error.
std::FILE* OpenToWrite(const std::string& path, OutputFile::Existing existing) {
  const int flags = O_WRONLY | O_CLOEXEC | O_NOCTTY;
  int descriptor = ::open(path.c_str(), flags | O_CREAT | O_EXCL, 0666);
  if (descriptor < 0 && errno == EEXIST) {
    const bool replaced = existing == OutputFile::Existing::Replaced;
    struct stat status {};
    const bool regular = ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    if (regular && !replaced) throw std::system_error(EEXIST, std::generic_category(), path);
    descriptor = ::open(path.c_str(), flags | (regular ? O_TRUNC : 0));
  }
  std::FILE* file = descriptor < 0 ? nullptr : ::fdopen(descriptor, "w");
  if (file != nullptr) return file;
  const int error = errno;
  if (descriptor >= 0) ::close(descriptor);
  throw std::system_error(error, std::generic_category(), path);
}

}  // namespace

// One zstd frame, with a checksum of its contents.
class OutputFile::Compressor {
 public:
  Compressor() : context_(ZSTD_createCCtx(), &ZSTD_freeCCtx), out_(ZSTD_CStreamOutSize()) {
    if (!context_) throw std::bad_alloc();
    ZSTD_CCtx_setParameter(context_.get(), ZSTD_c_checksumFlag, 1);
  }

  /// Calls write(bytes) with what leaves the compressor.
  template <class Write>
  void Run(std::string_view bytes, ZSTD_EndDirective end, Write write) {
    ZSTD_inBuffer in{bytes.data(), bytes.size(), 0};
    std::size_t left = 1;
    while (left != 0 && (end != ZSTD_e_continue || in.pos < in.size)) {
      ZSTD_outBuffer out{out_.data(), out_.size(), 0};
      left = ZSTD_compressStream2(context_.get(), &out, &in, end);
      if (ZSTD_isError(left) != 0) throw std::runtime_error(ZSTD_getErrorName(left));
      write(std::string_view(out_.data(), out.pos));
    }
  }

 private:
  std::unique_ptr<ZSTD_CCtx, decltype(&ZSTD_freeCCtx)> context_;
  std::vector<char> out_;
};

OutputFile::OutputFile(const std::string& path, Existing existing) : path_(path), file_(OpenToWrite(path, existing)) {
  if (path.ends_with(".zst")) compressor_ = std::make_unique<Compressor>();
}

OutputFile::~OutputFile() = default;

void OutputFile::Write(std::string_view bytes) {
  if (!compressor_) return WritePlain(bytes);
  compressor_->Run(bytes, ZSTD_e_continue, [this](std::string_view out) { WritePlain(out); });
}

void OutputFile::Flush() {
  if (compressor_) compressor_->Run({}, ZSTD_e_flush, [this](std::string_view out) { WritePlain(out); });
  if (std::fflush(file_.get()) != 0) Fail();
}

void OutputFile::Close() {
  if (compressor_) compressor_->Run({}, ZSTD_e_end, [this](std::string_view out) { WritePlain(out); });
  if (std::fflush(file_.get()) != 0) Fail();
  if (std::fclose(file_.release()) != 0) Fail();
}

void OutputFile::WritePlain(std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size()) Fail();
  size_ += bytes.size();
}

void OutputFile::Fail() const { throw std::system_error(errno, std::generic_category(), path_); }

}  // namespace Lumenar::Recording
