// SPDX-License-Identifier: Apache-2.0
// A library that lacks two of an engine's entry points.
extern "C" __attribute__((visibility("default"))) void* createEngine() { return nullptr; }
