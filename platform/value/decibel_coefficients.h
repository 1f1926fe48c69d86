// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>

#include "platform/value/double_double.h"

// Computed by scripts/generate-kernels; a change belongs there.
namespace Lumenar::Value::Detail {

/// log10((1 + s) / (1 - s)) / s for |s| <= 3 - sqrt(8), in powers of s^2, lowest first.
inline constexpr std::array<double, 6> kLog10_polynomial = {
    0x1.bcb7b1526e440p-1, 0x1.287a7637ead90p-2, 0x1.63c6247ae3cfdp-3,
    0x1.fc4301f2bc297p-4, 0x1.8a737cc14a6ffp-4, 0x1.5ccd76176ce8bp-4,
};

/// 2^t for |t| <= 1/2, lowest power first.
inline constexpr std::array<double, 10> kExp2_polynomial = {
    0x1.000000000003dp+0,  0x1.62e42fefa39f7p-1,  0x1.ebfbdff8149f2p-3,  0x1.c6b08d7044119p-5,  0x1.3b2ab72b175eep-7,
    0x1.5d87fe908f88ap-10, 0x1.43088e257f340p-13, 0x1.ffcb76789860ep-17, 0x1.63ef969a64d88p-20, 0x1.b6571de2f239ep-24,
};

inline constexpr Double_double kLog10_of_2{0x1.34413509f79ffp-2, -0x1.9dc1da994fd21p-59};  // log10(2)
inline constexpr Double_double kLog2_of_10{0x1.a934f0979a371p+1, 0x1.7f2495fb7fa6dp-53};   // log2(10)
inline constexpr Double_double kLog10_of_e{0x1.bcb7b1526e50ep-2, 0x1.95355baaafad3p-57};   // log10(e)
inline constexpr Double_double kLn_of_2{0x1.62e42fefa39efp-1, 0x1.abc9e3b39803fp-56};      // ln(2)
inline constexpr Double_double kLn_of_10{0x1.26bb1bbb55516p+1, -0x1.f48ad494ea3e9p-53};    // ln(10)

}  // namespace Lumenar::Value::Detail
