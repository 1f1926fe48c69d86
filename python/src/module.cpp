// SPDX-License-Identifier: Apache-2.0
// The extension lumenar._core: what the package is made of. People use the package, which documents itself.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/Error.h"
#include "platform/base/Version.h"
#include "platform/program/local_arguments.h"
#include "python/src/MonitorPart.h"
#include "python/src/PublicationPart.h"
#include "python/src/ReadingPart.h"
#include "python/src/Session.h"
#include "python/src/blocking.h"
#include "python/src/errors.h"
#include "python/src/interpreter.h"
#include "python/src/records.h"
#include "python/src/result_class.h"

LUMENAR_LOCAL_ARGUMENTS("lumenar")

namespace Lumenar::Python {
namespace {

namespace py = pybind11;

using SessionPointer = std::shared_ptr<Session>;
using ReadingPointer = std::shared_ptr<ReadingPart>;
using Readings = std::vector<ReadingPointer>;
using Floats = py::array_t<float, py::array::c_style | py::array::forcecast>;

/// At the end of the interpreter services that hang are not waited for longer.
constexpr std::chrono::milliseconds kExitLimit{2000};

std::chrono::milliseconds TimeLimit(double seconds) {
  if (!(seconds > 0) || seconds > 1e6) {
    throw Client::Error(Client::ErrorKind::BadArgument, "the time limit must be above 0 and at most 1e6 seconds");
  }
  return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

SessionPointer OpenSession(const std::optional<std::string>& address, double timeout_s) {
  const auto timeout = TimeLimit(timeout_s);
  return Blocking([=] { return Session::Open(address, timeout); }, [](SessionPointer session) { session->Close(); });
}

/// An object whose creation nobody waited for goes again.
ObjectInfo CreateObject(const SessionPointer& session, const std::string& type, const Readings& inputs) {
  return Blocking([=] { return session->Create(type, inputs); },
                  [session](const ObjectInfo& created) { session->Delete(created.id); });
}

std::shared_ptr<MonitorPart> Subscribe(const SessionPointer& session, const Readings& readings) {
  return Blocking([=] {
    auto monitor = std::make_shared<MonitorPart>(session->Use(), readings);
    session->Adopt(monitor);
    return monitor;
  });
}

// ---- publishing: records are made with the GIL, since they look into Python's arrays --------------------------------

using Record = std::shared_ptr<Corvanta::SampleRecord>;

Record Shared(Corvanta::SampleRecord&& record) { return std::make_shared<Corvanta::SampleRecord>(std::move(record)); }

Record TraceOf(const Floats& samples, const std::string& unit, double x_step, const std::string& x_unit) {
  if (samples.ndim() != 1) {
    throw Client::Error(Client::ErrorKind::BadArgument,
                        "a trace has one dimension, not " + std::to_string(samples.ndim()));
  }
  return Shared(TraceRecord({samples.data(), static_cast<std::size_t>(samples.size())}, unit, {x_step, x_unit}));
}

std::shared_ptr<PublicationPart> OpenPublication(const SessionPointer& session, const std::string& name,
                                                 const Record& first) {
  return Blocking([=] { return PublicationPart::Open(*session, name, Corvanta::SampleRecord(*first)); });
}

void DefineRecords(py::module_& module) {
  py::class_<Corvanta::SampleRecord, Record>(module, "Record");
  module.def("trace_record", &TraceOf, py::arg("samples"), py::arg("unit"), py::arg("x_step"), py::arg("x_unit"));
  module.def("scalar_record", [](double value, double minus, double plus, const std::string& unit) {
    return Shared(ScalarRecord(value, minus, plus, unit));
  });
  module.def("long_record", [](std::int32_t value) { return Shared(LongRecord(value)); });
  module.def("boolean_record", [](bool value) { return Shared(BooleanRecord(value)); });
  py::class_<PublicationPart, std::shared_ptr<PublicationPart>>(module, "Publication")
      .def_property_readonly("name", &PublicationPart::Name)
      .def_property_readonly("closed", &PublicationPart::IsClosed)
      .def("publish", [](const std::shared_ptr<PublicationPart>& publication,
                         const Record& record) { Blocking([=] { publication->Publish(std::move(*record)); }); })
      .def("close",
           [](const std::shared_ptr<PublicationPart>& publication) { Blocking([=] { publication->Close(); }); });
}

// ---- what is read ---------------------------------------------------------------------------------------------------

void DefineReading(py::module_& module) {
  py::class_<ReadingPart, ReadingPointer>(module, "Reading")
      .def_property_readonly("name", &ReadingPart::Name)
      .def_property_readonly("engine", &ReadingPart::EngineName)
      .def_property_readonly("item", &ReadingPart::Item)
      .def_property_readonly("kind", &ReadingPart::Kind)
      .def_property_readonly("topic", &ReadingPart::Topic)
      .def_property_readonly("settable", &ReadingPart::IsSettable)
      .def("get", [](const ReadingPointer& reading) { return Blocking([=] { return reading->Get(); }); })
      .def("set",
           [](const ReadingPointer& reading, const std::string& text) { Blocking([=] { reading->Set(text); }); });
}

void DefineMonitor(py::module_& module) {
  py::class_<MonitorPart, std::shared_ptr<MonitorPart>>(module, "Monitor")
      .def("next", &MonitorPart::Next, py::arg("limit"))
      .def("poll", &MonitorPart::Poll)
      .def("fileno", &MonitorPart::FileDescriptor)
      .def_property_readonly("ended", &MonitorPart::HasEnded)
      .def_property_readonly("lost", &MonitorPart::Lost)
      .def("close", [](const std::shared_ptr<MonitorPart>& monitor) { Blocking([=] { monitor->Close(); }); });
}

void DefineInfos(py::module_& module) {
  py::class_<EngineInfo>(module, "EngineInfo")
      .def_readonly("name", &EngineInfo::name)
      .def_readonly("address", &EngineInfo::address)
      .def_readonly("version", &EngineInfo::version)
      .def_readonly("problem", &EngineInfo::problem);
  py::class_<StateInfo>(module, "StateInfo")
      .def_readonly("word", &StateInfo::word)
      .def_readonly("text", &StateInfo::text)
      .def_readonly("refused", &StateInfo::refused)
      .def_readonly("results", &StateInfo::results);
  py::class_<ObjectInfo>(module, "ObjectInfo")
      .def_readonly("id", &ObjectInfo::id)
      .def_readonly("type", &ObjectInfo::type)
      .def_readonly("inputs", &ObjectInfo::inputs)
      .def_readonly("result", &ObjectInfo::result);
}

/// A function of a session as one that Python calls.
template <class Given, class... Arguments>
auto Call(Given (Session::*function)(Arguments...)) {
  return [function](const SessionPointer& session, std::decay_t<Arguments>... arguments) {
    return Blocking([=] { return ((*session).*function)(arguments...); });
  };
}
template <class Given, class... Arguments>
auto Call(Given (Session::*function)(Arguments...) const) {
  return [function](const SessionPointer& session, std::decay_t<Arguments>... arguments) {
    return Blocking([=] { return ((*session).*function)(arguments...); });
  };
}

void DefineSession(py::module_& module) {
  py::class_<Session, SessionPointer>(module, "Session")
      .def(py::init(&OpenSession), py::arg("address"), py::arg("timeout"))
      .def_property_readonly("naming_address", [](const Session& session) { return session.Use()->NamingAddress(); })
      .def_property_readonly("closed", &Session::IsClosed)
      .def("close", [](const SessionPointer& session) { Blocking([=] { session->Close(); }); })
      .def("engines", Call(&Session::Engines))
      .def("readings", Call(&Session::Readings))
      .def("find", Call(&Session::Find))
      .def("types", Call(&Session::Types))
      .def("create", &CreateObject)
      .def("object", Call(&Session::Object))
      .def("objects", Call(&Session::Objects))
      .def("state", Call(&Session::State))
      .def("size", Call(&Session::Size))
      .def("set_size", Call(&Session::SetSize))
      .def("reset", Call(&Session::Reset))
      .def("delete", Call(&Session::Delete))
      .def("subscribe", &Subscribe)
      .def("publish", &OpenPublication);
}

/// Returns once everything has ended, or when it takes too long: then it is left as it is.
void EndAll() {
  Interpreter::BeginExit();
  const WithoutGil without_gil;
  if (!Session::CloseAll(kExitLimit)) Interpreter::LeaveEverythingAtExit();
}

}  // namespace
}  // namespace Lumenar::Python

PYBIND11_MODULE(_core, module) {
  using namespace Lumenar::Python;
  Interpreter::Begin();
  ProcessMark::Begin();
  RegisterErrors();
  DefineResult(module);
  DefineRecords(module);
  DefineReading(module);
  DefineMonitor(module);
  DefineInfos(module);
  DefineSession(module);
  module.def("end_all", &EndAll);
  module.attr("version") = Lumenar::Version();
}
