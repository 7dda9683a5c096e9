// A second thread for the length of one job; one source file a platform.
#pragma once

#include <cstdint>

namespace corvenda {

struct WorkerThread {
  std::uintptr_t handle = 0;
  bool running = false;
};

/// Runs `work(context)` on a thread of its own, which takes no signals: those are the host's. False if the system has
/// no thread to give; then the caller does the work. The caller joins the thread before `context` goes.
bool startWorker(void (*work)(void*), void* context, WorkerThread* thread);

/// Waits for the work to end. Does nothing for a thread that is not running.
void joinWorker(WorkerThread* thread);

}  // namespace corvenda
