// Looks for texts in the memory of another process:
//     read_memory.exe PROCESS FIRST:REST…
// prints "found" or "gone" for each. First character and rest come apart, lest a copy of the question be found.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include <windows.h>

namespace {

/// A region of a gigabyte is a reservation of the JavaScript engine, not the heap.
constexpr std::size_t kLargest = std::size_t{1} << 30;

bool holds(std::string_view memory, char first, std::string_view rest) {
  for (std::size_t at = memory.find(rest); at != std::string_view::npos; at = memory.find(rest, at + 1)) {
    if (at > 0 && memory[at - 1] == first) return true;
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  const auto id = static_cast<DWORD>(argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 0);
  const HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, id);
  if (process == nullptr) return 1;
  std::vector<bool> found(static_cast<std::size_t>(argc));
  std::vector<char> bytes;
  MEMORY_BASIC_INFORMATION region;
  const std::uint8_t* address = nullptr;
  while (VirtualQueryEx(process, address, &region, sizeof region) != 0) {
    address = static_cast<const std::uint8_t*>(region.BaseAddress) + region.RegionSize;
    if (region.State != MEM_COMMIT || region.Protect != PAGE_READWRITE || region.RegionSize >= kLargest) continue;
    bytes.resize(region.RegionSize);
    SIZE_T count = 0;
    ReadProcessMemory(process, region.BaseAddress, bytes.data(), bytes.size(), &count);
    for (int i = 2; i < argc; ++i) {
      const auto number = static_cast<std::size_t>(i);
      found[number] = found[number] || holds({bytes.data(), count}, argv[i][0], argv[i] + 2);
    }
  }
  CloseHandle(process);
  for (int i = 2; i < argc; ++i)
    std::printf(i == 2 ? "%s" : " %s", found[static_cast<std::size_t>(i)] ? "found" : "gone");
  std::printf("\n");
}
