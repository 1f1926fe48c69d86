// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

namespace Lumenar::Fuzz {

using Bytes = std::span<const std::uint8_t>;

/// What is done with one input. A target lets the errors pass that its subject documents and throws a Violation when a
/// rule is broken; anything else that leaves it is a finding too.
using Target = void (*)(Bytes input);

void AnyRecord(Bytes input);          ///< an any off the wire, in either byte order
void MessageStream(Bytes input);      ///< messages of the wire, cut anywhere, as the transport takes them apart
void UnitsAlgebra(Bytes input);       ///< units out of records: arranged, compared, converted
void Values(Bytes input);             ///< values of both precisions: converted, scaled, added, subtracted
void UnitsText(Bytes input);          ///< units that people write
void TransportSettings(Bytes input);  ///< the transport configuration
void StateFiles(Bytes input);         ///< what the services kept over a restart
void Touchstone(Bytes input);         ///< recordings: scattering parameters
void Spectrum(Bytes input);           ///< recordings: sweeps of a spectrum
void TwoColumns(Bytes input);         ///< recordings: waveforms in two columns
void Otdr(Bytes input);               ///< recordings: backscatter traces
void SessionFile(Bytes input);        ///< recordings: archives of samples
void SampleCsv(Bytes input);          ///< recordings: samples as CSV
void RecordingLines(Bytes input);     ///< recordings of this system, whole and line by line
void SimItems(Bytes input);           ///< the items of the simulator
void ScpiAnswers(Bytes input);        ///< what instruments answer, and the numbers in it
void ScpiDevices(Bytes input);        ///< files that describe such instruments
void ToolOutput(Bytes input);         ///< samples and names as mathctl writes them: lines, JSON, tables, plots
void WebMessages(Bytes input);        ///< what clients of the web gateway send: texts, targets and heads of requests
void ToolInput(Bytes input);          ///< names, numbers and references as people and peers give them to mathctl

}  // namespace Lumenar::Fuzz
