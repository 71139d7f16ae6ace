#pragma once

#include <string>

#include "Os/Windows/Platform.h"
#include "Utils/Singleton.h"

namespace wa {

// Asks the broker to remove a job. Stateless; any thread.
class InstanceRemover : public utils::AutoSingleton<InstanceRemover>
{
public:
    static constexpr const char* qualifiedName = "wa::InstanceRemover";

    // Marks the job at the path for deletion. WBEM_E_NOT_SUPPORTED for every other class, whether or not the instance
    // exists; WBEM_E_NOT_FOUND when there is no such job; WBEM_E_UNEXPECTED when the broker fails to look. Throws for
    // an empty text and for one that is not a path.
    virtual HRESULT deleteInstance(const std::string& pathStr);
};

}  // namespace wa
