#include "pack/digest_batch.h"

namespace corvenda {
namespace {

/// Starting a thread takes about 30 µs, hashing this many bytes (4 MiB) about 3 ms. With much less to hash the thread
/// would save nothing.
constexpr std::size_t kMinBackgroundSize = std::size_t{4} << 20;

/// Any number of threads may be in here; each job is one's own.
void runJobs(void* context) {
  auto* const batch = static_cast<DigestBatch*>(context);
  for (;;) {
    const std::size_t number = batch->nextJob++;
    if (number >= batch->jobs.size()) return;
    DigestJob& job = batch->jobs[number];
    sha256(job.bytes, &job.digest, &job.error);
  }
}

void joinWorkers(DigestBatch* batch) {
  for (WorkerThread& thread : batch->threads) joinWorker(&thread);
}

}  // namespace

DigestBatch::~DigestBatch() {
  nextJob = jobs.size();
  joinWorkers(this);
}

void startDigests(DigestBatch* batch) {
  std::size_t size = 0;
  for (const DigestJob& job : batch->jobs) size += job.bytes.size();
  if (size < kMinBackgroundSize) return;
  for (WorkerThread& thread : batch->threads) {
    if (!startWorker(runJobs, batch, &thread)) return;
  }
}

bool finishDigests(DigestBatch* batch, SemanticError* error) {
  runJobs(batch);
  joinWorkers(batch);
  for (const DigestJob& job : batch->jobs) {
    if (!job.error.message.empty()) return fail(error, job.error.message);
  }
  return true;
}

}  // namespace corvenda
