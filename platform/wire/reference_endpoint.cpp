// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/reference_endpoint.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace Lumenar {
namespace {

// Reads the encapsulations of an object reference (CORBA 3.3, part 2, 7.6.2 and 7.7.2): numbers stand at multiples of
// their size, in the byte order that the first octet tells.
class Encapsulation {
 public:
  explicit Encapsulation(std::string_view bytes) : bytes_(bytes) { little_ = Octet() != 0; }

  unsigned Octet() { return static_cast<unsigned char>(Take(1)[0]); }
  unsigned Short() { return static_cast<unsigned>(Number(2)); }
  std::uint32_t Long() { return Number(4); }
  std::string_view Sequence() { return Take(Long()); }

  std::string_view String() {
    std::string_view text = Sequence();
    if (!text.empty()) text.remove_suffix(1);  // its terminating zero
    return text;
  }

 private:
  std::string_view Take(std::size_t count) {
    if (count > bytes_.size() - at_) throw std::out_of_range("object reference ends early");
    const auto part = bytes_.substr(at_, count);
    at_ += count;
    return part;
  }

  std::uint32_t Number(std::size_t size) {
    Take((size - at_ % size) % size);
    const auto part = Take(size);
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < size; ++i) {
      number = number << 8 | static_cast<unsigned char>(part[little_ ? size - 1 - i : i]);
    }
    return number;
  }

  std::string_view bytes_;
  std::size_t at_ = 0;
  bool little_ = false;
};

std::string FromHex(std::string_view hex) {
  if (hex.size() % 2 != 0) throw std::invalid_argument("half an octet");
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    unsigned char byte = 0;
    const auto [end, error] = std::from_chars(hex.data() + i, hex.data() + i + 2, byte, 16);
    if (error != std::errc() || end != hex.data() + i + 2) throw std::invalid_argument("not hexadecimal");
    bytes.push_back(static_cast<char>(byte));
  }
  return bytes;
}

/// The path in the ORB's component for a socket of one machine, "unix:PATH"; empty when a profile has none. The profile
/// has been read up to its object key.
/// Errors   std::out_of_range when it ends early.
std::string UnixEndpoint(Encapsulation profile) {
  constexpr std::uint32_t kUnixComponent = 0x41545402;
  profile.Sequence();  // object key
  for (std::uint32_t left = profile.Long(); left > 0; --left) {
    const std::uint32_t tag = profile.Long();
    Encapsulation component(profile.Sequence());
    if (tag != kUnixComponent) continue;
    component.String();  // machine
    return "unix:" + std::string(component.String());
  }
  return {};
}

/// Empty when the profile cannot be read or names no host or no port.
std::string InternetEndpoint(std::string_view profile_data) {
  try {
    Encapsulation profile(profile_data);
    profile.Octet();  // version of the protocol, major
    profile.Octet();  // and minor
    const std::string host(profile.String());
    const unsigned port = profile.Short();
    if (port == 0) return UnixEndpoint(profile);  // so the ORB describes a process that has no internet address
    return host.empty() ? std::string() : host + ':' + std::to_string(port);
  } catch (const std::out_of_range&) {
    return {};
  }
}

/// A peer writes what it likes where a host should stand, and endpoints go into lines for people.
bool HasControlCharacter(std::string_view endpoint) {
  return std::any_of(endpoint.begin(), endpoint.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; });
}

std::string FirstEndpoint(std::string_view bytes) {
  constexpr std::uint32_t kInternetProfile = 0;
  Encapsulation reference(bytes);
  reference.String();  // type id
  for (std::uint32_t left = reference.Long(); left > 0; --left) {
    const std::uint32_t tag = reference.Long();
    const std::string_view data = reference.Sequence();
    const std::string endpoint = tag == kInternetProfile ? InternetEndpoint(data) : std::string();
    if (!endpoint.empty() && !HasControlCharacter(endpoint)) return endpoint;
  }
  return {};
}

}  // namespace

std::string EndpointOf(std::string_view reference) {
  constexpr std::string_view kPrefix = "IOR:";
  if (reference.substr(0, kPrefix.size()) != kPrefix) return {};
  try {
    return FirstEndpoint(FromHex(reference.substr(kPrefix.size())));
  } catch (const std::logic_error&) {  // a reference that cannot be read names no endpoint
    return {};
  }
}

}  // namespace Lumenar
