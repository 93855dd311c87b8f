#pragma once

namespace veld_test
{

/// Whether this build checks addresses or threads. It runs the same tests, many times slower: those
/// that repeat one thing at ever larger sizes leave the largest out.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool IS_SANITIZED = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool IS_SANITIZED = true;
#else
constexpr bool IS_SANITIZED = false;
#endif
#else
constexpr bool IS_SANITIZED = false;
#endif

} // namespace veld_test
