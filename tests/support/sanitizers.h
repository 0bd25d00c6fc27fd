// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::test {

/** Sanitizers of this build. They use more memory, wake up idle programs and deliver signals late. */
#if defined(__has_feature)
constexpr bool kAddressSanitizer = __has_feature(address_sanitizer);
constexpr bool kThreadSanitizer = __has_feature(thread_sanitizer);
#else
constexpr bool kAddressSanitizer = false;
constexpr bool kThreadSanitizer = false;
#endif

}  // namespace hidlaudio::test
