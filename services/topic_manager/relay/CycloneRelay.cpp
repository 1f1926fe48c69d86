// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/relay/CycloneRelay.h"

#include <dds/dds.h>
#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "RelayedSample.h"
#include "platform/base/Diagnostic.h"
#include "platform/base/Mutex.h"
#include "platform/orb/CorbaText.h"
#include "platform/transport/RefusalLog.h"
#include "platform/wire/RecordBytes.h"
#include "services/topic_manager/relay/SequenceWatch.h"

namespace Corvanta {
namespace {

using Lumenar::Lock;

constexpr const char* kTopicName = "LumenarTopics";
constexpr dds_duration_t kMaxBlocking = DDS_MSECS(500);  // of a write, when a receiver does not keep up

/// A DDS entity, or the exception that says why there is none.
class Entity {
 public:
  Entity(dds_entity_t handle, const char* what) : handle_(handle) {
    if (handle < 0) throw std::runtime_error(fmt::format("DDS {}: {}", what, dds_strretcode(-handle)));
  }
  ~Entity() { dds_delete(handle_); }
  Entity(const Entity&) = delete;
  Entity& operator=(const Entity&) = delete;
  operator dds_entity_t() const { return handle_; }

 private:
  const dds_entity_t handle_;
};

using Qos = std::unique_ptr<dds_qos_t, decltype(&dds_delete_qos)>;

/// Nothing is dropped inside the transport; the reader does not see what its own participant writes.
Qos RelayQos() {
  Qos qos(dds_create_qos(), &dds_delete_qos);
  dds_qset_reliability(qos.get(), DDS_RELIABILITY_RELIABLE, kMaxBlocking);
  dds_qset_history(qos.get(), DDS_HISTORY_KEEP_ALL, DDS_LENGTH_UNLIMITED);
  dds_qset_ignorelocal(qos.get(), DDS_IGNORELOCAL_PARTICIPANT);
  return qos;
}

/// Large fragments: with small ones a large trace costs several times the bare transfer. Loopback has no multicast, so
/// there the participants are looked for at the address itself.
std::string DomainConfig(const std::string& address) {
  const bool loopback = address.compare(0, 4, "127.") == 0;
  const std::string peers = fmt::format(
      "<Discovery><ParticipantIndex>auto</ParticipantIndex><MaxAutoParticipantIndex>32</MaxAutoParticipantIndex>"
      "<Peers><Peer Address=\"{}\"/></Peers></Discovery>",
      address);
  return fmt::format(
      "<CycloneDDS><Domain><General><Interfaces><NetworkInterface address=\"{}\"/></Interfaces>"
      "<AllowMulticast>{}</AllowMulticast><MaxMessageSize>65500B</MaxMessageSize><FragmentSize>64000B</FragmentSize>"
      "</General>{}</Domain></CycloneDDS>",
      address, loopback ? "false" : "spdp", loopback ? peers : "");
}

SequenceWatch::Publisher NewPublisherId() {
  SequenceWatch::Publisher id;
  std::random_device random;
  std::generate(id.begin(), id.end(), [&] { return static_cast<std::uint8_t>(random()); });
  return id;
}

}  // namespace

struct CycloneRelay::Impl {
  Impl(Options its_options, OnSample its_on_sample);
  ~Impl();

  struct Waiting {
    std::string topic;
    RecordPtr sample;
    std::size_t bytes;
  };

  void Enqueue(Waiting waiting);
  bool Dequeue(Waiting& waiting);
  void SendAll();
  void Write(const Waiting& waiting);
  void ReceiveAll();
  void Take();
  void Receive(const Lumenar_RelayedSample& sample);
  void NoteRefused(const std::string& name, const std::string& reason);
  void NoteMissing(std::uint64_t missing);

  const Options options;
  const OnSample on_sample;
  const SequenceWatch::Publisher id = NewPublisherId();
  const Entity domain;
  const Entity participant;
  const Entity topic;
  const Entity writer;
  const Entity reader;
  const Entity arrival;
  const Entity end;
  const Entity waits;

  std::atomic<std::uint64_t> sent{0}, not_sent{0}, received{0}, missed{0};
  Corvanta::RefusalLog refusals;
  std::uint64_t sequence = 0;  ///< of the sending thread
  SequenceWatch watch;         ///< of the receiving thread

  Lumenar::Mutex mutex;
  Lumenar::Condition changed;
  std::deque<Waiting> queue GUARDED_BY(mutex);
  std::size_t queued_bytes GUARDED_BY(mutex) = 0;
  bool ending GUARDED_BY(mutex) = false;

