// SPDX-License-Identifier: Apache-2.0
// The readers of recorded files, each reached as the replay instrument reaches it.
#include "tests/fuzz/recording_rules.h"

namespace Lumenar::Fuzz {

void Touchstone(Bytes input) {
  CheckRecording("a.s1p", input);
  CheckRecording("a.s2p", input);
}

// Three formats share the name's end: the first line decides. Each target's corpus starts from its own.
void Spectrum(Bytes input) { CheckRecording("a.csv", input); }
void TwoColumns(Bytes input) { CheckRecording("a.csv", input); }
void Otdr(Bytes input) { CheckRecording("a.csv", input); }

void SampleCsv(Bytes input) {
  CheckRecording("a.csv", input);
  CheckRecording("a.csv", input, {"V", 2});
}

void SessionFile(Bytes input) {
  CheckRecording("a.sr", input, {"A0=V;A", 0});
  CheckRecording("a.sr", input, {"V", 7});
}

}  // namespace Lumenar::Fuzz
