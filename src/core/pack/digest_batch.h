// Digests of large ranges, computed on another thread while the caller goes on.
#pragma once

#include <vector>

#include "base/worker_thread.h"
#include "pack/crypto.h"

namespace corvenda {

struct DigestJob {
  ByteSpan bytes;  ///< must stay in place, unchanged, until the batch is finished
  Sha256Digest digest{};
};

/// Digests under way. Can't be moved, because the thread points to it; the destructor waits for the thread.
struct DigestBatch {
  std::vector<DigestJob> jobs;
  SemanticError error;  ///< of the first job that failed; empty if none did
  WorkerThread thread;

  DigestBatch() = default;
  DigestBatch(const DigestBatch&) = delete;
  DigestBatch& operator=(const DigestBatch&) = delete;
  ~DigestBatch() { joinWorker(&thread); }
};

/// Starts the jobs, in order, on a thread of their own. If there is too little to hash, or the system has no thread to
/// give, they are done when this returns.
void startDigests(DigestBatch* batch);

/// Waits for the digests. Errors: those of `sha256`.
bool finishDigests(DigestBatch* batch, SemanticError* error);

}  // namespace corvenda
