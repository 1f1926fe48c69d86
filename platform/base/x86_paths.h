// SPDX-License-Identifier: Apache-2.0
#pragma once

// Loops that are compiled for several instruction sets of one processor family, and chosen when the program runs.

/// Whether there are such loops; 0 leaves each as what the compiler makes of it for its own target. A build may define
/// it.
#if !defined(LUMENAR_X86_PATHS)
#if defined(__x86_64__)
#define LUMENAR_X86_PATHS 1
#else
#define LUMENAR_X86_PATHS 0
#endif
#endif

/// What a function for the 256-bit, or the 512-bit, instructions is declared with.
#define LUMENAR_AVX2 [[gnu::target("avx2")]]
#define LUMENAR_AVX512 [[gnu::target("avx2,avx512f,avx512dq,avx512bw,avx512vl")]]

/// The same for one that asks for fused multiply-add by name; nothing else is fused.
#define LUMENAR_AVX2_FMA [[gnu::target("avx2,fma")]]
#define LUMENAR_AVX512_FMA [[gnu::target("avx2,fma,avx512f,avx512dq,avx512bw,avx512vl")]]
