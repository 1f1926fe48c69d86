// SPDX-License-Identifier: Apache-2.0
#include "judge/verify/Findings.h"

#include <algorithm>
#include <utility>

namespace Lumenar::Judge {

void Findings::Add(Remark remark) {
  if (counts_[remark.kind]++ >= kMostRemarks) return;
  last_ = std::make_shared<const Link>(Link{std::move(remark), last_});
}

void Findings::Append(const Findings& later) {
  checked_ += later.checked_;
  for (const auto& [reason, count] : later.UncheckedBy()) Count(unchecked_, reason, count);
  for (const auto& [reason, count] : later.RefusedBy()) Count(refused_, reason, count);
  const std::vector<std::uint64_t> kept(std::begin(counts_), std::end(counts_));
  for (Remark& remark : later.Remarks()) Add(std::move(remark));
  for (std::size_t kind = 0; kind < kept.size(); ++kind) counts_[kind] = kept[kind] + later.counts_[kind];
}

std::vector<Remark> Findings::Remarks() const {
  std::vector<Remark> remarks;
  for (const Link* link = last_.get(); link != nullptr; link = link->before.get()) remarks.push_back(link->remark);
  std::reverse(remarks.begin(), remarks.end());
  return remarks;
}

void Findings::Count(Shared& reasons, const std::string& reason, std::uint64_t times) {
  Reasons counted = In(reasons);
  counted[reason] += times;
  reasons = std::make_shared<const Reasons>(std::move(counted));
}

const Findings::Reasons& Findings::In(const Shared& reasons) {
  static const Reasons none;
  return reasons ? *reasons : none;
}

std::uint64_t Findings::SumOf(const Shared& reasons) {
  std::uint64_t sum = 0;
  for (const auto& [reason, count] : In(reasons)) sum += count;
  return sum;
}

}  // namespace Lumenar::Judge
