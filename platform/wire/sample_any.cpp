// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/sample_any.h"

namespace Corvanta {

SampleRecord RecordFromAny(const CORBA::Any& any) {
  SampleRecord found;
  if (!AnyRecordKind([&]<class T>() { return RecordKind<T>::FromAny(any, found.emplace<T>()); }))
    found.emplace<std::monostate>();
  return found;
}

void RecordToAny(const SampleView& sample, CORBA::Any& any) {
  VisitView(sample, [&any]<class T>(const T& record) { RecordKind<T>::IntoAny(record, any); });
}

}  // namespace Corvanta
