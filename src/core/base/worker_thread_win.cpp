#include <memory>
#include <utility>

#include <windows.h>

#include <process.h>

#include "base/worker_thread.h"

namespace corvenda {
namespace {

struct Job {
  void (*work)(void*);
  void* context;
};

unsigned __stdcall runJob(void* argument) {
  const std::unique_ptr<Job> job(static_cast<Job*>(argument));
  job->work(job->context);
  return 0;
}

}  // namespace

// Through the run-time library, which keeps what it knows of a thread. Nothing here is like a signal.
bool startWorker(void (*work)(void*), void* context, WorkerThread* thread) {
  auto job = std::make_unique<Job>(Job{work, context});
  thread->handle = _beginthreadex(nullptr, 0, runJob, job.get(), 0, nullptr);
  thread->running = thread->handle != 0;
  if (thread->running) static_cast<void>(job.release());  // the thread's from now on
  return thread->running;
}

void joinWorker(WorkerThread* thread) {
  if (!std::exchange(thread->running, false)) return;
  const auto handle = reinterpret_cast<HANDLE>(thread->handle);
  WaitForSingleObject(handle, INFINITE);
  CloseHandle(handle);
}

}  // namespace corvenda
