#include <algorithm>
#include <vector>

#include <windows.h>

#include <psapi.h>

#include "support/resident_bytes.h"

namespace corvenda {

std::size_t residentBytes(const std::uint8_t* pages, std::size_t size) {
  SYSTEM_INFO system;
  GetSystemInfo(&system);
  std::vector<PSAPI_WORKING_SET_EX_INFORMATION> list(size / system.dwPageSize);
  for (std::size_t i = 0; i < list.size(); ++i) {
    list[i].VirtualAddress = const_cast<std::uint8_t*>(pages) + i * system.dwPageSize;
  }
  if (K32QueryWorkingSetEx(GetCurrentProcess(), list.data(), static_cast<DWORD>(list.size() * sizeof list[0])) == 0) {
    return 0;
  }
  const auto isPresent = [](const auto& each) { return each.VirtualAttributes.Valid != 0; };
  return system.dwPageSize * static_cast<std::size_t>(std::count_if(list.begin(), list.end(), isPresent));
}

}  // namespace corvenda
