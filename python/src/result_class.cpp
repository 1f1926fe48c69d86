// SPDX-License-Identifier: Apache-2.0
#include "python/src/result_class.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <memory>
#include <optional>

#include "python/src/Result.h"

namespace Lumenar::Python {
namespace {

namespace py = pybind11;

using Pointer = std::shared_ptr<Result>;

/// An array that looks into the samples, cannot be written, and keeps its result alive.
py::array ArrayOf(const Pointer& result) {
  const auto samples = result->Samples();
  if (samples.empty()) return py::array_t<float>(0);
  py::array_t<float> array(static_cast<py::ssize_t>(samples.size()), samples.data(), py::cast(result));
  py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
  return array;
}

py::object ValueOf(const Pointer& result) {
  if (result->AsTrace() != nullptr) return ArrayOf(result);
  if (const auto* scalar = result->AsScalar()) return py::float_(scalar->val);
  if (const auto* number = std::get_if<CORBA::Long>(&result->Record())) return py::int_(static_cast<long>(*number));
  if (const auto* flag = std::get_if<bool>(&result->Record())) return py::bool_(*flag);
  return py::none();
}

std::optional<double> MinusOf(const Result& result) {
  if (const auto* scalar = result.AsScalar()) return scalar->minus_err;
  return std::nullopt;
}

std::optional<double> PlusOf(const Result& result) {
  if (const auto* scalar = result.AsScalar()) return scalar->plus_err;
  return std::nullopt;
}

/// In exact steps: seconds as a float would be off by parts of a microsecond.
py::object TimeOf(const Result& result) {
  const py::module_ datetime = py::module_::import("datetime");
  const py::object utc = datetime.attr("timezone").attr("utc");
  const py::object epoch = datetime.attr("datetime")(1970, 1, 1, py::arg("tzinfo") = utc);
  return epoch + datetime.attr("timedelta")(py::arg("microseconds") = result.Time_ns() / 1000);
}

/// The horizontal axis from 0 on; without a step, the numbers of the points.
py::object AxisOf(const Result& result) {
  const auto* trace = result.AsTrace();
  if (trace == nullptr) return py::none();
  const double step = trace->x_step != 0 ? trace->x_step : 1;
  py::array_t<double> axis(static_cast<py::ssize_t>(trace->samples.length()));
  for (py::ssize_t i = 0; i < axis.size(); ++i) axis.mutable_at(i) = static_cast<double>(i) * step;
  return axis;
}

std::optional<std::uint32_t> NumberOf(const Result& result) {
  if (const auto* trace = result.AsTrace()) return trace->sequence_number;
  return std::nullopt;
}

std::uint32_t FlagsOf(const Result& result) {
  const auto* trace = result.AsTrace();
  return trace == nullptr ? 0 : trace->flags;
}

double StepOf(const Result& result) {
  const auto* trace = result.AsTrace();
  return trace == nullptr ? 0 : trace->x_step;
}

py::size_t LengthOf(const Result& result) {
  if (result.AsTrace() == nullptr) throw py::type_error(std::string(result.Kind()) + " has no length");
  return result.Samples().size();
}

py::str TextOf(const Pointer& result) {
  const std::string unit = result->Unit();
  const std::string behind = unit.empty() ? "" : " " + unit;
  if (result->AsTrace() != nullptr)
    return py::str("<Result {}: trace of {} points{}>").format(result->Name(), result->Samples().size(), behind);
  if (const auto* scalar = result->AsScalar()) {
    return py::str("<Result {}: {:g}{} ({:+g} {:+g})>")
        .format(result->Name(), scalar->val, behind, scalar->minus_err, scalar->plus_err);
  }
  return py::str("<Result {}: {}>").format(result->Name(), ValueOf(result));
}

/// What numpy calls: a view of a trace, else an array of one number.
py::object AsArray(const Pointer& result, const py::object& type, const py::object& copy) {
  const py::object array = py::module_::import("numpy").attr("asarray")(ValueOf(result), py::arg("dtype") = type);
  return copy.is(py::bool_(true)) ? array.attr("copy")() : array;
}

}  // namespace

void DefineResult(py::module_& module) {
  py::class_<Result, Pointer>(module, "Result", "One value of a reading. It does not change.")
      .def_property_readonly("name", &Result::Name, "The reading that it is of, as \"PROBE/1/WAKEUP\".")
      .def_property_readonly("kind", &Result::Kind, "\"BasicTrace\", \"ValueDouble\", \"long\" or \"boolean\".")
      .def_property_readonly("value", &ValueOf,
                             "A trace: a numpy array of float32 that looks into the sample itself, without a copy, "
                             "cannot be written, and keeps the sample in memory. Else a float, an int or a bool.")
      .def_property_readonly("unit", &Result::Unit, "The unit for people, as \"dBm\"; empty where there is none.")
      .def_property_readonly("minus", &MinusOf, "A scalar's lower error, 0 or less; None for other kinds.")
      .def_property_readonly("plus", &PlusOf, "A scalar's upper error, 0 or more; None for other kinds.")
      .def_property_readonly("time", &TimeOf,
                             "When it was captured, as its instrument says, else when it came here: a datetime in UTC.")
      .def_property_readonly("time_ns", &Result::Time_ns, "The same in nanoseconds since the epoch.")
      .def_property_readonly(
          "header", [](const Result& result) { return py::tuple(py::cast(result.Header())); },
          "The twelve header words of a trace; empty for other kinds.")
      .def_property_readonly("sequence_number", &NumberOf, "Of a trace, counted by its instrument; else None.")
      .def_property_readonly("flags", &FlagsOf, "The flags of a trace; else 0.")
      .def_property_readonly("x", &AxisOf,
                             "The horizontal axis of a trace, from 0 on, in x_unit, as a new array of float64; the "
                             "numbers of the points where it has no step. None for other kinds.")
      .def_property_readonly("x_step", &StepOf, "The distance of two points of a trace; 0 where there is none.")
      .def_property_readonly("x_unit", &Result::AxisUnit, "The unit of the horizontal axis, as \"Hz\"; may be empty.")
      .def("__len__", &LengthOf, "The points of a trace.")
      .def(
          "__float__", [](const Pointer& result) { return py::float_(ValueOf(result)); },
          "The value of a result that is one number.")
      .def("__array__", &AsArray, py::arg("dtype") = py::none(), py::arg("copy") = py::none(),
           "The value as a numpy array; a trace without a copy.")
      .def("__repr__", &TextOf, "The result in short.");
}

}  // namespace Lumenar::Python
