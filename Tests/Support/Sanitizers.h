#pragma once

// clang++ 19 has no macros for its sanitizers.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VALDANE_ADDRESS_SANITIZER
#elif __has_feature(thread_sanitizer)
#define VALDANE_THREAD_SANITIZER
#endif
#endif

namespace ValdaneTests
{

/// Whether the program is built with the address sanitizer.
#if defined(__SANITIZE_ADDRESS__) || defined(VALDANE_ADDRESS_SANITIZER)
inline constexpr bool sanitizesAddresses = true;
#else
inline constexpr bool sanitizesAddresses = false;
#endif

/// Whether it is built with the thread sanitizer or the address sanitizer, which make it slow.
#if defined(__SANITIZE_THREAD__) || defined(VALDANE_THREAD_SANITIZER)
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = sanitizesAddresses;
#endif

} // namespace ValdaneTests
