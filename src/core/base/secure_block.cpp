#include "base/secure_block.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "base/system_memory.h"

namespace corvenda {
namespace {

/// How much is wiped before its pages go back: one large page. Wiping faults pages in again that had been given back
/// earlier. In larger steps, releasing a mostly empty block would need more memory; in smaller ones, more system calls.
constexpr std::uintptr_t kWipeStep = std::uintptr_t{2} << 20;

void wipeAndDiscard(std::uint8_t* begin, std::uint8_t* end) {
  while (begin != end) {
    // Steps end where large pages do, so that no large page is split.
    const std::uintptr_t toStepEnd = kWipeStep - reinterpret_cast<std::uintptr_t>(begin) % kWipeStep;
    const std::size_t step = std::min<std::size_t>(static_cast<std::size_t>(end - begin), toStepEnd);
    secureWipe(begin, step);
    discardPages(begin, begin + step);
    begin += step;
  }
}

void releaseBlock(SecureBlock* block) {
  if (block->pages == nullptr) return;
  wipeAndDiscard(block->data, block->data + block->size);
  unmapPages(block->pages, block->pagesSize);
  block->pages = nullptr;
}

}  // namespace

SecureBlock::SecureBlock(SecureBlock&& other) noexcept
    : data(std::exchange(other.data, nullptr)),
      size(std::exchange(other.size, 0)),
      pages(std::exchange(other.pages, nullptr)),
      pagesSize(std::exchange(other.pagesSize, 0)) {}

SecureBlock& SecureBlock::operator=(SecureBlock&& other) noexcept {
  SecureBlock taken(std::move(other));
  std::swap(data, taken.data);
  std::swap(size, taken.size);
  std::swap(pages, taken.pages);
  std::swap(pagesSize, taken.pagesSize);
  return *this;
}

SecureBlock::~SecureBlock() { releaseBlock(this); }

SecureBlock allocateBlock(std::size_t size) {
  SecureBlock block;
  if (size == 0) return block;
  block.pages = mapPages(size);
  if (block.pages == nullptr) std::abort();
  block.pagesSize = size;
  block.data = block.pages;
  block.size = size;
  return block;
}

void keepRange(SecureBlock* block, std::size_t offset, std::size_t size) {
  std::uint8_t* const begin = block->data + offset;
  wipeAndDiscard(block->data, begin);
  wipeAndDiscard(begin + size, block->data + block->size);
  block->data = begin;
  block->size = size;
}

void trimBlock(SecureBlock* block, std::size_t size) {
  discardPages(block->data + size, block->data + block->size);
  block->size = size;
}

void releaseRange(SecureBlock* block, std::size_t offset, std::size_t size) {
  wipeAndDiscard(block->data + offset, block->data + offset + size);
}

}  // namespace corvenda
