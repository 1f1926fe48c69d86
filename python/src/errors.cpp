// SPDX-License-Identifier: Apache-2.0
#include "python/src/errors.h"

#include <omniORB4/CORBA.h>

#include <exception>
#include <stdexcept>

#include "client/Error.h"
#include "platform/orb/CorbaText.h"

namespace Lumenar::Python {
namespace {

namespace py = pybind11;

const char* ClassOf(Client::ErrorKind kind) {
  switch (kind) {
    case Client::ErrorKind::NotFound: return "NotFound";
    case Client::ErrorKind::Refused: return "Refused";
    case Client::ErrorKind::Unreachable: return "Unreachable";
    case Client::ErrorKind::BadArgument: return "BadArgument";
  }
  return "Error";
}

void Raise(const char* class_name, const char* text) {
  const py::object type = py::module_::import("lumenar._errors").attr(class_name);
  // The text may hold bytes of others that are no UTF-8.
  const py::object sentence = py::reinterpret_steal<py::object>(
      PyUnicode_DecodeUTF8(text, static_cast<Py_ssize_t>(std::char_traits<char>::length(text)), "backslashreplace"));
  PyErr_SetObject(type.ptr(), sentence.ptr());
}

void Translate(std::exception_ptr failure) {
  if (!failure) return;
  try {
    std::rethrow_exception(failure);
  } catch (const Client::Error& error) {
    Raise(ClassOf(error.Kind()), error.what());
  } catch (const CORBA::Exception& error) {
    Raise("Error", CorbaText(error).c_str());
  } catch (const std::invalid_argument& error) {
    Raise("BadArgument", error.what());
  } catch (const std::logic_error& error) {
    Raise("Error", error.what());
  } catch (const std::runtime_error& error) {  // py::builtin_exception is one, too: those are pybind11's
    if (dynamic_cast<const py::builtin_exception*>(&error) != nullptr) throw;
    if (dynamic_cast<const py::cast_error*>(&error) != nullptr) throw;
    Raise("Error", error.what());
  }
}

}  // namespace

void RegisterErrors() { py::register_exception_translator(&Translate); }

}  // namespace Lumenar::Python
