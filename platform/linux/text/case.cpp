// Case without a locale: one addition from a table of two levels.
#include "platform/linux/text/case_table.h"
#include "platform/text.h"

namespace Platform {

char16_t ToLower(char16_t unit) noexcept
{
    using namespace CaseTable;
    return static_cast<char16_t>(unit + deltas[blockOf[unit / blockSize]][unit % blockSize]);
}

int _wcsicmp(const char16_t* left, const char16_t* right) noexcept
{
    for (;; ++left, ++right) {
        if (*left != *right) {
            const int difference = static_cast<int>(ToLower(*left)) - static_cast<int>(ToLower(*right));
            if (difference != 0)
                return difference;
        } else if (*left == u'\0') {
            return 0;
        }
    }
}

char16_t* _wcslwr(char16_t* text) noexcept
{
    for (char16_t* unit = text; *unit != u'\0'; ++unit)
        *unit = ToLower(*unit);
    return text;
}

} // namespace Platform
