// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/records/SampleRecord.h"

namespace Corvanta {

/// A record as bytes: a CDR encapsulation (so either byte order can be read) of the kind, as an octet, and the record.
/// Errors   std::invalid_argument for a record of no kind.
std::vector<std::uint8_t> BytesOfRecord(const SampleRecord& record);

/// Errors   CORBA::MARSHAL for bytes that hold no whole record.
SampleRecord RecordOfBytes(std::span<const std::uint8_t> bytes);

}  // namespace Corvanta
