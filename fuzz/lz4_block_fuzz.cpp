// The LZ4 decoder compared with the plainest possible one: an index into the input, and bytes copied one at a time.
#include <string>

#include "fuzz_target.h"
#include "pack/lz4_block.h"

using namespace corvenda;

namespace {

struct PlainDecoder {
  ByteSpan input;
  std::size_t at = 0;
  std::vector<std::uint8_t> output;

  bool addExtension(std::size_t* length) {
    for (std::uint8_t byte = 255; byte == 255; *length += byte) {
      if (at == input.size()) return false;
      byte = input[at++];
    }
    return true;
  }

  /// What is wrong with the block; empty if nothing is.
  std::string decode() {
    while (at < input.size()) {
      const std::uint8_t token = input[at++];
      std::size_t literals = token >> 4;
      if (literals == 15 && !addExtension(&literals)) return "semantic LZ4 literal bounds are invalid";
      if (literals > input.size() - at) return "semantic LZ4 literal bounds are invalid";
      for (; literals > 0; --literals) output.push_back(input[at++]);
      if (at == input.size()) return {};
      if (input.size() - at < 2) return "semantic LZ4 match offset is truncated";
      const std::size_t offset = input[at] + 256U * input[at + 1];
      at += 2;
      if (offset == 0 || offset > output.size()) return "semantic LZ4 match offset is invalid";
      std::size_t match = token & 15;
      if (match == 15 && !addExtension(&match)) return "semantic LZ4 match length is truncated";
      for (match += 4; match > 0; --match) output.push_back(output[output.size() - offset]);
    }
    return {};
  }
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  PlainDecoder plain{{data, size}, 0, {}};
  const std::string message = plain.decode();
  std::size_t decodedSize = 7;
  SemanticError error;
  mustHold(measureLz4Block({data, size}, &decodedSize, &error) == message.empty());
  mustHold(error.message == message);
  if (!message.empty()) return 0;
  mustHold(decodedSize == plain.output.size());
  // Vectors of exactly these sizes, so that sanitizers see a step too far. Decoded at once, and one sequence at a time.
  for (const std::size_t step : {size, std::size_t{1}}) {
    std::vector<std::uint8_t> output(decodedSize);
    Lz4Decoder decoder{{data, size}, output};
    while (decoder.inputUsed < size) decodeLz4Sequences(&decoder, decoder.inputUsed + step);
    mustHold(decoder.outputUsed == decodedSize && output == plain.output);
  }
  return 0;
}
