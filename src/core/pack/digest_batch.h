// Digests of large ranges, computed on another thread while the caller goes on.
#pragma once

#include <atomic>
#include <vector>

#include "base/worker_thread.h"
#include "pack/crypto.h"

namespace corvenda {

struct DigestJob {
  ByteSpan bytes;  ///< must stay in place, unchanged, until the batch is finished
  Sha256Digest digest{};
  SemanticError error{};  ///< empty if the digest was made
};

/// Digests under way. Can't be moved, because the thread points to it; the destructor waits for the thread.
struct DigestBatch {
  std::vector<DigestJob, WipingAllocator<DigestJob>> jobs;  ///< a payload holds the digests of its documents
  std::atomic<std::size_t> nextJob = 0;
  WorkerThread threads[2];  ///< two, because a payload has a digest and so has the one large document in it

  DigestBatch() = default;
  DigestBatch(const DigestBatch&) = delete;
  DigestBatch& operator=(const DigestBatch&) = delete;
  ~DigestBatch();
};

/// Starts the jobs, in order, on a thread of their own. If there is too little to hash, or the system has no thread to
/// give, they are done when this returns.
void startDigests(DigestBatch* batch);

/// Makes the digests that nobody has begun with and waits for the others. A finished batch may be finished again.
/// Errors: those of `sha256`, of the first job that failed.
bool finishDigests(DigestBatch* batch, SemanticError* error);

}  // namespace corvenda
