#include "services/topic_manager/IorAddress.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Lumenar {
namespace {

using Bytes = std::span<const std::uint8_t>;
constexpr std::uint32_t kTagInternetIop = 0;

std::optional<std::vector<std::uint8_t>> FromHex(const std::string& text) {
  if (text.compare(0, 4, "IOR:") != 0 || text.size() % 2 != 0) return std::nullopt;
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 4; i < text.size(); i += 2) {
    std::uint8_t byte = 0;
    const char* digits = text.data() + i;
    const auto [end, error] = std::from_chars(digits, digits + 2, byte, 16);
    if (error != std::errc() || end != digits + 2) return std::nullopt;
    bytes.push_back(byte);
  }
  return bytes;
}

/// Reads one CDR encapsulation: its first byte tells the byte order. After an overrun every read gives 0 or nothing.
class Encapsulation {
 public:
  explicit Encapsulation(Bytes bytes) : bytes_(bytes) { little_ = Number(1) == 1; }

  bool Good() const { return good_; }

  std::uint32_t Number(std::size_t size) {
    position_ = (position_ + size - 1) / size * size;
    const Bytes field = Take(size);
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < field.size(); ++i) number = number << 8 | field[little_ ? field.size() - 1 - i : i];
    return number;
  }

  Bytes Octets() {
    const std::uint32_t length = Number(4);
    return Take(length);
  }

 private:
  Bytes Take(std::size_t size) {
    if (!good_ || position_ > bytes_.size() || size > bytes_.size() - position_) {
      good_ = false;
      return {};
    }
    position_ += size;
    return bytes_.subspan(position_ - size, size);
  }

  Bytes bytes_;
  std::size_t position_ = 0;
  bool little_ = false;
  bool good_ = true;
};

/// Of an IIOP profile: byte order, version, host, port.
std::optional<std::string> ProfileAddress(Bytes profile) {
  Encapsulation body(profile);
  body.Number(1);
  body.Number(1);
  const Bytes host = body.Octets();
  const std::uint32_t port = body.Number(2);
  if (!body.Good() || host.size() < 2 || port == 0) return std::nullopt;
  return fmt::format("{}:{}", std::string(host.begin(), host.end() - 1), port);
}

}  // namespace

std::string IorAddress(const std::string& reference) {
  const auto bytes = FromHex(reference);
  if (!bytes) return reference;
  Encapsulation ior(*bytes);
  ior.Octets();  // the type
  for (std::uint32_t count = ior.Number(4); ior.Good() && count > 0; --count) {
    const std::uint32_t tag = ior.Number(4);
    const Bytes profile = ior.Octets();
    if (tag != kTagInternetIop) continue;
    if (const auto address = ProfileAddress(profile)) return *address;
  }
  return reference;
}

}  // namespace Lumenar
