// How the module binds to the process that loaded it. On Windows an import names the file it comes from, and the file
// of an embedding program is not called node.exe. The Node-API functions are therefore imported with a delay under that
// name, and this hook says what stands for it, at the first call: before the module has done anything.
#include <algorithm>
#include <string_view>

#include <windows.h>

#include <delayimp.h>  // after windows.h, which it needs

namespace {

/// Keeps the module loaded until the process ends. Node unloads it when the last environment that loaded it ends, but
/// the cache is the process's.
void pinModule() {
  HMODULE self = nullptr;
  // Any address inside the module will do. Nothing can be done about a failure, which only costs the cache.
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                     reinterpret_cast<LPCWSTR>(&pinModule), &self);
}

bool isHost(std::string_view library) {
  constexpr std::string_view kHost = "node.exe";
  constexpr auto lower = [](char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
  };
  return std::equal(library.begin(), library.end(), kHost.begin(), kHost.end(),
                    [&](char left, char right) { return lower(left) == right; });
}

/// Gives the library to bind to; null leaves the search to the loader.
FARPROC WINAPI bindToHost(unsigned notice, PDelayLoadInfo info) {
  if (notice != dliNotePreLoadLibrary || !isHost(info->szDll)) return nullptr;
  pinModule();
  // Programs that embed the runtime often have it in a library of its own.
  HMODULE host = GetModuleHandleW(L"libnode.dll");
  if (host == nullptr) host = GetModuleHandleW(nullptr);
  return reinterpret_cast<FARPROC>(host);
}

}  // namespace

// The hook's name is fixed by the delay-load helper, which is linked in; some of its headers make it const.
extern "C" {
decltype(__pfnDliNotifyHook2) __pfnDliNotifyHook2 = bindToHost;
}
