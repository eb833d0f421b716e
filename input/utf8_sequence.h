// The well-formed UTF-8 sequences of U+0080 and above (Unicode 15.0,
// Table 3-7): what a lead byte allows to follow it.
#pragma once

#include <cstddef>

namespace brinora {

struct Utf8Lead {
    std::size_t length = 0;                 // bytes of the sequence; 0: the byte starts none
    unsigned char low = 0x80, high = 0xBF;  // allowed range of the second byte
};

// The sequence that `lead` (0x80 or above) starts: no overlong forms, no
// surrogates, nothing above U+10FFFF.
constexpr Utf8Lead Utf8LeadOf(unsigned char lead) {
    if (lead >= 0xC2 && lead <= 0xDF) return {2, 0x80, 0xBF};
    if (lead == 0xE0) return {3, 0xA0, 0xBF};
    if ((lead >= 0xE1 && lead <= 0xEC) || lead == 0xEE || lead == 0xEF) return {3, 0x80, 0xBF};
    if (lead == 0xED) return {3, 0x80, 0x9F};
    if (lead == 0xF0) return {4, 0x90, 0xBF};
    if (lead >= 0xF1 && lead <= 0xF3) return {4, 0x80, 0xBF};
    if (lead == 0xF4) return {4, 0x80, 0x8F};
    return {};
}

// Whether `byte` may continue a sequence (10xxxxxx).
constexpr bool IsUtf8Continuation(unsigned char byte) { return byte >= 0x80 && byte <= 0xBF; }

}  // namespace brinora
