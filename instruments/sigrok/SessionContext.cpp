// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/SessionContext.h"

#include <exception>
#include <future>
#include <memory>
#include <utility>

namespace Lumenar::Sigrok {
namespace {

/// Something that is to be done once. Who comes first decides: the loop that does it, or the caller who gives it up.
struct Errand {
  explicit Errand(std::function<void()> what) : task(std::move(what)) {}

  const std::function<void()> task;
  std::atomic<bool> taken{false};
  std::promise<void> done;
};

using ErrandPtr = std::shared_ptr<Errand>;

gboolean RunErrand(void* data) noexcept {
  Errand& errand = **static_cast<ErrandPtr*>(data);
  if (errand.taken.exchange(true)) return G_SOURCE_REMOVE;
  try {
    errand.task();
    errand.done.set_value();
  } catch (...) {  // the caller gets it
    errand.done.set_exception(std::current_exception());
  }
  return G_SOURCE_REMOVE;
}

void ForgetErrand(void* data) noexcept { delete static_cast<ErrandPtr*>(data); }

gboolean RunTick(void* task) noexcept {
  (*static_cast<const std::function<void()>*>(task))();
  return G_SOURCE_CONTINUE;
}

}  // namespace

SessionContext::Ticks::Ticks(const SessionContext& context, std::chrono::milliseconds period,
                             std::function<void()> task)
    : task_(std::move(task)), source_(g_timeout_source_new(static_cast<guint>(period.count()))) {
  g_source_set_callback(source_, RunTick, const_cast<std::function<void()>*>(&task_), nullptr);
  g_source_attach(source_, context.context_);
}

SessionContext::Ticks::~Ticks() {
  g_source_destroy(source_);
  g_source_unref(source_);
}

bool SessionContext::Do(const std::function<void()>& task, std::chrono::milliseconds limit) {
  if (!runs_) return false;
  const auto errand = std::make_shared<Errand>(task);
  std::future<void> done = errand->done.get_future();
  GSource* source = g_idle_source_new();
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  g_source_set_callback(source, RunErrand, new ErrandPtr(errand), ForgetErrand);
  g_source_attach(source, context_);
  g_source_unref(source);
  if (done.wait_for(limit) != std::future_status::ready && !errand->taken.exchange(true)) return false;
  done.get();  // it is being done: that lasts as long as the device needs
  return true;
}

}  // namespace Lumenar::Sigrok
