#include "wmihost/wql/LikePattern.h"

#include <algorithm>
#include <cstddef>

#include "wmihost/terminal/Text.h"

namespace wmihost::wql {

bool LikePattern::Token::accepts(wchar_t c) const
{
    const bool listed =
        std::any_of(ranges.begin(), ranges.end(), [c](const Range& r) { return r.first <= c && c <= r.last; });
    return anyCharacter || listed != negated;
}

LikePattern::LikePattern(std::wstring_view text)
{
    const std::wstring pattern = foldName(text);
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        Token token;
        // The character behind the bracket belongs to the set even if it is the closing one.
        const std::size_t begin = at + (pattern.compare(at, 2, L"[^") == 0 ? 2 : 1);
        const std::size_t end = pattern[at] == L'[' ? pattern.find(L']', begin + 1) : std::wstring::npos;
        if (pattern[at] == L'%') {
            token.anyText = true;
        } else if (pattern[at] == L'_') {
            token.anyCharacter = true;
        } else if (end == std::wstring::npos) {
            token.ranges.push_back({pattern[at], pattern[at]});
        } else {
            token.negated = begin == at + 2;
            for (std::size_t i = begin; i < end; ++i) {
                const bool range = i + 2 < end && (pattern[i + 1] == L'-' || pattern[i + 1] == L'=');
                token.ranges.push_back({pattern[i], range ? pattern[i + 2] : pattern[i]});
                i += range ? 2 : 0;
            }
            at = end;
        }
        m_tokens.push_back(std::move(token));
    }
}

bool LikePattern::matches(std::wstring_view text) const
{
    const std::wstring folded = foldName(text);
    std::size_t token = 0;
    std::size_t at = 0;
    // Where to go on when the last % has to take one character more.
    std::size_t retryToken = m_tokens.size() + 1;
    std::size_t retryAt = 0;
    while (at < folded.size()) {
        if (token < m_tokens.size() && m_tokens[token].anyText) {
            retryToken = ++token;
            retryAt = at;
        } else if (token < m_tokens.size() && m_tokens[token].accepts(folded[at])) {
            ++token;
            ++at;
        } else if (retryToken <= m_tokens.size()) {
            token = retryToken;
            at = ++retryAt;
        } else {
            return false;
        }
    }
    return std::all_of(m_tokens.begin() + static_cast<std::ptrdiff_t>(token), m_tokens.end(),
                       [](const Token& rest) { return rest.anyText; });
}

}  // namespace wmihost::wql
