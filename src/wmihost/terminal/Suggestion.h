#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace wmihost {

// The end of a complaint about a name that nobody knows: "; did you mean X?" with the known name that is most like it,
// without case. Empty if none is like it: more than a third of the letters would have to change, and none contains it.
std::string suggestion(std::wstring_view unknown, const std::vector<std::wstring>& known);

// The same for the names of properties or methods.
template <class Member>
std::string suggestionAmong(std::wstring_view unknown, const std::vector<Member>& members)
{
    std::vector<std::wstring> names;
    for (const Member& member : members) {
        names.push_back(member.name);
    }
    return suggestion(unknown, names);
}

}  // namespace wmihost
