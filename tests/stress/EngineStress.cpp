#include "tests/stress/EngineStress.h"

#include "platform/base/CorbaText.h"
#include "platform/base/Diagnostic.h"
#include "platform/records/Records.h"

namespace Lumenar::Test {
namespace {

using Corvanta::EngineReadingBase;
using Corvanta::EngineReadingBase_var;
using Corvanta::BASIC_TRACE::BT_DATA;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

constexpr std::size_t kMostObjects = 40;
constexpr Value::Units kdBm = Value::Make_unit(Value::U_Watt, 1, -3, true);

int Between(std::minstd_rand& random, int low, int high) {
  return std::uniform_int_distribution<int>(low, high)(random);
}

BT_DATA TraceOf(int points, float sample) {
  BT_DATA trace = DefaultRecord<BT_DATA>();
  trace.units = VALUE::UnitsToCorba(kdBm);
  trace.samples.length(static_cast<CORBA::ULong>(points));
  for (CORBA::ULong i = 0; i < trace.samples.length(); ++i) trace.samples[i] = sample;
  return trace;
}

Scalar ScalarOf(double value) { return VALUE::ValueToCorba(Value::Value_object<double>(value, Value::C_Watts, -0.1, 0.1)); }

template <class Reading>
EngineReadingBase_var ReferenceOf(Reading& reading) {
  const auto typed = reading._this();
  EngineReadingBase_var base = EngineReadingBase::_duplicate(typed);
  CORBA::release(typed);
  return base;
}

}  // namespace

EngineStress::EngineStress() : engine_(new MathInit), registration_(new GUI_Able_i) {
  Corvanta::ORB_wrapper_base& orb = dynamic_cast<Corvanta::ORB_wrapper_base&>(Corvanta::ORB_base::Current());
  orb.Activate();
  for (int i = 0; i < 2; ++i) {
    traces_[i].reset(new Corvanta::EngineBasicTrace_i(namer_, *registration_, "TRACE", TraceOf(67, 1)));
    scalars_[i].reset(new Corvanta::EngineReadingValueDouble_i(namer_, *registration_, "SCALAR", ScalarOf(1)));
    longs_[i].reset(new Corvanta::EngineReadingLong_i(namer_, *registration_, "LONG", 10 * i));
    inputs_.push_back(ReferenceOf(*traces_[i]));
    inputs_.push_back(ReferenceOf(*scalars_[i]));
    inputs_.push_back(ReferenceOf(*longs_[i]));
  }
  CORBA::Object_var object = orb.Resolve({"Lumenar", "local", "MATHFACTORY", "1"});
  factory_ = Corvanta::MathFactory::Interfaces::_narrow(object);

  using Step = void (EngineStress::*)(Random&);
  unsigned seed = 0;
  for (Step step : {&EngineStress::CreateOne, &EngineStress::CreateOne, &EngineStress::DeleteOne, &EngineStress::LookAtOne,
                    &EngineStress::SetAttributesOfOne, &EngineStress::PublishOne, &EngineStress::PublishOne}) {
    threads_.emplace_back([this, step, thread_seed = ++seed] { Repeat(thread_seed, [this, step](Random& r) { (this->*step)(r); }); });
  }
}

EngineStress::~EngineStress() { Stop(); }

void EngineStress::Stop() {
  stop_ = true;
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
  factory_ = Corvanta::MathFactory::Interfaces::_nil();
  inputs_.clear();
  engine_.reset();  // before the readings: what it still holds of them ends first
  for (int i = 0; i < 2; ++i) {
    traces_[i].reset();
    scalars_[i].reset();
    longs_[i].reset();
  }
  registration_.reset();
}

void EngineStress::ShutDownUnderLoad() {
  shutting_down_ = true;
  Corvanta::ORB_base::Current().Shutdown();
  Stop();
}

/// Calls `step` until the end. What a client may see is a result, OBJECT_NOT_EXIST for an object that was deleted meanwhile, and,
/// once the engine goes, the ORB's exceptions.
void EngineStress::Repeat(unsigned seed, const std::function<void(Random&)>& step) {
  Random random(seed);
  while (!stop_) {
    try {
      step(random);
    } catch (const CORBA::OBJECT_NOT_EXIST&) {
    } catch (const CORBA::SystemException& error) {
      if (!shutting_down_) Fault("a client got " + CorbaText(error));
    } catch (const CORBA::Exception& error) {
      Fault("a client got " + CorbaText(error));
    } catch (const std::exception& error) {
      Fault(std::string("a client got ") + error.what());
    } catch (const omniORB::fatalException& failure) {
      // A check within the ORB can fail in a call within the process that meets the end of its object adapter; a caller from outside
      // gets an exception of CORBA's then.
      const std::string text = std::string("a check of the ORB failed: ") + failure.file() + ":" + std::to_string(failure.line()) + " " +
                               failure.errmsg();
      WriteError(text);
      if (!shutting_down_) Fault(text);
    }
  }
}

Corvanta::MathFactory::ReadingAttribSeq EngineStress::RandomInputs(Random& random) {
  Corvanta::MathFactory::ReadingAttribSeq inputs;
  const int count = Between(random, 1, 3);
  inputs.length(static_cast<CORBA::ULong>(count));
  const int first_kind = Between(random, 0, 2);
  for (int i = 0; i < count; ++i) {
    // As CumulativeAdd takes them, or all of one kind; now and then any.
    int kind = count == 3 ? (i == 0 ? 0 : 2) : first_kind;
    if (Between(random, 0, 9) == 0) kind = Between(random, 0, 2);
    inputs[static_cast<CORBA::ULong>(i)] = EngineReadingBase::_duplicate(inputs_[static_cast<std::size_t>(3 * (i % 2) + kind)]);
  }
  return inputs;
}

void EngineStress::CreateOne(Random& random) {
  {
    Lock lock(mutex_);
    if (live_.size() >= kMostObjects) return;
  }
  const Corvanta::EngineAttribEnum_var type = factory_->AttrType();
  type->Set(Between(random, 0, 5));  // 5 names no operation; another thread may set another one before the next call
  try {
    const Corvanta::MathFactory::Math_var math = factory_->CreateMath(RandomInputs(random));
    NoteCreated(math->GetId());
  } catch (const Corvanta::MathFactory::MathFactoryException&) {
    ++refused_;
  } catch (const CORBA::UNKNOWN&) {  // a first computation that the value library refuses
    ++refused_;
  }
}

void EngineStress::NoteCreated(CORBA::Long id) {
  Lock lock(mutex_);
  if (!given_.insert(id).second) faults_.push_back("id " + std::to_string(id) + " was given twice");
  live_.insert(id);
  ++created_;
}

/// One of the live ids; -1 when there is none.
long EngineStress::RandomId(Random& random) const {
  Lock lock(mutex_);
  if (live_.empty()) return -1;
  return *std::next(live_.begin(), Between(random, 0, static_cast<int>(live_.size()) - 1));
}

void EngineStress::DeleteOne(Random& random) {
  const CORBA::Long id = static_cast<CORBA::Long>(RandomId(random));
  factory_->DeleteMath(id);
  if (id < 0) return;
  const Corvanta::MathFactory::Math_var gone = factory_->GetMath(id);
  if (!CORBA::is_nil(gone)) Fault("a deleted object was found");
  Lock lock(mutex_);
  live_.erase(id);
  ++deleted_;
}

void EngineStress::LookAtOne(Random& random) {
  const Corvanta::MathFactory::Math_var math = factory_->GetMath(static_cast<CORBA::Long>(RandomId(random)));
  if (CORBA::is_nil(math)) return;
  const CORBA::String_var type = math->GetType();
  const EngineReadingBase_var result = math->AttrResult();
  const CORBA::String_var topic = result->DDS_Value();
  const Corvanta::EngineBasicTrace_var trace = Corvanta::EngineBasicTrace::_narrow(result);
  if (!CORBA::is_nil(trace)) {
    const Corvanta::BASIC_TRACE::BT_DATA_var record = trace->Get();
    ++looked_at_;
    return;
  }
  const Corvanta::EngineReadingValueDouble_var scalar = Corvanta::EngineReadingValueDouble::_narrow(result);
  if (CORBA::is_nil(scalar)) {  // narrowing asks the object, which may have gone
    const Corvanta::MathFactory::Math_var again = factory_->GetMath(math->GetId());
    if (!CORBA::is_nil(again)) Fault("a result is neither trace nor scalar");
    return;
  }
  static_cast<void>(scalar->Get());
  ++looked_at_;
}

void EngineStress::SetAttributesOfOne(Random& random) {
  const Corvanta::MathFactory::Math_var math = factory_->GetMath(static_cast<CORBA::Long>(RandomId(random)));
  const Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
  if (!CORBA::is_nil(average)) {
    const Corvanta::EngineAttribLong_var size = average->AttrSize();
    try {
      size->Set(Between(random, -1, 101));
    } catch (const Corvanta::LimitsExceeded&) {
    }
    const Corvanta::EngineReadingBoolean_var full = average->AttrFull();
    static_cast<void>(full->Get());
    const Corvanta::EngineAttribVoid_var reset = average->AttrReset();
    reset->Set();
    return;
  }
  const Corvanta::MathFactory::Peak_var peak = Corvanta::MathFactory::Peak::_narrow(math);
  if (CORBA::is_nil(peak)) return;
  const Corvanta::EngineAttribVoid_var reset = peak->AttrReset();
  reset->Set();
}

void EngineStress::PublishOne(Random& random) {
  const int which = Between(random, 0, 1);
  switch (Between(random, 0, 2)) {
    case 0: *traces_[which] = TraceOf(Between(random, 0, 3) == 0 ? Between(random, 0, 67) : 67, static_cast<float>(which)); break;
    case 1: *scalars_[which] = ScalarOf(Between(random, -5, 5)); break;
    default: *longs_[which] = Between(random, -10, 80);
  }
  ++published_;
}

std::vector<std::string> EngineStress::Faults() const {
  Lock lock(mutex_);
  return faults_;
}

void EngineStress::Fault(const std::string& text) {
  Lock lock(mutex_);
  if (faults_.size() < 20) faults_.push_back(text);
}

EngineStress::Counts EngineStress::Done() const { return {created_, refused_, deleted_, looked_at_, published_}; }

}  // namespace Lumenar::Test
