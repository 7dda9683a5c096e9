#include "pack/digest_batch.h"

namespace corvenda {
namespace {

/// Starting a thread takes about 30 µs, hashing this many bytes (4 MiB) about 3 ms. With much less to hash the thread
/// would save nothing.
constexpr std::size_t kMinBackgroundSize = std::size_t{4} << 20;

void runJobs(void* context) {
  auto* const batch = static_cast<DigestBatch*>(context);
  for (DigestJob& job : batch->jobs) {
    if (!sha256(job.bytes, &job.digest, &batch->error)) return;
  }
}

}  // namespace

void startDigests(DigestBatch* batch) {
  std::size_t size = 0;
  for (const DigestJob& job : batch->jobs) size += job.bytes.size();
  if (size < kMinBackgroundSize || !startWorker(runJobs, batch, &batch->thread)) runJobs(batch);
}

bool finishDigests(DigestBatch* batch, SemanticError* error) {
  joinWorker(&batch->thread);
  return batch->error.message.empty() || fail(error, batch->error.message);
}

}  // namespace corvenda
