# SPDX-License-Identifier: Apache-2.0
"""The page's modules by themselves, in the browser that they are for: tables of what goes in and what must come out."""

import math
import struct

import pytest

MAGIC = 0x314D554C


@pytest.fixture
def page(gateway, browser):
    browser.open(gateway.address)
    return browser


def frame_bytes(kind=1, count=3, values=(1.0, 2.0, 3.0), x=0.0, step=1.0, unit=b"dBm", magic=MAGIC):
    head = struct.pack("<6I5d16s16s", magic, 7, kind, count, 5, 100, 12.5, x, step, x, step, unit, b"Hz")
    return list(head + struct.pack(f"<{len(values)}f", *values))


DECODE = "return m.decodeFrame(new Uint8Array(a[0]).buffer)"


def test_a_frame_is_decoded(page):
    frame = page.module("protocol.js", "const f = m.decodeFrame(new Uint8Array(a[0]).buffer);"
                        " return {...f, values: [...f.values]}", frame_bytes())
    assert frame["values"] == [1, 2, 3]
    assert (frame["stream"], frame["skipped"], frame["total"], frame["time"]) == (7, 5, 100, 12.5)
    assert (frame["yUnit"], frame["xUnit"], frame["isColumns"]) == ("dBm", "Hz", False)


def test_a_falling_axis_is_turned_round(page):
    frame = page.module("protocol.js", "const f = m.decodeFrame(new Uint8Array(a[0]).buffer);"
                        " return {...f, values: [...f.values]}",
                        frame_bytes(kind=2, count=2, values=(1, 2, 3, 4), x=10.0, step=-2.0))
    assert (frame["x"], frame["xStep"], frame["values"]) == (8, 2, [3, 4, 1, 2])


@pytest.mark.parametrize("damaged, words", [
    ([], "too short"),
    (frame_bytes()[:95], "too short"),
    (frame_bytes(magic=1), "does not begin"),
    (frame_bytes(kind=3), "unknown kind 3"),
    (frame_bytes(count=2**32 - 1), "claims 4294967295"),
    (frame_bytes(count=4), "has 108 bytes"),
    (frame_bytes(kind=2), "has 108 bytes"),
    (frame_bytes() + [0], "has 109 bytes"),
], ids=["empty", "cut", "magic", "kind", "huge", "count", "pairs", "longer"])
def test_a_damaged_frame_is_refused_with_a_sentence(page, damaged, words):
    assert words in page.module("protocol.js", "try { " + DECODE + " } catch (e) { return e.message }", damaged)


def test_axes_take_the_prefix_that_fits(page):
    cases = [("Hz", 3e6, 1e6, "MHz"), ("kHz", 5e4, 1e3, "MHz"), ("s", 2e-7, 1e-9, "ns"), ("us", 1000, 1e3, "ms"),
             ("dBm", 5e6, 1, "dBm"), ("mW/Hz", 5e6, 1, "mW/Hz"), ("", 5e6, 1, ""), ("%", 5e6, 1, "%"),
             ("min", 5e6, 1, "min"), ("B", 2.2e10, 1e9, "×10⁹ B"), ("", 2e7, 1e6, "×10⁶"),
             ("mW/Hz", 3e-17, 1e-18, "×10⁻¹⁸ mW/Hz"), ("W", 0, 1, "W"),
             ("W", math.inf, 1, "W"), ("Hz", 999, 1, "Hz")]
    for unit, greatest, divisor, shown in cases:
        scale = page.module("units.js", "return m.axisScale(a[0], a[1] ?? Infinity)", unit,
                            None if greatest == math.inf else greatest)
        assert scale["unit"] == shown, unit
        assert scale["divisor"] == pytest.approx(divisor), unit


def test_labels_name_quantity_and_unit(page):
    cases = [("dBm", "Level, dBm"), ("mV", "Voltage, mV"), ("%", "Share, %"), ("mW/Hz", "mW/Hz"), ("", "Point")]
    for unit, label in cases:
        assert page.module("units.js", "return m.axisLabel(a[0], 'Point')", unit) == label


def test_labels_have_the_unit_of_the_axis(page):
    cases = [("us", "Value", "ms", "Time, ms"), ("B", "Value", "×10⁹ B", "Data, ×10⁹ B"),
             ("", "Number", "×10⁶", "Number, ×10⁶"), ("mW/Hz", "Value", "×10⁻¹⁸ mW/Hz", "×10⁻¹⁸ mW/Hz")]
    for unit, otherwise, shown, label in cases:
        assert page.module("units.js", "return m.axisLabel(a[0], a[1], a[2])", unit, otherwise, shown) == label


