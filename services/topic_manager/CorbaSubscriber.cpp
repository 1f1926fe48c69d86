#include "services/topic_manager/CorbaSubscriber.h"

#include "platform/orb/ORB_base.h"

namespace Lumenar {
namespace {

Outcome BrokenCall(const CORBA::SystemException& error) {
  return error.completed() == CORBA::COMPLETED_NO ? Outcome::Unreachable : Outcome::Interrupted;
}

}  // namespace

CorbaSubscriber::CorbaSubscriber(Corvanta::DDS_Sub_ptr subscriber, std::chrono::milliseconds limit)
    : subscriber_(Corvanta::DDS_Sub::_duplicate(subscriber)) {
  Corvanta::ORB_base::SetCallTimeout(subscriber_, limit);
}

Outcome CorbaSubscriber::Deliver(const Corvanta::SampleRecord& sample) {
  try {
    Corvanta::CallCallback(subscriber_, Corvanta::ViewOf(sample));
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
  } catch (const CORBA::Exception&) {  // what the subscriber made of the sample is its own affair
    return Outcome::Delivered;
  }
}

}  // namespace Lumenar
