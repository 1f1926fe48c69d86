// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/picture.h"

#include <utility>

#include "tools/math_web/Sample.h"
#include "tools/math_web/trace_columns.h"
#include "tools/math_web/trace_scale.h"

namespace Lumenar::Web {

/// The scale is that of the few numbers that are shown: it keeps their order, so extremes stay extremes.
Picture PictureOf(const Corvanta::BASIC_TRACE::BT_DATA& trace, double time_s, const View& view) {
  Value::Units units = UnitsOf(trace);
  const Axis axis = AxisOf(trace);
  Columns columns = Thin(SamplesOf(trace), axis, view, BecomesDecibel(units, view.scale));
  ApplyScale(view.scale, units, columns.values);
  Picture picture;
  FrameFacts& facts = picture.facts;
  facts.whole = columns.whole;
  facts.count = columns.count;
  facts.points = trace.samples.length();
  facts.time_s = time_s;
  facts.x = columns.x;
  facts.x_step = columns.step;
  facts.trace_x = axis.first;
  facts.trace_step = axis.step;
  facts.y_unit = Value::Units_text(units);
  facts.x_unit = AxisUnit(trace);
  picture.numbers = std::make_shared<const std::vector<float>>(std::move(columns.values));
  return picture;
}

}  // namespace Lumenar::Web