def test_all_operations_that_there_are_have_words(page):
    page.until("return lumenar.store.welcome.math_types.length > 0")
    names = page.run("return lumenar.store.welcome.math_types.map((type) => type.name)")
    assert len(names) >= 5
    assert page.module("operations.js", "return a[0].filter((name) => m.wordsOf(name) === '')", names) == []
    assert page.module("operations.js", "return m.wordsOf('NOT_THERE') + m.wordsOf('toString')") == ""


def test_words_are_broken_into_lines_that_fit(page):
    cases = [("one two three", 7, ["one two", "three"]), ("onetwothree four", 5, ["onetw", "othre", "e", "four"]),
             ("", 5, [""]), ("a b", 0, ["a", "b"])]
    for text, width, lines in cases:
        script = "return m.linesOf({measureText: (words) => ({width: words.length})}, a[0], a[1])"
        assert page.module("picture.js", script, text, width) == lines


def test_numbers_are_written_as_people_do(page):
    cases = [(0, "0"), (-1.5, "−1.5"), (1234567, "1234600"), (1e9, "1e+9"), (1.5e-7, "1.5e−7"), (0.001, "0.001")]
    for number, text in cases:
        assert page.module("units.js", "return m.numberText(a[0])", number) == text
    assert page.module("units.js", "return [NaN, Infinity, -Infinity].map((v) => m.numberText(v))") == [
        "not a number", "infinite", "−infinite"]


def test_ticks_have_the_decimals_that_they_need(page):
    cases = [(2.75, 0.25, "2.75"), (2, 0.25, "2.00"), (-30, 10, "−30"), (0.1, 0.1, "0.1"), (-1e-17, 0.1, "0.0"),
             (5e8, 1e8, "5e+8")]
    for value, increment, text in cases:
        assert page.module("units.js", "return m.tickText(a[0], a[1])", value, increment) == text


def test_times_and_rates_are_those_of_the_command_line(page):
    times = [(0.05, "50 ms"), (0.9996, "1.0 s"), (9.96, "10 s"), (119, "119 s"), (120, "2 min"), (7200, "2 h"),
             (172800, "2 days"), (-1, "0 ms")]
    for seconds, text in times:
        assert page.module("units.js", "return m.durationText(a[0])", seconds) == text
    rates = [(20.1, "20.1 /s"), (0.1, "6 /min"), (0.001, "3.6 /h"), (0, "–"), (None, "–")]
    for rate, text in rates:
        assert page.module("units.js", "return m.rateText(a[0])", rate) == text


def test_an_axis_grows_at_once_and_shrinks_late(page):
    steps = page.module("ranges.js", """
        const range = new m.FollowingRange();
        return [[0, 10, 0], [1, 9, 100], [-5, 10, 200], [4, 5, 300], [4, 5, 3299], [4, 5, 3301]]
          .map(([low, high, now]) => range.follow(low, high, now))""")
    assert steps[0]["min"] <= 0 and steps[0]["max"] >= 10
    assert steps[1] == steps[0]
    assert steps[2]["min"] <= -5 and steps[2]["max"] >= 10
    assert steps[3] == steps[4] == steps[2]
    assert steps[5]["max"] - steps[5]["min"] < 3


def test_a_flat_curve_has_room(page):
    for value in (0, 5, -5, 1e-12, 1e12, -379.298):
        room = page.module("ranges.js", "return m.roomAround(a[0], a[0])", value)
        assert room["min"] < value < room["max"]


def test_zoom_stays_within_the_trace(page):
    full = {"from": 0, "to": 100}
    cases = [((0, 100), 0.5, 25, (12.5, 62.5)), ((0, 100), 0.5, 0, (0, 50)), ((90, 100), 4, 95, (60, 100)),
             ((0, 50), 3, 25, None), ((50, 51), 0.01, 50.5, (49, 52))]
    for (begin, end), factor, at, expected in cases:
        now = {"from": begin, "to": end}
        result = page.module("ranges.js", "return m.zoomed(a[0], a[1], a[2], a[3], 1)", now, full, factor, at)
        found = result and (result["from"], result["to"])
        assert found == (expected and pytest.approx(expected)), (begin, end, factor)


