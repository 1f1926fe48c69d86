// SPDX-License-Identifier: Apache-2.0
#pragma once

// Lock rules that clang's -Wthread-safety checks; other compilers see nothing.
#if defined(__clang__)
#define LUMENAR_ANNOTATION(x) __attribute__((x))
#else
#define LUMENAR_ANNOTATION(x)
#endif

#define CAPABILITY(x) LUMENAR_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY LUMENAR_ANNOTATION(scoped_lockable)
#define GUARDED_BY(x) LUMENAR_ANNOTATION(guarded_by(x))
#define REQUIRES(...) LUMENAR_ANNOTATION(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) LUMENAR_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) LUMENAR_ANNOTATION(release_capability(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS LUMENAR_ANNOTATION(no_thread_safety_analysis)
