#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// A text that is not an object path; what() says why, in UTF-8.
class PathError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// One key of a path. The name is empty in the short form Class="value".
struct PathKey
{
    std::wstring name;
    std::wstring value;  // without quotes and escapes
    bool quoted = false;
};

// The parts of an object path: \\server\namespace:Class.Key="value",Other=7. Single quotes around values and forward
// slashes before the class are also accepted, since they survive a shell.
struct ObjectPath
{
    std::wstring server;     // empty if the path names none
    std::wstring nameSpace;  // without the leading backslash; empty if the path names none
    std::wstring className;
    std::vector<PathKey> keys;  // in the order of the text; empty if the path names the class
    bool singleton = false;     // Class=@

    // The text with backslashes and double quotes, in two parts: up to the colon before the class, and the rest.
    std::wstring prefix;
    std::wstring relative;

    bool isInstance() const { return singleton || !keys.empty(); }

    // Throws PathError.
    static ObjectPath parse(std::wstring_view text);
};

// Advice for writing a path whose quotes a shell removed.
std::string quotesAdvice();

// "Class.Key="value",Other=7" with the keys in the order of their names, as WMI renders it. Nothing if a key has no
// value or the class has no keys.
std::optional<std::wstring> relativePath(const ClassDefinition& definition, const std::vector<Variant>& values);

// "\\server\namespace:" and the relative path.
std::wstring fullPath(std::wstring_view nameSpace, std::wstring_view relativePath);

// The name of this machine, as WMI shows it in paths.
const std::wstring& serverName();

}  // namespace wmihost