def test_columns_lose_no_point(page):
    result = page.module("columns.js", """
        const values = new Float32Array(10000).fill(1); values[4321] = 99; values[777] = -5; values[0] = NaN;
        const frame = {isColumns: false, count: 10000, x: 0, xStep: 1, values};
        const thin = m.toColumns(frame, 0, 9999, 100);
        const v = [...thin.values].filter((x) => !Number.isNaN(x));
        return {count: thin.count, low: Math.min(...v), high: Math.max(...v), at: thin.values.indexOf(99) >> 1}""")
    assert result == {"count": 100, "low": -5, "high": 99, "at": 43}


def test_columns_are_joined_and_gaps_are_left(page):
    rectangles = page.module("columns.js", """
        const nan = NaN;
        const values = Float32Array.of(0, 1, 5, 6, nan, nan, 2, 2);
        const frame = {isColumns: true, count: 4, x: 0.5, xStep: 1, values};
        const box = {left: 0, top: 0, width: 4, height: 10, from: 0, to: 4, min: 0, max: 10};
        const into = new Float64Array(16);
        return [...into.slice(0, m.columnRectangles(frame, box, 1, into)), ...into].slice(0, 12)""")
    first, second, third = [rectangles[i:i + 4] for i in (0, 4, 8)]
    assert first == [0, 8.5, 1, 2]          # from 1 to 0, half a pixel more on either side
    assert second == [1, 3.5, 1, 6]         # from 6 down to 1, where the first one ends
    assert third == [3, 7.5, 1, 1]          # behind the gap by itself


def test_infinite_values_stay_at_the_edge(page):
    pixels = page.module("columns.js", """
        const box = {left: 0, top: 0, width: 4, height: 10, from: 0, to: 4, min: 0, max: 10};
        return [Infinity, -Infinity, 1e38].map((v) => m.pixelOfY(box, v))""")
    assert pixels == [-4, 14, -4]


def test_hold_keeps_extremes_and_begins_anew_elsewhere(page):
    result = page.module("columns.js", """
        const frame = (values, x = 0) => ({isColumns: false, count: 3, x, xStep: 1, yUnit: "W", 
                                        values: Float32Array.from(values)});
        const first = m.envelope(null, frame([1, NaN, 3]));
        const second = m.envelope(first, frame([2, 5, 1]));
        const third = m.envelope(second, frame([NaN, 4, 2]));
        const other = m.envelope(third, frame([7, 7, 7], 1));
        const texts = (held) => [...held.values].map((v) => (Number.isNaN(v) ? "none" : v));
        return [first, second, third, other].map(texts)""")
    assert result == [[1, 1, "none", "none", 3, 3], [1, 2, 5, 5, 1, 3], [1, 2, 4, 5, 1, 3], [7, 7, 7, 7, 7, 7]]


def test_a_waterfall_keeps_the_greatest_and_no_more_than_ten_minutes(page):
    result = page.module("waterfall.js", """
        const history = new m.History();
        const form = {isColumns: false, count: 4, x: 0, xStep: 1, firstX: 0, traceStep: 1, yUnit: "W"};
        const frame = (value, total = 4) => ({...form, total, values: new Float32Array(4).fill(value)});
        const row = new Float32Array(4);
        const at = (begin, end) => { history.greatest(begin, end, row); return Number.isNaN(row[0]) ? null : row[0]; };
        history.add(frame(1), 100.1); history.add(frame(3), 100.2); history.add(frame(2), 100.3);
        const same = at(100, 100.5);
        history.add(frame(5), 110);
        const gap = at(104, 105), all = at(100, 111), before = at(50, 60), late = at(110, 110.5);
        const bytes = history.bytes;
        for (let s = 0; s < 2000; ++s) history.add(frame(0), 111 + s);
        const gone = at(100, 111), stays = history.bytes;
        history.add(frame(9, 5), 3000);
        return {same, gap, all, before, late, bytes, gone, stays, anew: at(2999, 2999.5)}""")
    assert result == {"same": 3, "gap": None, "all": 5, "before": None, "late": 5, "bytes": 1200 * 4 * 4, "gone": None,
                      "stays": 1200 * 4 * 4, "anew": None}


def test_a_waterfall_maps_what_is_zoomed_to_pixels(page):
    places = page.module("waterfall.js", """
        return [[{from: 0, to: 100}, 2], [{from: 50, to: 150}, 2], [{from: 0, to: 10}, 2]]
          .map(([view, pixels]) => [...m.columnsOfPixels({from: 0, to: 100}, 10, view, pixels)])""")
    assert places == [[0, 5, 5, 10], [5, 10, -1, 10], [0, 1, 0, 1]]