  std::thread sender;
  std::thread receiver;
};

CycloneRelay::Impl::Impl(Options its_options, OnSample its_on_sample)
    : options(std::move(its_options)),
      on_sample(std::move(its_on_sample)),
      domain(dds_create_domain(options.domain, DomainConfig(options.interface_address).c_str()), "domain"),
      participant(dds_create_participant(options.domain, nullptr, nullptr), "participant"),
      topic(dds_create_topic(participant, &Lumenar_RelayedSample_desc, kTopicName, nullptr, nullptr), "topic"),
      writer(dds_create_writer(participant, topic, RelayQos().get(), nullptr), "writer"),
      reader(dds_create_reader(participant, topic, RelayQos().get(), nullptr), "reader"),
      arrival(dds_create_readcondition(reader, DDS_ANY_STATE), "condition"),
      end(dds_create_guardcondition(participant), "condition"),
      waits(dds_create_waitset(participant), "wait set") {
  dds_waitset_attach(waits, arrival, 0);
  dds_waitset_attach(waits, end, 1);
  sender = std::thread([this] { SendAll(); });
  receiver = std::thread([this] { ReceiveAll(); });
}

CycloneRelay::Impl::~Impl() {
  {
    Lock lock(mutex);
    ending = true;
    changed.NotifyAll();
  }
  dds_set_guardcondition(end, true);
  sender.join();
  receiver.join();
}

void CycloneRelay::Impl::Enqueue(Waiting waiting) {
  std::deque<Waiting> dropped;  // destroyed after the lock is released
  Lock lock(mutex);
  queued_bytes += waiting.bytes;
  queue.push_back(std::move(waiting));
  while (queue.size() > 1 && queued_bytes > options.queue_bytes) {
    queued_bytes -= queue.front().bytes;
    dropped.push_back(std::move(queue.front()));
    queue.pop_front();
    ++not_sent;
  }
  changed.NotifyOne();
}

/// Waits for a sample to send; false at the end.
bool CycloneRelay::Impl::Dequeue(Waiting& waiting) {
  Lock lock(mutex);
  while (queue.empty() && !ending) changed.Wait(mutex);
  if (ending) return false;
  waiting = std::move(queue.front());
  queue.pop_front();
  queued_bytes -= waiting.bytes;
  return true;
}

void CycloneRelay::Impl::SendAll() {
  Waiting waiting;
  while (Dequeue(waiting)) {
    try {
      Write(waiting);
    } catch (const std::exception&) {  // the top of a thread: no memory for this one
      ++not_sent;
    }
    waiting = {};
  }
}

void CycloneRelay::Impl::Write(const Waiting& waiting) {
  std::vector<std::uint8_t> bytes = BytesOfRecord(*waiting.sample);
  std::string name = waiting.topic;
  Lumenar_RelayedSample message{};
  std::copy(id.begin(), id.end(), message.publisher);
  message.number = ++sequence;
  message.topic = name.data();
  message.sample._buffer = bytes.data();
  message.sample._length = message.sample._maximum = static_cast<std::uint32_t>(bytes.size());
  ++(dds_write(writer, &message) == DDS_RETCODE_OK ? sent : not_sent);
}

void CycloneRelay::Impl::ReceiveAll() {
  for (;;) {
    dds_attach_t triggered[2];
    const dds_return_t count = dds_waitset_wait(waits, triggered, 2, DDS_INFINITY);
    if (count < 0 || std::find(triggered, triggered + count, 1) != triggered + count) return;
    Take();
  }
}

void CycloneRelay::Impl::Take() {
  constexpr int kBatch = 16;
  void* samples[kBatch] = {};
  dds_sample_info_t infos[kBatch];
  const dds_return_t count = dds_take(reader, samples, infos, kBatch, kBatch);
  for (int i = 0; i < count; ++i) {
    if (infos[i].valid_data) Receive(*static_cast<const Lumenar_RelayedSample*>(samples[i]));
  }
  if (count > 0) dds_return_loan(reader, samples, count);
}

void CycloneRelay::Impl::Receive(const Lumenar_RelayedSample& sample) {
  SequenceWatch::Publisher publisher;
  std::copy(std::begin(sample.publisher), std::end(sample.publisher), publisher.begin());
  if (publisher == id) return;
  const auto [is_new, missing] = watch.Heard(publisher, sample.number);
  if (missing > 0) NoteMissing(missing);
  if (!is_new || options.topics.count(sample.topic) == 0) return;
  ++received;
  try {
    on_sample(sample.topic, RecordOfBytes({sample.sample._buffer, sample.sample._length}));
  } catch (const CORBA::Exception& error) {  // one bad sample does not end the relay
    NoteRefused(sample.topic, Lumenar::CorbaText(error));
  } catch (const std::exception& error) {
    NoteRefused(sample.topic, error.what());
  }
}

void CycloneRelay::Impl::NoteRefused(const std::string& name, const std::string& reason) {
  const std::string line = fmt::format("relay: sample of topic {} not taken: {}", name, reason);
  refusals.Say(line, line);
}

void CycloneRelay::Impl::NoteMissing(std::uint64_t missing) {
  if (missed.fetch_add(missing) == 0) {
    Lumenar::WriteError(
        fmt::format("relay: {} sample(s) of another machine did not arrive; more are counted only", missing));
  }
}

CycloneRelay::CycloneRelay(Options options, OnSample on_sample)
    : impl_(std::make_unique<Impl>(std::move(options), std::move(on_sample))) {}

CycloneRelay::~CycloneRelay() = default;

void CycloneRelay::Send(const std::string& topic, RecordPtr sample, std::size_t bytes) {
  if (impl_->options.topics.count(topic) > 0) impl_->Enqueue({topic, std::move(sample), bytes});
}

CycloneRelay::Counters CycloneRelay::Count() const {
  return {impl_->sent, impl_->not_sent, impl_->received, impl_->missed};
}

}  // namespace Corvanta
