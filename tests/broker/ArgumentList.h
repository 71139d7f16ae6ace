#pragma once

#include <optional>

#include "core/CimPropertyList.h"

namespace support {

// A property list that owns its elements and can be emptied for reuse. Clearing a plain list keeps its index of names.
class ArgumentList
{
public:
    ArgumentList() { startAnew(); }

    void startAnew()
    {
        m_list.emplace();
        m_list->setOwnsElements(true);
    }

    // NOLINTNEXTLINE(google-explicit-constructor): it is a property list
    operator core::CimPropertyList&() { return *m_list; }
    core::CimPropertyList* operator->() { return &*m_list; }

private:
    std::optional<core::CimPropertyList> m_list;
};

}  // namespace support
