// SPDX-License-Identifier: Apache-2.0
// What an axis and a readout say: quantity, unit, and numbers that can be read. Values are never converted here, but
// for the decimal prefix of an axis: other forms of a unit are the server's to make.

const kStems = {
  Power: "W",
  Voltage: "V",
  Current: "A",
  Resistance: "ohm",
  Frequency: "Hz",
  Time: "s min h",
  Distance: "m ft in",
  Temperature: "degC degF K",
  Angle: "rad deg",
  Data: "B bit",
  Capacitance: "F",
  Inductance: "H",
  Charge: "C",
  Energy: "J eV",
  Force: "N",
  Pressure: "Pa bar",
  Mass: "g",
  "Luminous flux": "lm",
  "Luminous intensity": "cd",
  Illuminance: "lx",
  "Flux density": "T",
  "Magnetic flux": "Wb",
  Conductance: "S",
  Amount: "mol",
  Samples: "Sa",
  Rotation: "rpm",
  "Apparent power": "VA",
  "Reactive power": "var",
  Dose: "Gy Sv",
  Share: "% ppm ppb",
};
const kQuantities = Object.entries(kStems).flatMap(([quantity, stems]) =>
  stems.split(" ").map((stem) => [stem, quantity]),
);
const kPrefixes = {f: -15, p: -12, n: -9, u: -6, m: -3, "": 0, k: 3, M: 6, G: 9, T: 12};
const kLetterOf = new Map(Object.entries(kPrefixes).map(([letter, power]) => [power, letter]));
// These take no prefix, or one that is not ten's.
const kPlain = new Set(["min", "h", "ft", "in", "degC", "degF", "deg", "%", "ppm", "ppb", "B", "bit", "rpm", "var"]);
const kLeastPlain = 1e-4;
const kMostPlain = 1e7;
const kRaised = "⁰¹²³⁴⁵⁶⁷⁸⁹";

/** Prefix and stem of a unit that is one, as "kHz": {power: 3, stem: "Hz", quantity}; null for any other. */
function simpleUnit(unit) {
  for (const [stem, quantity] of kQuantities) {
    if (!unit.endsWith(stem)) continue;
    const power = kPrefixes[unit.slice(0, unit.length - stem.length)];
    if (power !== undefined && (power === 0 || !kPlain.has(stem))) return {power, stem, quantity};
  }
  return null;
}

/** The quantity of a unit in a word: "Frequency" of "kHz", "Level" of anything in decibels; empty where there is no
 *  word for it. */
export function quantityOf(unit) {
  if (unit.startsWith("dB")) return "Level";
  return simpleUnit(unit)?.quantity ?? "";
}

/** How an axis with numbers up to `greatest` of `unit` is written: its numbers are divided by `divisor` and stand in
 *  `unit`. 3e6 Hz is written as 3 MHz; where a unit takes no prefix, a power of ten stands before it. */
export function axisScale(unit, greatest) {
  const simple = simpleUnit(unit);
  const size = Math.abs(greatest);
  if (!(size > 0) || size === Infinity) return {divisor: 1, unit};
  const thousands = Math.floor(Math.log10(size * 1.0000001) / 3) * 3;
  if (!simple || kPlain.has(simple.stem)) return powerScale(unit, size, thousands);
  const power = Math.min(12, Math.max(-15, simple.power + thousands));
  return {divisor: 10 ** (power - simple.power), unit: kLetterOf.get(power) + simple.stem};
}

// Numbers that are short enough as they are stay.
function powerScale(unit, size, power) {
  if (size >= kLeastPlain && size < kMostPlain) return {divisor: 1, unit};
  const digits = [...String(Math.abs(power))].map((digit) => kRaised[digit]).join("");
  return {divisor: 10 ** power, unit: `×10${power < 0 ? "⁻" : ""}${digits} ${unit}`.trimEnd()};
}

/** The label of an axis: quantity and unit, or what the numbers are where there is neither. `shown`: the unit as the
 *  axis writes it, see axisScale. */
export function axisLabel(unit, otherwise, shown = unit) {
  const quantity = unit === "" ? otherwise : quantityOf(unit);
  return [quantity, shown].filter((part) => part !== "").join(", ");
}

/** A number with `digits` significant digits, as people write it: no zeros at its end, a true minus sign. */
export function numberText(value, digits = 5) {
  if (value === null || value === undefined || Number.isNaN(value)) return "not a number";
  if (!Number.isFinite(value)) return value > 0 ? "infinite" : "−infinite";
  if (value === 0) return "0";
  const size = Math.abs(value);
  const text = size >= 1e7 || size < 1e-4 ? value.toExponential(digits - 1) : String(Number(value.toPrecision(digits)));
  return text.replace(/\.?0+e/, "e").replaceAll("-", "−");
}

/** Ticks of an axis: as many decimals as their distance needs. */
export function tickText(value, increment) {
  const size = Math.max(Math.abs(value), increment);
  if (size >= 1e7 || size < 1e-4) return numberText(Math.abs(value) < increment / 1000 ? 0 : value, 4);
  let decimals = Math.max(0, Math.min(10, -Math.floor(Math.log10(increment * 1.0001))));
  const steps = increment * 10 ** decimals;
  if (decimals < 10 && Math.abs(steps - Math.round(steps)) > 1e-6) ++decimals; // 0.25
  const text = value.toFixed(decimals);
  return (Number(text) === 0 ? (0).toFixed(decimals) : text).replace("-", "−");
}

/** Value and unit; the unit never stands without a space before it, but for percent neither. */
export function withUnit(value, unit, digits) {
  return unit === "" ? numberText(value, digits) : `${numberText(value, digits)} ${unit}`;
}

/** A time of so many seconds: each unit until there are two of the next one. */
export function durationText(seconds) {
  const steps = [
    [0.9995, 1e-3, 0, "ms"],
    [9.95, 1, 1, "s"],
    [120, 1, 0, "s"],
    [7200, 60, 0, "min"],
    [172800, 3600, 0, "h"],
  ];
  for (const [below, unit, digits, name] of steps) {
    if (seconds < below) return `${(Math.max(0, seconds) / unit).toFixed(digits)} ${name}`;
  }
  return `${(seconds / 86400).toFixed(0)} days`;
}

/** How often something comes, from times a second: "20.1 /s", "6 /min". */
export function rateText(rate) {
  if (rate === null || rate === undefined || !(rate > 0)) return "–";
  if (rate > 0.1) return `${Number(rate.toPrecision(3))} /s`;
  const perMinute = 60 * rate;
  return perMinute > 0.1 ? `${Number(perMinute.toPrecision(3))} /min` : `${Number((60 * perMinute).toPrecision(3))} /h`;
}

/** Bytes: "12.3 MB". */
export function bytesText(bytes) {
  if (bytes === null || bytes === undefined) return "–";
  const scale = axisScale("W", Math.max(bytes, 1)); // any unit that takes prefixes
  return `${Number((bytes / scale.divisor).toPrecision(3))} ${scale.unit.replace("W", "B")}`;
}
