#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace wmihost::wql {

// A pattern of LIKE: % is any text, _ any character, [abc] and [a-f] one of these, [^abc] any other one. A range may be
// written [a=f] as well. Case does not matter.
class LikePattern
{
public:
    explicit LikePattern(std::wstring_view text);

    bool matches(std::wstring_view text) const;

private:
    struct Range
    {
        wchar_t first;
        wchar_t last;
    };
    // One character of the text, or any number of them.
    struct Token
    {
        bool anyText = false;
        bool anyCharacter = false;
        bool negated = false;
        std::vector<Range> ranges;

        bool accepts(wchar_t c) const;
    };

    std::vector<Token> m_tokens;
};

}  // namespace wmihost::wql
