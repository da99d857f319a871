// The process-ending failures of Dictionary: a fixed message on standard error, then std::abort.
#include "Base/Text/Dictionary.h"

#include <cstdio>
#include <cstdlib>

namespace QELTA {

namespace {

constexpr char missing_key_message[] = "Couldn't find key.";
constexpr char table_too_large_message[] = "The hash table exceeds its maximum size.";
constexpr char too_many_buckets_message[] = "The map exceeds its maximum bucket count.";

// std::abort rather than exit: no handler or static destructor runs on the broken state, and
// the abort signal leaves a core dump with the stack of the failing call.
[[noreturn]] void WriteAndAbort(char const * message) noexcept {
    std::fputs(message, stderr);
    std::fputs("\n", stderr);
    std::fflush(stderr);
    std::abort();
}

} // namespace

void DictionaryFailure::MissingKey() noexcept {
    WriteAndAbort(missing_key_message);
}

void DictionaryFailure::TableTooLarge() noexcept {
    WriteAndAbort(table_too_large_message);
}

void DictionaryFailure::TooManyBuckets() noexcept {
    WriteAndAbort(too_many_buckets_message);
}

} // namespace QELTA
