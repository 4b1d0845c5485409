#pragma once

/// Whether a sanitizer watches the program. It then runs several times slower, and freed memory is kept.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool hasSanitizer = true;
#elif defined(__has_feature)
inline constexpr bool hasSanitizer = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool hasSanitizer = false;
#endif
