#pragma once

namespace lum::test {

/// Whether this program is built with a sanitizer, which keeps memory of its own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kIsSanitized = true;
#elif defined(__has_feature)
inline constexpr bool kIsSanitized =
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool kIsSanitized = false;
#endif

} // namespace lum::test
