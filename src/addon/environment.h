// What the addon keeps for one JavaScript environment: functions that run in it (see functions.js), and strings.
//
// They are compiled at their first use and kept. A function made anew in each call would start in the interpreter each
// time, and V8 would optimise it again and again on its helper threads: that took a third of the process's CPU.
//
// A host may refuse to run scripts. Then there are no functions, and everything goes the direct way, with the same
// results.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "addon/border.h"
#include "addon/text_table.h"

namespace corvenda {

/// The functions of functions.js, in the order in which it gives them.
enum class ScriptFunction : std::uint32_t { kCollect, kBlank, kReadScenes, kReadPeople };

/// The function, or null if the host runs no scripts.
napi_value scriptFunction(napi_env env, ScriptFunction function);

/// Writes a script. It may look at a record of its type for names, but not for values: it is asked only once.
using ScriptSource = std::string (*)(const void* record);

/// The function that is the value of the script `source(record)`, called with the function kBlank; null if the host
/// runs no scripts. `source` is what it is kept under.
napi_value compiledFunction(napi_env env, ScriptSource source, const void* record = nullptr);

/// Finds the host's function that tells proxies. Called when the module is registered, before the caller's code can
/// have replaced it; a host without one is not missed.
void findProxyTest(napi_env env);

/// True if it is certain that asking the object for a property that it doesn't have runs none of the caller's code: it
/// is no proxy, and inherits from Object.prototype alone.
bool isOrdinary(napi_env env, napi_value object);

/// An array of `length` elements, all of them in place: assigning to them looks at no prototype. Null, with an
/// exception pending, if it can't be made. A long one takes time: see `extendFilledArray`.
napi_value makeFilledArray(napi_env env, std::size_t length);

/// The length up to which an array is filled at once.
constexpr std::size_t kFilledAtOnce = 16384;

/// Puts elements in place from `length` on up to `end`. False, with an exception pending, if a step failed.
bool extendFilledArray(napi_env env, napi_value array, std::size_t length, std::size_t end);

/// Typed arrays with these numbers, for functions that keep nothing of them: the next call may give the same arrays
/// with other numbers. Null, with an exception pending, if they can't be made.
napi_value shareIntegers(napi_env env, const std::vector<std::int32_t>& integers);
napi_value shareNumbers(napi_env env, const std::vector<double>& numbers);

/// Keeps a table of texts for a later call, in place of the one before. If that fails, nothing is kept.
void storeKeptTexts(TextTable table);

/// Gives what was kept; without `chunks` if nothing was. A call inside the call that has it finds nothing.
TextTable takeKeptTexts(napi_env env);

}  // namespace corvenda
