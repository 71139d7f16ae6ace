#include "adapters/wmi/InstanceRemover.h"

#include "Utils/Assert.h"
#include "Utils/Exception.h"
#include "adapters/wmi/Names.h"
#include "adapters/wmi/Status.h"
#include "core/CimBroker.h"

namespace wa {

HRESULT InstanceRemover::deleteInstance(const std::string& pathStr)
{
    static constexpr utils::LogSite here{"WmiConverter", "wa::InstanceRemover::deleteInstance"};
    here.debug("delete_instance %s", pathStr.c_str());
    ASSERT(here, pathStr.size() > 0);
    core::CimPath path(pathStr);
    // Exactly as the client spelled it: a class name in other letters is another class here.
    if (path.getClassName() != names::JOB_CLASS) {
        return hresult(WBEM_E_NOT_SUPPORTED);
    }
    core::CimInstance* job = nullptr;
    try {
        job = core::GetCimBroker()->getInstanceByPath(path);
    } catch (const utils::Exception& exception) {
        here.error("DeleteInstance '%s'", exception.what());
        return hresult(WBEM_E_UNEXPECTED);
    }
    if (job == nullptr) {
        return hresult(WBEM_E_NOT_FOUND);
    }
    // Only marked: the broker removes it.
    job->markForDeletion(true);
    return WBEM_S_NO_ERROR;
}

}  // namespace wa
