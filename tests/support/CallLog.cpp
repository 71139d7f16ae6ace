#include "support/CallLog.h"

#include "Utils/Utils.h"

namespace support {

std::string hex(HRESULT status)
{
    return utils::format("0x%08X", static_cast<unsigned>(status));
}

}  // namespace support
