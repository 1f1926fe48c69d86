// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/SigrokLibrary.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <span>
#include <utility>
#include <vector>

#include "platform/base/Diagnostic.h"
#include "platform/base/Mutex.h"

namespace Lumenar::Sigrok {
namespace {

/// What the library said last of what went wrong.
class LastWords {
 public:
  void Set(std::string words) {
    Lock lock(mutex_);
    words_ = std::move(words);
  }
  std::string Take() {
    Lock lock(mutex_);
    return std::exchange(words_, {});
  }

 private:
  Mutex mutex_;  // a leaf
  std::string words_ GUARDED_BY(mutex_);
};

LastWords& Words() {
  static LastWords words;
  return words;
}

std::string OneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
  return text;
}

/// Called by the library, from any of its threads.
int TakeLog(void* shown_level, int level, const char* format, va_list arguments) noexcept {
  std::array<char, 512> line{};
  std::vsnprintf(line.data(), line.size(), format, arguments);
  try {
    const std::string text = OneLine(line.data());
    if (level <= SR_LOG_WARN) Words().Set(text);
    if (level <= static_cast<int>(reinterpret_cast<std::intptr_t>(shown_level))) WriteError("libsigrok: " + text);
  } catch (const std::exception&) {  // a line that cannot be written has no other place
  }
  return SR_OK;
}

[[noreturn]] void RefuseValue(const sr_key_info& info, const std::string& text, const char* expected) {
  throw DeviceError(fmt::format("{}={}: expected {}", info.id, text, expected));
}

template <class Number>
Number NumberFrom(const sr_key_info& info, const std::string& text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) RefuseValue(info, text, "a number");
  return number;
}

GVariant* RationalFrom(const sr_key_info& info, const std::string& text) {
  std::uint64_t p = 0, q = 0;
  const bool period = info.datatype == SR_T_RATIONAL_PERIOD;
  const int result = period ? sr_parse_period(text.c_str(), &p, &q) : sr_parse_voltage(text.c_str(), &p, &q);
  if (result != SR_OK || q == 0) RefuseValue(info, text, period ? "a time, as 10ms" : "a voltage, as 500mV");
  return g_variant_new("(tt)", p, q);
}

GVariant* CountFrom(const sr_key_info& info, const std::string& text) {
  std::uint64_t count = 0;
  if (text.empty() || sr_parse_sizestring(text.c_str(), &count) != SR_OK)
    RefuseValue(info, text, "a whole number, as 200k");
  return g_variant_new_uint64(count);
}

GVariant* SwitchFrom(const sr_key_info& info, const std::string& text) {
  const bool on = text == "on" || text == "yes" || text == "true" || text == "1";
  const bool off = text == "off" || text == "no" || text == "false" || text == "0";
  if (!on && !off) RefuseValue(info, text, "on or off");
  return g_variant_new_boolean(on ? TRUE : FALSE);
}

GVariant* NewValue(const sr_key_info& info, const std::string& text) {
  switch (info.datatype) {
    case SR_T_UINT64: return CountFrom(info, text);
    case SR_T_STRING: return g_variant_new_string(text.c_str());
    case SR_T_BOOL: return SwitchFrom(info, text);
    case SR_T_FLOAT: return g_variant_new_double(NumberFrom<double>(info, text));
    case SR_T_INT32: return g_variant_new_int32(NumberFrom<std::int32_t>(info, text));
    case SR_T_RATIONAL_PERIOD:
    case SR_T_RATIONAL_VOLT: return RationalFrom(info, text);
    default: throw DeviceError(fmt::format("{}: such an option cannot be given as text", info.id));
  }
}

/// Options as the scan takes them.
class ScanOptions {
 public:
  explicit ScanOptions(std::size_t most) { configs_.reserve(most); }

  void Add(const sr_key_info& info, VariantPtr value) {
    configs_.push_back({info.key, value.get()});
    values_.push_back(std::move(value));
    list_.reset(g_slist_append(list_.release(), &configs_.back()));
  }

  GSList* List() const noexcept { return list_.get(); }

 private:
  std::vector<sr_config> configs_;  // never moved: the list points at them
  std::vector<VariantPtr> values_;
  ListPtr list_;
};

bool HasScanOption(const sr_dev_driver* driver, std::uint32_t key) {
  const ArrayPtr array(sr_driver_scan_options_list(driver));
  if (!array) return false;
  const std::span<const std::uint32_t> keys(reinterpret_cast<const std::uint32_t*>(array->data), array->len);
  return std::find(keys.begin(), keys.end(), key) != keys.end();
}

}  // namespace

SigrokLibrary::SigrokLibrary(int log_level) {
  sr_log_loglevel_set(std::max(log_level, static_cast<int>(SR_LOG_WARN)));
  sr_log_callback_set(TakeLog, reinterpret_cast<void*>(static_cast<std::intptr_t>(log_level)));
  Require(sr_init(&context_), "libsigrok");
}

SigrokLibrary::~SigrokLibrary() { sr_exit(context_); }

sr_dev_driver* SigrokLibrary::Driver(const std::string& name) const {
  sr_dev_driver** drivers = sr_driver_list(context_);
  for (; drivers != nullptr && *drivers != nullptr; ++drivers) {
    if (name != (*drivers)->name) continue;
    if ((*drivers)->context == nullptr) Require(sr_driver_init(context_, *drivers), name);  // once
    return *drivers;
  }
  throw DeviceError(fmt::format("there is no driver \"{}\"; sigrok-cli -L lists them", name));
}

void Require(int result, const std::string& what) {
  if (result >= SR_OK) return;
  const std::string words = Words().Take();
  const char* kind = sr_strerror(result);
  throw DeviceError(words.empty() ? fmt::format("{}: {}", what, kind) : fmt::format("{}: {} ({})", what, kind, words));
}

const sr_key_info& OptionInfo(const std::string& key) {
  const sr_key_info* info = sr_key_info_name_get(SR_KEY_CONFIG, key.c_str());
  if (info == nullptr) throw DeviceError(fmt::format("there is no option \"{}\"", key));
  return *info;
}

VariantPtr ValueFromText(const sr_key_info& info, const std::string& text) {
  return VariantPtr(g_variant_ref_sink(NewValue(info, text)));
}

ListPtr Scan(const SigrokLibrary& library, const DeviceName& name) {
  sr_dev_driver* driver = library.Driver(name.driver);
  ScanOptions options(name.options.size());
  for (const DeviceOption& option : name.options) {
    const sr_key_info& info = OptionInfo(option.key);
    if (!HasScanOption(driver, info.key))
      throw DeviceError(fmt::format("{} has no option {} by which a device is found", name.driver, option.key));
    options.Add(info, ValueFromText(info, option.value));
  }
  return ListPtr(sr_driver_scan(driver, options.List()));
}

}  // namespace Lumenar::Sigrok
