// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Corvanta::Test {

/// Bytes as they stand on the wire, in either byte order; padding is not zero, as it need not be.
class Wire {
 public:
  explicit Wire(bool little_endian = true) : little_endian_(little_endian) {}

  /// A body that says its own byte order first.
  static Wire Encapsulation(bool little_endian);

  Wire& Octet(std::uint8_t value);
  Wire& Ushort(std::uint16_t value);
  Wire& Ulong(std::uint32_t value);
  Wire& Float(float value);
  Wire& Double(double value);
  Wire& Text(const std::string& text);  ///< with its length and its zero
  Wire& Raw(const std::string& bytes);
  Wire& Nested(const Wire& encapsulation);  ///< with its length
  Wire& Align(std::size_t boundary);

  bool IsLittleEndian() const { return little_endian_; }
  const std::string& Bytes() const { return bytes_; }

 private:
  template <class T>
  Wire& Number(T value);

  bool little_endian_;
  std::string bytes_;
};

/// Adds one type code (kind and parameters) to a wire.
using TypeWriter = std::function<void(Wire&)>;

TypeWriter Simple(std::uint32_t kind);
TypeWriter Struct(const std::string& id, const std::vector<TypeWriter>& members);
TypeWriter Array(const TypeWriter& element, std::uint32_t length);
TypeWriter Sequence(const TypeWriter& element, std::uint32_t bound);
TypeWriter Alias(const TypeWriter& original);

/// The types of our records as they are on the wire.
TypeWriter UnitsType();
TypeWriter ValueType();
TypeWriter TraceType();

/// One value of each kind, and what it looks like on the wire behind its type.
inline constexpr std::uint32_t kTkLong = 3, kTkUlong = 5, kTkFloat = 6, kTkDouble = 7, kTkBoolean = 8, kTkAny = 11,
                               kTkStruct = 15, kTkString = 18, kTkSequence = 19;
void WriteUnits(Wire& wire);
void WriteValue(Wire& wire);
void WriteTrace(Wire& wire, std::uint32_t claimed_samples, std::uint32_t samples);

}  // namespace Corvanta::Test
