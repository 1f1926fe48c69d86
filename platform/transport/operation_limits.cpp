// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/operation_limits.h"

#include <algorithm>
#include <iterator>

namespace Corvanta {
namespace {

constexpr MessageLimit kPlain = MessageLimit::Plain;
constexpr MessageLimit kSample = MessageLimit::Sample;
constexpr MessageLimit kList = MessageLimit::List;

constexpr OperationLimit kTable[] = {
    {"AttrFull", "answer: a reference"},
    {"AttrInputs", "answer: a few references"},
    {"AttrReset", "answer: a reference"},
    {"AttrResult", "answer: a reference"},
    {"AttrSize", "answer: a reference"},
    {"AttrType", "answer: a reference"},
    {"CORBA_Type", "answer: two strings"},
    {"CreateMath", "a sequence of references; answer: a reference, or an exception's text"},
    {"DDS_Callback", "a sample", kSample},
    {"DDS_Group", "a sequence of samples and of their handles; answer: a sequence of handles", kSample},
    {"DDS_Value", "answer: a topic"},
    {"DeleteMath", "none"},
    {"Elements", "answer: a list of numbers and names", kPlain, kList},
    {"EngineName", "answer: a string"},
    {"Engines", "answer: a list of engines", kPlain, kList},
    {"Get", "answer: a sample", kPlain, kSample},
    {"GetId", "none"},
    {"GetMath", "answer: a reference"},
    {"GetProgressInterface", "a string; answer: a reference"},
    {"GetType", "answer: a string"},
    {"Instances", "answer: a list of classes", kPlain, kList},
    {"Items", "answer: a list of items", kPlain, kList},
    {"LastSample", "a topic; answer: a sample", kPlain, kSample},
    {"Limits", "none"},
    {"ListMath", "answer: a list of ids", kPlain, kList},
    {"ListMathStatus", "answer: a list of math objects", kPlain, kList},
    {"LostSamples", "none"},
    {"Name", "answer: a string"},
    {"Publish", "a sample and a topic", kSample},
    {"Refusals", "answer: a number and a string"},
    {"Renew", "a sequence of topics and references, as many as fit; answer: a sequence of handles"},
    {"Report", "answer: a few strings and numbers"},
    {"ReportMath", "answer: a list of math objects", kPlain, kList},
    {"Set", "none"},
    {"SetProgress", "a string"},
    {"Subscribe", "a topic and a reference"},
    {"SubscriptionEpoch", "none"},
    {"Subscriptions", "answer: a list of subscriptions", kPlain, kList},
    {"Topics", "answer: a list of topics", kPlain, kList},
    {"Unsubscribe", "a topic"},
    {"Use", "answer: two numbers"},
    {"Version", "answer: a string"},
    {"list", "naming service; answer: a list of names", kPlain, kList},
    {"next_n", "naming service; answer: a list of names", kPlain, kList},
};

constexpr bool IsShortEnough(const OperationLimit& row) {
  return row.answer == kPlain || row.operation.size() <= kLongestWithLargeAnswer;
}
static_assert(std::all_of(std::begin(kTable), std::end(kTable), IsShortEnough));

const OperationLimit* Find(std::string_view operation) noexcept {
  const auto row = std::find_if(std::begin(kTable), std::end(kTable),
                                [operation](const OperationLimit& limit) { return limit.operation == operation; });
  return row == std::end(kTable) ? nullptr : row;
}

}  // namespace

std::span<const OperationLimit> OperationLimits() noexcept { return kTable; }

MessageLimit RequestLimit(std::string_view operation) noexcept {
  const OperationLimit* row = Find(operation);
  return row == nullptr ? kPlain : row->request;
}

MessageLimit AnswerLimit(std::string_view operation) noexcept {
  const OperationLimit* row = Find(operation);
  return row == nullptr ? kPlain : row->answer;
}

}  // namespace Corvanta
