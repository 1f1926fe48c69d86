// SPDX-License-Identifier: Apache-2.0
// The peer's side of the comparison: a device server of TANGO that pushes traces as change events when it is told to.
#include <tango.h>

#include <vector>

#include "bench/system/peer_stamp.h"

namespace {

constexpr long kMostPoints = 2000000;

class Channel : public TANGO_BASE_CLASS {
 public:
  Channel(Tango::DeviceClass* device_class, const char* name) : TANGO_BASE_CLASS(device_class, name) { init_device(); }

  void init_device() override {
    samples_.assign(kMostPoints, 0);
    set_change_event("Trace", true, false);
  }

  void Read(Tango::Attribute& attribute) { attribute.set_value(samples_.data(), 4); }

  /// Pushes `count` events of `points` samples, each with the moment of its sending.
  void Burst(long points, long count) {
    for (long i = 0; i < count; ++i) {
      StampTrace(samples_.data());
      push_change_event("Trace", samples_.data(), points);
    }
  }

 private:
  std::vector<Tango::DevFloat> samples_;
};

class TraceAttribute : public Tango::SpectrumAttr {
 public:
  TraceAttribute() : SpectrumAttr("Trace", Tango::DEV_FLOAT, Tango::READ, kMostPoints) {}
  void read(Tango::DeviceImpl* device, Tango::Attribute& attribute) override {
    static_cast<Channel*>(device)->Read(attribute);
  }
};

class BurstCommand : public Tango::Command {
 public:
  BurstCommand() : Command("Burst", Tango::DEVVAR_LONGARRAY, Tango::DEV_VOID, "points, count", "", Tango::OPERATOR) {}
  CORBA::Any* execute(Tango::DeviceImpl* device, const CORBA::Any& in) override {
    const Tango::DevVarLongArray* numbers = nullptr;
    extract(in, numbers);
    static_cast<Channel*>(device)->Burst((*numbers)[0], (*numbers)[1]);
    return new CORBA::Any;
  }
};

class ChannelClass : public Tango::DeviceClass {
 public:
  explicit ChannelClass(std::string& name) : DeviceClass(name) {}
  void command_factory() override { command_list.push_back(new BurstCommand); }
  void attribute_factory(std::vector<Tango::Attr*>& attributes) override { attributes.push_back(new TraceAttribute); }
  void device_factory(const Tango::DevVarStringArray* names) override {
    for (CORBA::ULong i = 0; i < names->length(); ++i) {
      device_list.push_back(new Channel(this, (*names)[i]));
      export_device(device_list.back(), (*names)[i]);
    }
  }
};

}  // namespace

void Tango::DServer::class_factory() {
  std::string name = "Channel";
  add_class(new ChannelClass(name));
}

int main(int argc, char** argv) {
  try {
    Tango::Util* util = Tango::Util::init(argc, argv);
    util->server_init(false);
    std::cout << "ready" << std::endl;
    util->server_run();
    return 0;
  } catch (const CORBA::Exception& error) {
    Tango::Except::print_exception(error);
  } catch (const std::exception& error) {
    std::cerr << error.what() << std::endl;
  }
  return 1;
}
