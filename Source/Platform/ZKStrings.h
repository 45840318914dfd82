#pragma once

#include <string_view>

// `s` without the white space (blank, tab, line breaks, form feed, vertical
// tab) at either end.
inline std::string_view ZKTrimWhitespace(std::string_view s)
{
    constexpr std::string_view kSpace = " \t\n\r\f\v";
    const size_t first = s.find_first_not_of(kSpace);
    if (first == std::string_view::npos)
        return {};
    return s.substr(first, s.find_last_not_of(kSpace) - first + 1);
}
