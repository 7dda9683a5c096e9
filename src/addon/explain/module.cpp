// The development module: what klrx asks and the library's users have no need of.
#include "addon/entry.h"
#include "addon/explain/explain_title.h"

namespace corvenda {
namespace {

constexpr Export kExports[] = {
    {"explainTitle", explainTitle, "explainTitle requires one options object"},
};

}  // namespace
}  // namespace corvenda

NAPI_MODULE_INIT() { return corvenda::registerExports(env, exports, corvenda::kExports); }
