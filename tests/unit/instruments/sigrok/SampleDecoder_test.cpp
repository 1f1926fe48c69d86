// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/SampleDecoder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <vector>

namespace Lumenar::Sigrok {
namespace {

constexpr sr_rational kOne{1, 1};
constexpr sr_rational kZero{0, 1};

/// How numbers stand in a packet, as the rows below say it.
struct Form {
  unsigned char size;
  bool is_float;
  bool is_signed;
  bool is_bigendian;
};

sr_analog_encoding EncodingOf(const Form& form, sr_rational scale = kOne, sr_rational offset = kZero) {
  sr_analog_encoding encoding{};
  encoding.unitsize = form.size;
  encoding.is_float = form.is_float ? TRUE : FALSE;
  encoding.is_signed = form.is_signed ? TRUE : FALSE;
  encoding.is_bigendian = form.is_bigendian ? TRUE : FALSE;
  encoding.scale = scale;
  encoding.offset = offset;
  return encoding;
}

using Bytes = std::vector<std::uint8_t>;

struct DecodedRow {
  const char* what;
  Form form;
  Bytes bytes;
  double number;
};

// The bytes are those of IEEE 754 and of two's complement, by hand.
const DecodedRow kDecodedRows[] = {
    {"int8", {1, false, true, false}, {0x80}, -128},
    {"uint8", {1, false, false, false}, {0x80}, 128},
    {"int16", {2, false, true, false}, {0xfe, 0xff}, -2},
    {"int16, the other way", {2, false, true, true}, {0xff, 0xfe}, -2},
    {"uint16", {2, false, false, false}, {0xfe, 0xff}, 65534},
    {"uint16, the other way", {2, false, false, true}, {0x01, 0x02}, 258},
    {"int32", {4, false, true, false}, {0xff, 0xff, 0xff, 0x7f}, 2147483647},
    {"int32, the other way", {4, false, true, true}, {0x80, 0x00, 0x00, 0x01}, -2147483647},
    {"uint32", {4, false, false, false}, {0xff, 0xff, 0xff, 0xff}, 4294967295},
    {"int64", {8, false, true, false}, {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}, -1},
    {"int64, the other way", {8, false, true, true}, {0, 0, 0, 1, 0, 0, 0, 0}, 4294967296},
    {"uint64", {8, false, false, false}, {0, 0, 0, 0, 0, 0, 0, 0x80}, 9223372036854775808.0},
    {"float", {4, true, true, false}, {0x00, 0x00, 0xc0, 0xbf}, -1.5},
    {"float, the other way", {4, true, true, true}, {0xbf, 0xc0, 0x00, 0x00}, -1.5},
    {"double", {8, true, true, false}, {0x9a, 0x99, 0x99, 0x99, 0x99, 0x99, 0xb9, 0x3f}, 0.1},
    {"double, the other way", {8, true, true, true}, {0x3f, 0xb9, 0x99, 0x99, 0x99, 0x99, 0x99, 0x9a}, 0.1},
    {"infinite float", {4, true, true, true}, {0x7f, 0x80, 0x00, 0x00}, std::numeric_limits<double>::infinity()},
};

TEST(SampleDecoder, EveryEncoding) {
  for (const DecodedRow& row : kDecodedRows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(SampleDecoder(EncodingOf(row.form)).At(row.bytes.data(), 0), row.number);
  }
}

TEST(SampleDecoder, EverySampleIsScaledAndNotTheFirstAlone) {
  for (const DecodedRow& row : kDecodedRows) {
    SCOPED_TRACE(row.what);
    Bytes three;
    for (int i = 0; i < 3; ++i) three.insert(three.end(), row.bytes.begin(), row.bytes.end());
    const SampleDecoder decoder(EncodingOf(row.form, {-3, 4}, {5, 2}));
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(decoder.At(three.data(), i), row.number * -3 / 4 + 2.5);
  }
}

TEST(SampleDecoder, AnUnevenAddressIsReadAsAnother) {
  const Bytes bytes{0, 0xbf, 0xc0, 0x00, 0x00};
  EXPECT_EQ(SampleDecoder(EncodingOf({4, true, true, true})).At(bytes.data() + 1, 0), -1.5);
}

TEST(SampleDecoder, ThousandthsAreThoseOfDecimalText) {
  const Bytes bytes{0xe9, 0x03};  // 1001
  EXPECT_EQ(SampleDecoder(EncodingOf({2, false, true, false}, {1, 1000})).At(bytes.data(), 0), 1.001);
}

TEST(SampleDecoder, WhatThereIsNotIsRefused) {
  for (const Form& form : {Form{0, false, true, false}, Form{3, false, true, false}, Form{16, false, true, false},
                           Form{1, true, true, false}, Form{2, true, true, false}})
    EXPECT_THROW(SampleDecoder(EncodingOf(form)), std::invalid_argument) << int{form.size};
  EXPECT_THROW(SampleDecoder(EncodingOf({4, true, true, false}, {1, 0})), std::invalid_argument);
  EXPECT_THROW(SampleDecoder(EncodingOf({4, true, true, false}, kOne, {0, 0})), std::invalid_argument);
}

TEST(LastDigit, IsAPowerOfTen) {
  sr_analog_encoding encoding = EncodingOf({4, true, true, false});
  encoding.is_digits_decimal = TRUE;
  encoding.digits = 3;
  EXPECT_EQ(LastDigit(encoding), 0.001);
  encoding.digits = 0;
  EXPECT_EQ(LastDigit(encoding), 1);
  encoding.digits = -2;
  EXPECT_EQ(LastDigit(encoding), 100);
  encoding.is_digits_decimal = FALSE;
  EXPECT_EQ(LastDigit(encoding), std::nullopt);
}

}  // namespace
}  // namespace Lumenar::Sigrok
