#include "broker/model/Names.h"

#include <algorithm>

namespace broker {

bool sameName(std::string_view left, std::string_view right) noexcept
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [lower](char a, char b) { return lower(a) == lower(b); });
}

}  // namespace broker
