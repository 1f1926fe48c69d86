// SPDX-License-Identifier: Apache-2.0

const kWords = {
  Subtract: "FIRST minus SECOND, in the unit of FIRST. Two traces or two scalars.",
  RelativeSubtract: "The level of FIRST above SECOND, in dB. Two traces or two scalars, one of them in dB.",
  Average: "The mean of the last SIZE samples of a trace or a scalar.",
  Peak: "The largest value since RESET: of each point of a trace, or of a scalar.",
  CumulativeAdd: "The sum of the samples of a trace from START to STOP, which are readings of whole numbers.",
};

/** What an operation does, for people; empty for one that is not known here. */
export function wordsOf(operation) {
  return Object.hasOwn(kWords, operation) ? kWords[operation] : "";
}
