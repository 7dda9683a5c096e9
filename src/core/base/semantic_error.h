// The failure value of the core.
#pragma once

#include <string>
#include <string_view>

namespace corvenda {

/// Why a core operation failed: the complete text that JavaScript will see, with nothing added on the way.
/// An operation writes it only when it fails. Callers may pass a null pointer where they don't want the text.
struct SemanticError {
  std::string message;
};

/// Fills `error`, if there is one, and returns false: `return fail(error, "semantic …");`.
inline bool fail(SemanticError* error, std::string_view message) {
  if (error != nullptr) error->message = message;
  return false;
}

}  // namespace corvenda
