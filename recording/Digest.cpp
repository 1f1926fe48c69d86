// SPDX-License-Identifier: Apache-2.0
#include "recording/Digest.h"

#include <fmt/format.h>
#include <openssl/evp.h>

#include <boost/crc.hpp>
#include <stdexcept>

namespace Lumenar::Recording {
namespace {

using ContextOwner = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;

void RequireDone(bool done) {
  if (!done) throw std::runtime_error("SHA-256 cannot be computed here");
}

}  // namespace

struct Digest::State {
  ContextOwner context{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
};

Digest::Digest() : state_(std::make_unique<State>()) {
  RequireDone(state_->context && EVP_DigestInit_ex(state_->context.get(), EVP_sha256(), nullptr) == 1);
}

Digest::~Digest() = default;

void Digest::Add(std::string_view bytes) {
  RequireDone(EVP_DigestUpdate(state_->context.get(), bytes.data(), bytes.size()) == 1);
}

std::string Digest::Text() const {
  const ContextOwner copy(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
  unsigned char bytes[EVP_MAX_MD_SIZE];
  unsigned length = 0;
  RequireDone(copy && EVP_MD_CTX_copy_ex(copy.get(), state_->context.get()) == 1 &&
              EVP_DigestFinal_ex(copy.get(), bytes, &length) == 1);
  std::string text;
  for (unsigned i = 0; i < length; ++i) text += fmt::format("{:02x}", bytes[i]);
  return text;
}

std::string CrcText(std::string_view bytes) {
  boost::crc_32_type crc;
  crc.process_bytes(bytes.data(), bytes.size());
  return fmt::format("{:08x}", crc.checksum());
}

}  // namespace Lumenar::Recording
