#include <bit>
#include <csignal>
#include <memory>
#include <utility>

#include <pthread.h>

#include "base/worker_thread.h"

namespace corvenda {
namespace {

struct Job {
  void (*work)(void*);
  void* context;
};

void* runJob(void* argument) {
  const std::unique_ptr<Job> job(static_cast<Job*>(argument));
  job->work(job->context);
  return nullptr;
}

}  // namespace

bool startWorker(void (*work)(void*), void* context, WorkerThread* thread) {
  auto job = std::make_unique<Job>(Job{work, context});
  // A thread inherits the mask of the one that makes it.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  pthread_t made{};
  thread->running = pthread_create(&made, nullptr, runJob, job.get()) == 0;
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (!thread->running) return false;
  static_cast<void>(job.release());  // the thread's from now on
  thread->handle = std::bit_cast<std::uintptr_t>(made);
  return true;
}

void joinWorker(WorkerThread* thread) {
  if (!std::exchange(thread->running, false)) return;
  pthread_join(std::bit_cast<pthread_t>(thread->handle), nullptr);
}

}  // namespace corvenda
