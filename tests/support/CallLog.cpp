#include "support/CallLog.h"

#include "Utils/Utils.h"
#include "support/CapturedSinks.h"

namespace support {

void CallLog::add(std::string call)
{
    addToCaptured("call: ", call);
    m_calls.push_back(std::move(call));
}

void CallLog::noteReferences(const std::string& name, int count)
{
    if (isCapturing()) {
        addToCaptured("references: ", name + " " + std::to_string(count));
    }
}

std::string hex(HRESULT status)
{
    return utils::format("0x%08X", static_cast<unsigned>(status));
}

}  // namespace support
