#ifndef SAMPLER_CORE_TEXT_H
#define SAMPLER_CORE_TEXT_H

// Text without the C library's locale, heap and locks.

#include <cstddef>
#include <cstdint>

namespace fern {

// Puts text together in a buffer of fixed size; what doesn't fit makes it invalid.
template <std::size_t Size> class TextBuilder {
public:
    TextBuilder &operator<<(const char *text)
    {
        for (; *text != '\0'; ++text)
            append(*text);
        return *this;
    }
    TextBuilder &operator<<(std::uint64_t number)
    {
        char digits[20];
        std::size_t count = 0;
        do {
            digits[count++] = static_cast<char>('0' + number % 10);
            number /= 10;
        } while (number != 0);
        while (count > 0)
            append(digits[--count]);
        return *this;
    }
    // The text, or nullptr if it didn't fit.
    const char *text() const { return mFits ? mText : nullptr; }

private:
    void append(char c)
    {
        mFits = mFits && mLength + 1 < Size;
        if (mFits)
            mText[mLength++] = c;
    }

    char mText[Size] = {};
    std::size_t mLength = 0;
    bool mFits = true;
};

inline bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Reads a decimal number and moves `text` behind it; blanks before it are skipped. Without digits
// the result is 0 and `text` stands behind the blanks.
inline std::uint64_t takeNumber(const char *&text)
{
    while (*text == ' ' || *text == '\t')
        ++text;
    std::uint64_t number = 0;
    for (; isDigit(*text); ++text)
        number = number * 10 + static_cast<std::uint64_t>(*text - '0');
    return number;
}

// The text behind the first `label` that starts a line, nullptr if there is none.
inline const char *afterLabel(const char *text, const char *label)
{
    while (*text != '\0') {
        const char *wanted = label;
        while (*wanted != '\0' && *text == *wanted) {
            ++text;
            ++wanted;
        }
        if (*wanted == '\0')
            return text;
        while (*text != '\0' && *text != '\n')
            ++text;
        if (*text == '\n')
            ++text;
    }
    return nullptr;
}

// A number for a text, which goes on from another one.
constexpr std::uint64_t HashBegin = 0xcbf29ce484222325;
inline std::uint64_t hashOf(std::uint64_t number, std::uint64_t hash)
{
    return (hash ^ number) * 0x100000001b3; // Fowler, Noll and Vo's
}
inline std::uint64_t hashOf(const char *text, std::uint64_t hash = HashBegin)
{
    for (; *text != '\0'; ++text)
        hash = hashOf(static_cast<unsigned char>(*text), hash);
    return hash;
}

inline bool equal(const char *a, const char *b)
{
    while (*a != '\0' && *a == *b) {
        ++a;
        ++b;
    }
    return *a == *b;
}

// Copies with the terminating zero; what doesn't fit is cut off.
template <std::size_t Size> void copyText(char (&target)[Size], const char *source)
{
    std::size_t i = 0;
    for (; i + 1 < Size && source[i] != '\0'; ++i)
        target[i] = source[i];
    target[i] = '\0';
}

} // namespace fern

#endif
