#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace wmihost {

// The end of an error message about an unknown name: "; did you mean X?" with the most similar known name, compared
// without case. Empty if no name is similar, that is, if more than a third of the letters would have to change and no
// known name contains the unknown one.
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
