// SPDX-License-Identifier: Apache-2.0
// What the gateway says in words: CSV, the state of the platform, metrics, answers.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <stdexcept>

#include "client/Error.h"
#include "platform/records/Records.h"
#include "tools/math_web/answer_text.h"
#include "tools/math_web/csv_text.h"
#include "tools/math_web/metrics_text.h"
#include "tools/math_web/state_text.h"

namespace Lumenar::Web {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

Sample TraceOf(const std::vector<float>& samples, const char* units, double step, Value::Units_list x_unit) {
  BT_DATA trace = DefaultRecord<BT_DATA>();
  trace.units = VALUE::UnitsToCorba(Value::Units_from_text(units));
  trace.x_step = step;
  trace.header[2] = static_cast<CORBA::ULong>(x_unit);
  trace.samples.length(static_cast<CORBA::ULong>(samples.size()));
  for (CORBA::ULong i = 0; i < trace.samples.length(); ++i) trace.samples[i] = samples[i];
  return SampleFrom(Corvanta::SampleRecord(std::in_place_type<BT_DATA>, trace), {});
}

TEST(WebCsv, ATraceHasARowAPoint) {
  const Sample sample = TraceOf({-40.5F, 1e-10F, -0.0F}, "dBm", 1000, Value::U_Hertz);
  EXPECT_EQ(CsvText("SIM/1/LEVEL", sample), "x [Hz],SIM/1/LEVEL [dBm]\n0,-40.5\n1000,1e-10\n2000,-0\n");
}

TEST(WebCsv, ATraceWithoutAnAxisCountsItsPoints) {
  EXPECT_EQ(CsvText("A,B", TraceOf({1, 2}, "", 0, Value::U_Hertz)), "x,\"A,B\"\n0,1\n1,2\n");
}

TEST(WebCsv, AScalarHasOneRow) {
  Corvanta::VALUE_DOUBLE::VALUE scalar = DefaultRecord<Corvanta::VALUE_DOUBLE::VALUE>();
  scalar.val = 5;
  scalar.minus_err = -0.5;
  scalar.plus_err = 0.25;
  scalar.units = VALUE::UnitsToCorba(Value::Units_from_text("V"));
  const Sample sample{Corvanta::SampleRecord(std::in_place_type<Corvanta::VALUE_DOUBLE::VALUE>, scalar), 7};
  EXPECT_EQ(CsvText("SIM/1/U", sample), "time [s],SIM/1/U [V],minus [V],plus [V]\n7,5,-0.5,0.25\n");
}

TEST(WebCsv, ATraceThatIsTooLongIsRefused) {
  const Sample sample = TraceOf(std::vector<float>(kMostCsvPoints + 1), "V", 1, Value::U_Second);
  EXPECT_THROW(CsvText("A", sample), Client::Error);
}

TEST(WebCsv, FileNamesArePlain) { EXPECT_EQ(CsvFileName("SIM/1/LE VEL\n.."), "SIM_1_LE_VEL___.csv"); }

Snapshot Platform() {
  Snapshot snapshot;
  snapshot.engines = {{"SIM/1", "", 2, 1.5, 5000000, 0}, {"SIM/2", "does not answer", 0, {}, {}, {}}};
  snapshot.problems = {"engine SIM/2 is away: does not answer"};
  ReadingFacts level;
  level.name = "SIM/1/LEVEL";
  level.engine = "SIM/1";
  level.kind = "BasicTrace";
  level.units = Value::Units_from_text("dBm");
  level.points = 1001;
  level.published = 100;
  level.rate = 20;
  snapshot.readings = {level};
  ObjectFacts average;
  average.name = "math:3";
  average.object = {"MATHFACTORY/1", 3};
  average.inputs = {"SIM/1/LEVEL"};
  average.words = "live";
  average.report.id = 3;
  average.report.type = "Average";
  average.report.kind = "BasicTrace";
  average.report.units = VALUE::UnitsToCorba(Value::Units_from_text("dBm"));
  average.report.size = 10;
  average.report.filled = 3;
  average.report.results = 5;
  average.report.inputs = {{"SIM/1/LEVEL", 5, std::chrono::microseconds(10), false, 1}};
  average.report.age = std::chrono::milliseconds(50);
  average.report.interval = std::chrono::milliseconds(50);
  snapshot.objects = {average};
  snapshot.math_engines = {{"MATHFACTORY/1", true}};
  snapshot.manager = {true, 5, 3, 2, 1};
  return snapshot;
}

TEST(WebState, TellsEverything) {
  const json state = json::parse(*StateTextOf(Platform()).json);
  EXPECT_EQ(state["type"], "state");
  EXPECT_EQ(state["well"], false);
  EXPECT_EQ(state["engines"][0]["state"], "live");
  EXPECT_EQ(state["engines"][1]["state"], "away");
  const json& reading = state["readings"][0];
  EXPECT_EQ(reading["kind"], "trace");
  EXPECT_EQ(reading["unit"], "dBm");
  EXPECT_EQ(reading["scale_to"], "linear");
  EXPECT_EQ(reading["points"], 1001);
  EXPECT_EQ(reading["rate"], 20);
  EXPECT_TRUE(reading["age"].is_null());
  const json& object = state["objects"][0];
  EXPECT_EQ(object["name"], "math:3");
  EXPECT_EQ(object["math"], "Average");
  EXPECT_EQ(object["inputs"], json::array({"SIM/1/LEVEL"}));
  EXPECT_EQ(object["size"], 10);
  EXPECT_EQ(object["filled"], 3);
  EXPECT_EQ(object["state"], "live");
  EXPECT_EQ(object["rate"], 20);
  EXPECT_EQ(state["manager"]["lost"], 1);
}

TEST(WebState, AnObjectOfAnEngineThatIsAwayIsAway) {
  Snapshot snapshot = Platform();
  snapshot.math_engines["MATHFACTORY/1"] = false;
  const json state = json::parse(*StateTextOf(snapshot).json);
  EXPECT_EQ(state["objects"][0]["state"], "away");
  EXPECT_EQ(state["objects"][0]["words"], "its engine is away");
}

TEST(WebState, TheMarkStaysWhileOnlyAgesAndRatesChange) {
  const std::string mark = StateTextOf(Platform()).mark;
  Snapshot later = Platform();
  later.readings[0].rate = 19.9;
  later.readings[0].age_s = 0.3;
  later.engines[0].processor_s = 2;
  later.objects[0].report.age = std::chrono::milliseconds(70);
  later.manager.queued = 9;
  EXPECT_EQ(StateTextOf(later).mark, mark);
  later.objects[0].report.filled = 4;
  EXPECT_NE(StateTextOf(later).mark, mark);
}

TEST(WebState, ListsAreBounded) {
  Snapshot snapshot = Platform();
  snapshot.readings.resize(kMostListed + 5, snapshot.readings[0]);
  const json state = json::parse(*StateTextOf(snapshot).json);
  EXPECT_EQ(state["readings"].size(), kMostListed);
  EXPECT_EQ(state["more_readings"], 5);
  EXPECT_EQ(state["more_objects"], 0);
}

TEST(WebMetrics, TellNumbersWithTheirUnits) {
  GatewayCounts counts;
  counts.frames = 12;
  const std::string text = MetricsText(Platform(), {{"SIM/1/U", "V", 5.25}}, counts);
  EXPECT_THAT(text, HasSubstr("lumenar_value{reading=\"SIM/1/U\",unit=\"V\"} 5.25\n"));
  EXPECT_THAT(text, HasSubstr("lumenar_engine_up{engine=\"SIM/2\"} 0\n"));
  EXPECT_THAT(text, HasSubstr("lumenar_object_live{object=\"math:3\",type=\"Average\"} 1\n"));
  EXPECT_THAT(text, HasSubstr("# TYPE lumenar_reading_samples_total counter\n"));
  EXPECT_THAT(text, HasSubstr("lumenar_web_frames_total 12\n"));
  EXPECT_THAT(text, HasSubstr("lumenar_well 0\n"));
  EXPECT_THAT(text, Not(HasSubstr("lumenar_reading_age_seconds"))) << "a family without members is not told";
}

TEST(WebAnswers, TellWhatWasDoneOrWhyNot) {
  const json good = json::parse(*AnswerOf(5, [] { return json{{"name", "math:3"}}; }));
  EXPECT_EQ(good, (json{{"type", "answer"}, {"request", 5}, {"ok", true}, {"name", "math:3"}}));
  const json bad = json::parse(*AnswerOf(6, []() -> json { throw std::runtime_error("no\nroom"); }));
  EXPECT_EQ(bad, (json{{"type", "answer"}, {"request", 6}, {"ok", false}, {"error", "no\\x0aroom"}}));
  EXPECT_TRUE(json::parse(*RefusalText({}, "x"))["request"].is_null());
}

}  // namespace
}  // namespace Lumenar::Web
