// Digests of large ranges, made while the caller goes on with something else.
#pragma once

#include <vector>

#include "base/worker_thread.h"
#include "pack/crypto.h"

namespace corvenda {

struct DigestJob {
  ByteSpan bytes;  ///< must stay and must not change until the batch is finished
  Sha256Digest digest{};
};

/// Digests that are under way. Stays where it is from the start on; who leaves early waits for the thread by scope.
struct DigestBatch {
  std::vector<DigestJob> jobs;
  SemanticError error;  ///< of the first job that failed; empty if none did
  WorkerThread thread;

  DigestBatch() = default;
  DigestBatch(const DigestBatch&) = delete;
  DigestBatch& operator=(const DigestBatch&) = delete;
  ~DigestBatch() { joinWorker(&thread); }
};

/// Begins with the jobs, in their order, on a thread of their own. Where that isn't worth it, or the system gives no
/// thread, they are done when this returns.
void startDigests(DigestBatch* batch);

/// Waits for the digests. Errors: those of `sha256`.
bool finishDigests(DigestBatch* batch, SemanticError* error);

}  // namespace corvenda
