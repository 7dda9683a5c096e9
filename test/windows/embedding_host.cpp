// Loads the module as a program would that embeds the runtime, and tells what it was bound to:
//     embedding_host.exe MODULE [LIBNODE]
#include <cstdio>
#include <string>

#include <windows.h>

#include <node_api.h>

namespace {

using Register = napi_value (*)(napi_env, napi_value);
using Count = int (*)();

template <typename Function>
Function find(HMODULE module, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

int fail(const char* what) {
  std::printf("%s failed: %lu\n", what, GetLastError());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return fail("reading the arguments");
  const HMODULE library = argc > 2 ? LoadLibraryA(argv[2]) : nullptr;
  if (argc > 2 && library == nullptr) return fail("loading libnode");
  const HMODULE module = LoadLibraryA(argv[1]);
  if (module == nullptr) return fail("loading the module");
  const auto registerModule = find<Register>(module, "napi_register_module_v1");
  if (registerModule == nullptr) return fail("finding the entry point");
  int exports = 0;
  const auto value = reinterpret_cast<napi_value>(&exports);
  if (registerModule(nullptr, value) != value) return fail("the registration");

  const int own = find<Count>(GetModuleHandleW(nullptr), "registeredFunctions")();
  const int theirs = library == nullptr ? 0 : find<Count>(library, "registeredFunctions")();
  char path[MAX_PATH] = {};
  GetModuleFileNameA(module, path, sizeof path);
  FreeLibrary(module);
  const bool loaded = GetModuleHandleA(path) != nullptr;
  std::printf("bound to %s: %d functions, %s\n",
              own == 0 ? "libnode.dll" : (theirs == 0 ? "embedding_host.exe" : "both"), own + theirs,
              loaded ? "still loaded" : "unloaded");
  return 0;
}
