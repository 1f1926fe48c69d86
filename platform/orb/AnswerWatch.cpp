// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/AnswerWatch.h"

#include <omniORB4/omniInterceptors.h>
// clang-format off
// These in this order: they do not include what they need.
#include <omniORB4/internal/giopRope.h>
#include <omniORB4/internal/giopStrand.h>
#include <omniORB4/internal/giopStream.h>
#include <omniORB4/internal/GIOP_C.h>
// clang-format on

namespace Corvanta {
namespace {

thread_local bool answered = false;

/// Called on the thread that made the call, with the head of its answer. One that forwards
/// the call to another object does not count.
CORBA::Boolean NoteAnswer(omni::omniInterceptors::clientReceiveReply_T::info_T& info) {
  const GIOP::ReplyStatusType status = info.giop_c.replyStatus();
  answered = status == GIOP::NO_EXCEPTION || status == GIOP::USER_EXCEPTION || status == GIOP::SYSTEM_EXCEPTION;
  return true;
}

}  // namespace

void AnswerWatch::Begin(const ORB_base&) { omniORB::getInterceptors()->clientReceiveReply.add(&NoteAnswer); }

AnswerWatch::AnswerWatch() noexcept { answered = false; }

bool AnswerWatch::Answered() const noexcept { return answered; }

}  // namespace Corvanta
