#include "wmihost/terminal/Suggestion.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

// The number of insertions, deletions, replacements and swaps of adjacent letters that turn one name into the other.
std::size_t distanceBetween(std::wstring_view left, std::wstring_view right)
{
    std::vector<std::vector<std::size_t>> rows(left.size() + 1, std::vector<std::size_t>(right.size() + 1));
    std::iota(rows[0].begin(), rows[0].end(), std::size_t{0});
    for (std::size_t i = 1; i <= left.size(); ++i) {
        rows[i][0] = i;
        for (std::size_t j = 1; j <= right.size(); ++j) {
            const std::size_t replaced = rows[i - 1][j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1);
            rows[i][j] = std::min({replaced, rows[i - 1][j] + 1, rows[i][j - 1] + 1});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1]) {
                rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
            }
        }
    }
    return rows.back().back();
}

}  // namespace

std::string suggestion(std::wstring_view unknown, const std::vector<std::wstring>& known)
{
    // Too many names contain a shorter piece.
    constexpr std::size_t LEAST_PIECE = 3;
    const std::wstring folded = foldName(unknown);
    const std::wstring* best = nullptr;
    std::size_t least = 0;
    for (const std::wstring& candidate : known) {
        const std::wstring other = foldName(candidate);
        const std::size_t distance = distanceBetween(folded, other);
        const bool contained = folded.size() >= LEAST_PIECE && other.find(folded) != std::wstring::npos;
        if ((contained || distance <= folded.size() / 3) && (best == nullptr || distance < least)) {
            best = &candidate;
            least = distance;
        }
    }
    return best == nullptr ? std::string() : "; did you mean " + toUtf8(*best) + "?";
}

}  // namespace wmihost
