// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/CorbaSubscriber.h"

#include <algorithm>
#include <new>

#include "platform/orb/AnswerWatch.h"
#include "platform/orb/reference_type.h"
#include "platform/wire/sample_calls.h"

namespace Lumenar {
namespace {

constexpr std::chrono::milliseconds kLookLimit{1000};

template <class Exception>
bool Is(const CORBA::SystemException& error) {
  return Exception::_downcast(&error) != nullptr;
}

/// The ORB at the other end, or this one, has found nobody behind the reference.
bool MeansGone(const CORBA::SystemException& error) {
  return Is<CORBA::OBJECT_NOT_EXIST>(error) || Is<CORBA::INV_OBJREF>(error);
}

bool MeansBroken(const CORBA::SystemException& error) {
  return Is<CORBA::TRANSIENT>(error) || Is<CORBA::COMM_FAILURE>(error);
}

}  // namespace

CorbaSubscriber::CorbaSubscriber(Corvanta::DDS_Sub_ptr subscriber, std::chrono::milliseconds limit)
    : limit_(limit), subscriber_(Corvanta::DDS_Sub::_duplicate(subscriber)) {
  if (Corvanta::IsOfType(subscriber, "IDL:Corvanta/DDS_GroupSub:1.0"))
    group_ = Corvanta::DDS_GroupSub::_unchecked_narrow(subscriber);
  Corvanta::ORB_base::SetCallTimeout(subscriber_, limit);
  if (TakesGroups()) Corvanta::ORB_base::SetCallTimeout(group_, limit);
}

/// The reference is read anew for each look, which has a time limit of its own.
Outcome CorbaSubscriber::Look(std::chrono::milliseconds limit) {
  const Corvanta::AnswerWatch watch;
  try {
    const CORBA::ORB_ptr orb = Corvanta::ORB_base::Current().Orb();
    const CORBA::String_var text = orb->object_to_string(subscriber_);
    const CORBA::Object_var own = orb->string_to_object(text);
    Corvanta::ORB_base::SetCallTimeout(own, std::min(limit_, limit));
    return own->_non_existent() ? Outcome::Gone : Outcome::Delivered;
  } catch (const CORBA::SystemException& error) {
    if (MeansGone(error)) return Outcome::Gone;
    if (watch.Answered()) return Outcome::Delivered;
    if (Is<CORBA::TIMEOUT>(error)) return Outcome::TimedOut;
    return MeansBroken(error) ? Outcome::Unreachable : Outcome::Delivered;
  }
}

template <class Call>
Outcome CorbaSubscriber::Make(Call call, OtherAnswer other) {
  const Corvanta::AnswerWatch watch;
  try {
    call();
    return Outcome::Delivered;
  } catch (const CORBA::SystemException& error) {
    return AfterFailure(error, other, watch.Answered());
  } catch (const CORBA::Exception&) {
    return other.afterwards;
  } catch (const std::bad_alloc&) {  // on the way out, or with the answer
    return other.afterwards;
  }
}

/// An answer says that the samples have arrived, whatever it is. A subscriber that is no more answers as well, through
/// its ORB; but it may also raise the same of its own, and then a look finds it there.
Outcome CorbaSubscriber::AfterFailure(const CORBA::SystemException& error, OtherAnswer other, bool answered) {
  const bool before = error.completed() == CORBA::COMPLETED_NO;
  if (MeansGone(error) && Look(kLookLimit) == Outcome::Gone) return Outcome::Gone;
  if (!answered && Is<CORBA::TIMEOUT>(error)) return Outcome::TimedOut;
  if (!answered && MeansBroken(error)) return before ? Outcome::Unreachable : Outcome::Interrupted;
  return before ? other.before_the_work : other.afterwards;
}

/// What the subscriber makes of the sample is its own affair.
Outcome CorbaSubscriber::Deliver(const Corvanta::SampleRecord& sample) {
  return Make([&] { Corvanta::CallCallback(subscriber_, Corvanta::ViewOf(sample)); },
              {Outcome::Delivered, Outcome::Delivered});
}

/// A group that is refused, for its size say, was handed to nobody and goes out singly. Of one that failed later nobody
/// knows who took what: it counts as lost, since no sample goes to a subscriber twice.
Outcome CorbaSubscriber::DeliverGroup(const std::vector<Shared>& samples, std::set<long>& not_taken) {
  std::vector<Corvanta::SharedSampleView> views;
  views.reserve(samples.size());
  for (const Shared& shared : samples)
    views.push_back({Corvanta::ViewOf(*shared.sample), {shared.handles.begin(), shared.handles.end()}});
  const auto call = [&] {
    for (const CORBA::Long handle : Corvanta::CallGroup(group_, views)) not_taken.insert(handle);
  };
  return Make(call, {Outcome::NotTaken, Outcome::Interrupted});
}

}  // namespace Lumenar