def test_colours_rise_evenly_in_lightness(page):
    colours = page.module("colourmap.js", "return [...m.kColourMap]")
    assert len(colours) == 3 * 256

    def lightness(red, green, blue):
        """L of OKLab, from its published matrices."""
        r, g, b = [v / 255 / 12.92 if v <= 10.31475 else ((v / 255 + 0.055) / 1.055) ** 2.4 for v in (red, green, blue)]
        long = (0.4122214708 * r + 0.5363325363 * g + 0.0514459929 * b) ** (1 / 3)
        middle = (0.2119034982 * r + 0.6806995451 * g + 0.1073969566 * b) ** (1 / 3)
        short = (0.0883024619 * r + 0.2817188376 * g + 0.6299787005 * b) ** (1 / 3)
        return 0.2104542553 * long + 0.7936177850 * middle - 0.0040720468 * short

    values = [lightness(*colours[i:i + 3]) for i in range(0, len(colours), 3)]
    tenths = [values[min(255, round(25.5 * i))] for i in range(11)]
    steps = [b - a for a, b in zip(tenths, tenths[1:])]
    assert values[0] < 0.2 and values[255] > 0.9
    assert max(steps) / min(steps) < 1.15, steps


def test_colours_of_values_beyond_the_range_are_those_at_its_ends(page):
    same = page.module("colourmap.js", """
        const pixels = new Uint32Array(6);
        m.paint(Float32Array.of(-Infinity, 0, 10, Infinity, NaN, 5), 0, 10, pixels);
        return [pixels[0] === pixels[1], pixels[2] === pixels[3], pixels[4] === 0, pixels[5] !== pixels[0]]""")
    assert same == [True, True, True, True]


def test_marks_are_reused_when_free(page):
    slots = page.module("marks.js", """
        const slots = new m.Slots();
        const first = ["a", "b", "c"].map((name) => slots.of(name));
        slots.keep(["a", "c"]);
        return [...first, slots.of("d"), slots.of("a"), slots.of("e")]""")
    assert slots == [0, 1, 2, 1, 0, 3]


def test_a_trail_is_bounded_and_knows_its_band(page):
    result = page.module("trail.js", """
        const trail = new m.Trail();
        for (let i = 0; i < 30000; ++i) trail.add(i, i % 10, -1, 2);
        const range = trail.range(29990);
        trail.add(30000, 5, -Infinity, NaN);
        const columns = trail.columns(29990, 30001, 11);
        return {range, last: trail.last, oldest: trail.at(5999), at: trail.at(29995.5), low: columns.low[5],
                bare: columns.low[10]}""")
    assert result == {"range": {"low": -1, "high": 11}, "last": {"time": 30000, "value": 5}, "oldest": None, "at": 5,
                      "low": 4, "bare": 5}


def test_addresses_are_read(page):
    cases = [("", None, ""), ("#/wall=math:1,math:3", ["math:1", "math:3"], ""), ("#wall=A%2FB", ["A/B"], ""),
             ("#wall=", [], ""), ("#token=a=b&/wall=x", ["x"], "a=b"), ("#wall=50%", ["50%"], "")]
    for text, wall, token in cases:
        assert page.module("store.js", "return m.readAddress(a[0])", text) == {"wall": wall, "token": token}


def test_names_become_names_of_files(page):
    cases = [("math:3", "math-3.csv"), ("SIM/1/A B", "SIM-1-A-B.csv"), ("../..", "data.csv"), ("é", "data.csv")]
    for name, file in cases:
        assert page.module("saving.js", "return m.fileName(a[0], 'csv')", name) == file


def test_ages_run_from_the_capture_where_it_goes_on_and_else_from_the_arrival(page):
    ages = page.module("arrivals.js", """
        const now = Date.now() / 1000;
        const [reading, average, untold] = [1, 2, 3].map(() => new m.Arrivals());
        reading.took(now - 20, 0); reading.took(now - 10, 0);
        average.took(now - 20, 0); average.took(now - 20, 0);
        untold.took(0, 0);
        return [reading, average, untold].map((one) => Math.round(one.age_s))""")
    assert ages == [10, 0, 0]


def test_figures_are_medians_and_95_percent(page):
    result = page.module("figures.js", """
        const figures = new m.Figures();
        for (let i = 1; i <= 100; ++i) { figures.decoded(0.5); figures.drawn(i - 0.5, []); }
        return figures.summary()""")
    assert result["update"] == {"count": 100, "median": 51, "p95": 96, "most": 100}
    assert result["picture"] is None and result["frames"] == 100
