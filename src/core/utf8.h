#pragma once

#include <cstdint>

// Writes one code point as UTF-8 at `out` and returns the end of what it wrote (one to
// four bytes). The stored-document reader and writer both need it.
inline char* writeUtf8(char* out, char32_t cp)
{
    if (cp < 0x80) {
        *out++ = static_cast<char>(cp);
    } else if (cp < 0x800) {
        *out++ = static_cast<char>(0xC0 | (cp >> 6));
        *out++ = static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        *out++ = static_cast<char>(0xE0 | (cp >> 12));
        *out++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        *out++ = static_cast<char>(0xF0 | (cp >> 18));
        *out++ = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        *out++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (cp & 0x3F));
    }
    return out;
}

// Appends one code point as UTF-8 to a byte container (std::string, QByteArray).
template <typename Bytes>
void appendUtf8(Bytes& out, char32_t cp)
{
    char bytes[4];
    out.append(bytes, writeUtf8(bytes, cp) - bytes);
}
