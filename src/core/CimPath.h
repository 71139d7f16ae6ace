#pragma once

#include <string>
#include <string_view>

#include "Utils/Containers.h"

namespace core {

// A parsed object path: the class name, and as a map the key values by key name. Names are compared byte by byte, so
// k and K are two keys. Only read once built; belongs to the request that built it.
class CimPath : public utils::Map<std::string, std::string>
{
public:
    // Parses [namespace:]class.key=value[,key=value...]; separators inside double quotes do not count, and a quoted
    // value loses its quotes. Throws utils::ESyntaxError.
    explicit CimPath(const std::string& text);

    const std::string& getClassName() const noexcept { return m_className; }

    // The path as given, without the namespace. The namespace itself is not kept.
    const std::string& getModelPath() const noexcept { return m_modelPath; }

private:
    void parseKey(std::string_view item);

    std::string m_className;
    std::string m_modelPath;
};

}  // namespace core
