// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libsigrok/libsigrok.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "instruments/sigrok/DeviceName.h"

namespace Lumenar::Sigrok {

/// What the library or a device would not do, in one line.
class DeviceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct ListDeleter {
  void operator()(GSList* list) const noexcept { g_slist_free(list); }
};
struct VariantDeleter {
  void operator()(GVariant* variant) const noexcept { g_variant_unref(variant); }
};
struct ArrayDeleter {
  void operator()(GArray* array) const noexcept { g_array_free(array, TRUE); }
};

/// A list whose items belong to somebody else; a value; an array.
using ListPtr = std::unique_ptr<GSList, ListDeleter>;
using VariantPtr = std::unique_ptr<GVariant, VariantDeleter>;
using ArrayPtr = std::unique_ptr<GArray, ArrayDeleter>;

/// The library, ready for use. It starts a thread of its own, which blocks all signals.
/// Threads   one at a time.
class SigrokLibrary {
 public:
  /// `log_level` from 0, nothing, to 5: what the library says is written to standard error, a line each.
  /// Errors   DeviceError.
  explicit SigrokLibrary(int log_level);
  ~SigrokLibrary();
  SigrokLibrary(const SigrokLibrary&) = delete;
  SigrokLibrary& operator=(const SigrokLibrary&) = delete;

  sr_context* Context() const noexcept { return context_; }

  /// Errors   DeviceError for a driver that there is not.
  sr_dev_driver* Driver(const std::string& name) const;

 private:
  sr_context* context_ = nullptr;
};

/// Calls a function of the library: "WHAT: REASON" is thrown, with what the library said last, where it fails.
/// Errors   DeviceError.
void Require(int result, const std::string& what);

/// What is known of an option by its name.
/// Errors   DeviceError for one that there is not.
const sr_key_info& OptionInfo(const std::string& key);

/// The value of an option, from text.
/// Errors   DeviceError for a text that is none, and for a kind of option that has no text.
VariantPtr ValueFromText(const sr_key_info& info, const std::string& text);

/// What the devices of a name, found by the driver's scan in this process, are; they belong to the driver. The scan
/// asks at the device, may send it more than a question for its name, and waits for a mute one without a limit.
/// Errors   DeviceError for a driver or an option of its scan that there is not.
ListPtr Scan(const SigrokLibrary& library, const DeviceName& name);

}  // namespace Lumenar::Sigrok
