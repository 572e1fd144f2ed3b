#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

// Splits the bytes of a fuzz input into texts. The bytes are decoded as UTF-8, so seeds can be written by
// hand. A byte that is not part of a sequence of two or three bytes becomes the character of the same value.
// So every character fits into the 16 bits that wchar_t has on Windows.
class CFuzzInput
{
public:
    CFuzzInput(const std::uint8_t* data, std::size_t size) : m_rest(reinterpret_cast<const char*>(data), size)
    {
    }

    // The text up to the next field separator, or up to the end. Consumes the separator.
    std::wstring Field() { return Decode(FieldBytes()); }

    std::wstring Rest() { return Decode(RestBytes()); }

    // The same texts without decoding.
    std::string_view FieldBytes() { return Take(m_rest.find(kSeparator)); }
    std::string_view RestBytes() { return Take(std::string_view::npos); }

    // A number from 0 to limit - 1, from the next byte; 0 at the end of the input.
    std::size_t Choice(std::size_t limit)
    {
        const std::size_t code = m_rest.empty() ? 0 : static_cast<unsigned char>(m_rest.front());
        m_rest.remove_prefix(m_rest.empty() ? 0 : 1);
        return code % limit;
    }

private:
    static constexpr char kSeparator = '\x1F';  // ASCII unit separator

    std::string_view Take(std::size_t length)
    {
        const std::string_view taken = m_rest.substr(0, length);
        m_rest.remove_prefix(length == std::string_view::npos ? taken.size() : length + 1);
        return taken;
    }

    static bool IsContinuation(std::string_view bytes, std::size_t at)
    {
        return at < bytes.size() && (static_cast<unsigned char>(bytes[at]) & 0xC0U) == 0x80U;
    }

    static std::wstring Decode(std::string_view bytes)
    {
        std::wstring text;
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            unsigned code = static_cast<unsigned char>(bytes[at]);
            std::size_t more = 0;
            if (code >= 0xC2U && code <= 0xDFU) {
                more = 1;
            } else if (code >= 0xE0U && code <= 0xEFU) {
                more = 2;
            }
            if ((more >= 1 && !IsContinuation(bytes, at + 1)) ||
                (more == 2 && !IsContinuation(bytes, at + 2))) {
                more = 0;
            }
            if (more > 0) {
                code &= more == 1 ? 0x1FU : 0x0FU;
            }
            for (; more > 0; --more) {
                code = code << 6U | (static_cast<unsigned char>(bytes[++at]) & 0x3FU);
            }
            text += static_cast<wchar_t>(code);
        }
        return text;
    }

    std::string_view m_rest;
};

// The text with the letters a to z in upper case.
inline std::wstring PlainUpper(std::wstring text)
{
    const std::wstring_view small = L"abcdefghijklmnopqrstuvwxyz";
    const std::wstring_view capital = L"ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (wchar_t& character : text) {
        const std::size_t letter = small.find(character);
        character = letter == std::wstring_view::npos ? character : capital[letter];
    }
    return text;
}

// Aborts if the property does not hold; libFuzzer then saves the input.
inline void Require(bool holds, const char* property)
{
    if (!holds) {
        std::fprintf(stderr, "The property does not hold: %s\n", property);
        std::abort();
    }
}
