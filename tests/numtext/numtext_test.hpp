// Shared by the number-text tests: how hard the property tests work.
#pragma once

// Sanitized and unoptimised builds run a tenth of the random samples, so the
// suite stays at a few seconds there; the release build runs them all.
#if defined(__SANITIZE_ADDRESS__)
#define OSTR_TEST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define OSTR_TEST_SANITIZED 1
#endif
#endif

namespace ostr::test {
#if defined(OSTR_TEST_SANITIZED) || !defined(NDEBUG)
inline constexpr long samples = 100'000;
#else
inline constexpr long samples = 1'000'000;
#endif
}  // namespace ostr::test
