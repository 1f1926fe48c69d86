#include "services/topic_manager/CorbaSubscriber.h"

#include <cstring>
#include <new>

#include "platform/orb/ORB_base.h"

namespace Lumenar {
namespace {

Outcome BrokenCall(const CORBA::SystemException& error) {
  return error.completed() == CORBA::COMPLETED_NO ? Outcome::Unreachable : Outcome::Interrupted;
}

}  // namespace

CorbaSubscriber::CorbaSubscriber(Corvanta::DDS_Sub_ptr subscriber, std::chrono::milliseconds limit)
    : subscriber_(Corvanta::DDS_Sub::_duplicate(subscriber)) {
  if (std::strcmp(subscriber->_PR_getobj()->_mostDerivedRepoId(), Corvanta::DDS_GroupSub::_PD_repoId) == 0)
    group_ = Corvanta::DDS_GroupSub::_unchecked_narrow(subscriber);
  Corvanta::ORB_base::SetCallTimeout(subscriber_, limit);
  if (TakesGroups()) Corvanta::ORB_base::SetCallTimeout(group_, limit);
}

template <class Call>
Outcome CorbaSubscriber::Make(Call call, OtherAnswer other) {
  try {
    call();
    return Outcome::Delivered;
  } catch (const CORBA::TIMEOUT&) {
    return Outcome::TimedOut;
  } catch (const CORBA::TRANSIENT& error) {
    return BrokenCall(error);
  } catch (const CORBA::COMM_FAILURE& error) {
    return BrokenCall(error);
  } catch (const CORBA::OBJECT_NOT_EXIST&) {
    return Outcome::Gone;
  } catch (const CORBA::INV_OBJREF&) {
    return Outcome::Gone;
  } catch (const CORBA::SystemException& error) {
    return error.completed() == CORBA::COMPLETED_NO ? other.before_the_work : other.afterwards;
  } catch (const CORBA::Exception&) {
    return other.afterwards;
  } catch (const std::bad_alloc&) {  // on the way out, or with the answer
    return other.afterwards;
  }
}

/// What the subscriber makes of the sample is its own affair.
Outcome CorbaSubscriber::Deliver(const Corvanta::SampleRecord& sample) {
  return Make([&] { Corvanta::CallCallback(subscriber_, Corvanta::ViewOf(sample)); },
              {Outcome::Delivered, Outcome::Delivered});
}

/// A group that is refused, for its size say, was handed to nobody and goes out singly. Of one that failed later nobody knows who took
/// what: it counts as lost, since no sample goes to a subscriber twice.
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
