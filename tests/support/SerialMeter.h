// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <string>

namespace Lumenar::Test {

/// A multimeter at a serial port, played by a pseudo-terminal: it sends what it shows twenty times a second, as meters
/// with the FS9922 chip do, in 14 bytes: sign, four digits, blank, place of the point, four bytes of flags, bar, end of
/// line. The driver of libsigrok for one of these is kDriver.
class SerialMeter {
 public:
  static constexpr const char* kDriver = "uni-t-ut61b-ser";

  /// Flags of a display; those of one byte are together.
  enum First { kHold = 2, kRelative = 4, kAc = 8, kDc = 16, kAutoRange = 32 };
  enum Second { kMin = 16, kMax = 32 };
  enum Third { kMega = 16, kKilo = 32, kMilli = 64, kMicro = 128 };
  enum Fourth { kFarad = 4, kHertz = 8, kOhm = 32, kAmpere = 64, kVolt = 128 };

  /// What a meter shows. `point` is '1' behind the first digit, '2' behind the second, '4' behind the third, '0' none.
  struct Display {
    std::string digits;  ///< with the sign, "+1234"; "+?0:?" for an overload
    char point;
    int first;
    int second;
    int third;
    int fourth;

    std::string Packet() const;
  };

  explicit SerialMeter(const Display& display);
  ~SerialMeter();
  SerialMeter(const SerialMeter&) = delete;
  SerialMeter& operator=(const SerialMeter&) = delete;

  /// The file of its port.
  const std::string& Path() const;

  /// SIGROK_DEVICE for it.
  std::string Device() const { return std::string(kDriver) + ":conn=" + Path(); }

  /// The environment of a program that shall take the pseudo-terminal for a serial port: LD_PRELOAD.
  static std::map<std::string, std::string> AsSerialPort();

  void Show(const Display& display);

  /// How often it has sent what it shows now.
  unsigned Sent() const;

  /// It sends nothing until it is switched on again.
  void SwitchOff();
  void SwitchOn();

  /// Its port is gone, for good.
  void Unplug();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Lumenar::Test
