// SPDX-License-Identifier: Apache-2.0
// How often a trace is copied on its way from a reading through topic manager and engine to a subscriber, counted in
// the processes themselves. docs/architecture.md says where and why.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <ostream>
#include <stdexcept>

#include "tests/support/EngineFixture.h"
#include "tests/system/road/BlockCounts.h"

namespace Lumenar::Test {
namespace {

constexpr unsigned kPoints = 20011;  // large against the buffers of the ORB
constexpr unsigned kSamples = 20;
constexpr unsigned kWarmUp = 3;

/// Blocks of a trace's size in one process, for each sample.
struct Blocks {
  unsigned allocated;
  unsigned copied;
  bool operator==(const Blocks&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Blocks& blocks) {
  return out << blocks.allocated << " allocated, " << blocks.copied << " copied";
}

/// The counts of one process, as they are at any moment.
class CountsOf {
 public:
  CountsOf(const std::string& directory, pid_t process) {
    const int file = open(CountsFile(directory, process).c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) throw std::runtime_error("no counts of process " + std::to_string(process));
    memory_ = mmap(nullptr, sizeof(BlockCounts), PROT_READ, MAP_SHARED, file, 0);
    close(file);
    if (memory_ == MAP_FAILED) throw std::runtime_error("counts cannot be mapped");
  }
  ~CountsOf() { munmap(memory_, sizeof(BlockCounts)); }
  CountsOf(const CountsOf&) = delete;
  CountsOf& operator=(const CountsOf&) = delete;

  Blocks Now() const {
    const auto* counts = static_cast<const BlockCounts*>(memory_);
    return {counts->allocated, counts->copied};
  }

 private:
  void* memory_;
};

/// Preloads the counting library in processes that are started while this lives.
class Counting {
 protected:
  Counting() {
    std::string name = (std::filesystem::temp_directory_path() / "lumenar-counts-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no directory for counts");
    directory_ = name;
    setenv("LD_PRELOAD", COUNT_BLOCKS_LIBRARY, 1);
    setenv(kCountsDirectory, directory_.c_str(), 1);
    setenv(kCountsThreshold, std::to_string(kPoints * sizeof(float)).c_str(), 1);
  }
  ~Counting() {
    for (const char* name : {"LD_PRELOAD", kCountsDirectory, kCountsThreshold}) unsetenv(name);
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }

  std::string directory_;
};

/// A math object on traces in processes that count.
class CopiesTest : private Counting, public EngineFixture {
 protected:
  void SetUp() override { Watch(Subtract, Inputs(first_, second_)); }

  void Watch(MathType type, const Corvanta::MathFactory::ReadingAttribSeq& inputs) {
    Corvanta::MathFactory::Math_var math = Create(type, inputs);
    published_ = 0;
    result_topic_ = ResultTopic(math);
    result_ = std::make_unique<Watcher<BT_DATA>>(result_topic_);
    Publish(kWarmUp);
  }

  /// Publishes samples of the first input, each once the result of the last one has come.
  void Publish(unsigned samples) {
    for (unsigned i = 0; i < samples; ++i) {
      first_ = trace_;
      ++published_;
      ASSERT_EQ(result_->WaitFor(published_).size(), published_);
    }
  }

  /// Blocks for each sample that is published now.
  Blocks PerSample(const Process& process) {
    const CountsOf counts(directory_, process.Pid());
    const Blocks before = counts.Now();
    Publish(kSamples);
    const Blocks after = counts.Now();
    return {(after.allocated - before.allocated) / kSamples, (after.copied - before.copied) / kSamples};
  }

  // In a unit without prefix: where numbers change when they are converted to their own unit, a peak keeps both.
  const BT_DATA trace_ = Trace(std::vector<float>(kPoints, 2.5f), Value::Make_unit(Value::U_Watt));
  TraceInput first_{bench_, "FIRST", trace_};
  TraceInput second_{bench_, "SECOND", trace_};
  std::string result_topic_;
  std::unique_ptr<Watcher<BT_DATA>> result_;
  std::size_t published_ = 0;
};

/// One block for the sample as it comes, which all queues share, and one for the result likewise.
TEST_F(CopiesTest, TheTopicManagerCopiesNothing) {
  EXPECT_EQ(PerSample(platform_.TopicManager()), (Blocks{.allocated = 2, .copied = 0}));
}

/// The sample becomes the operand; the result begins as a copy of the first operand and becomes the value of RESULT.
TEST_F(CopiesTest, TheEngineCopiesTheOperandOnce) {
  EXPECT_EQ(PerSample(engine_), (Blocks{.allocated = 2, .copied = 1}));
}

/// Operations that read their own RESULT back take a copy of it, since clients may Get it meanwhile.
class OtherOperations : public CopiesTest {
 protected:
  void SetUp() override {}
};

TEST_F(OtherOperations, APeakCopiesTheHeldTraceOnce) {
  Watch(Peak, Inputs(first_));
  EXPECT_EQ(PerSample(engine_), (Blocks{.allocated = 2, .copied = 1}));
}

TEST_F(OtherOperations, AnAverageCopiesTheLastMeanOnce) {
  Watch(Average, Inputs(first_));
  EXPECT_EQ(PerSample(engine_), (Blocks{.allocated = 2, .copied = 1}));
}

/// However many subscribers there are: the manager reads the sample once.
TEST_F(CopiesTest, MoreSubscribersAddNoCopyInTheTopicManager) {
  const Watcher<BT_DATA> second(result_topic_), third(result_topic_);
  EXPECT_EQ(PerSample(platform_.TopicManager()), (Blocks{.allocated = 2, .copied = 0}));
}

}  // namespace
}  // namespace Lumenar::Test
