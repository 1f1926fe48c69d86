// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <memory>
#include <vector>

namespace Corvanta {

/// A value of a generated type, T, as the bytes of a message: for references that are kept long and seldom called. The
/// ORB keeps about 800 bytes for each that can be called, a message takes 160.
/// Threads   a value.
template <class T>
class MarshalledValue {
 public:
  /// No bytes: NewValue gives the type's default.
  MarshalledValue() = default;

  /// Errors   std::bad_alloc; CORBA system exceptions.
  explicit MarshalledValue(const T& value) {
    cdrMemoryStream stream;
    value >>= stream;
    const auto* begin = static_cast<const CORBA::Octet*>(stream.bufPtr());
    bytes_.assign(begin, begin + stream.bufSize());
  }

  /// The value, newly allocated; the caller deletes it.
  /// Errors   std::bad_alloc; CORBA system exceptions.
  T* NewValue() const {
    auto value = std::make_unique<T>();
    if (bytes_.empty()) return value.release();
    cdrMemoryStream stream(const_cast<CORBA::Octet*>(bytes_.data()), bytes_.size());  // which it only reads
    *value <<= stream;
    return value.release();
  }

 private:
  std::vector<CORBA::Octet> bytes_;
};

}  // namespace Corvanta
