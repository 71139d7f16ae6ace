#pragma once

#include <comdef.h>

#include <exception>
#include <string>

#include "Utils/Utils.h"

namespace support {

// Returns the code of the COM error that `action` throws, as "0x80070057", or a text that says what happened instead.
template <class Action>
std::string comErrorOf(const Action& action)
{
    try {
        action();
    } catch (const _com_error& error) {
        return utils::format("0x%08X", static_cast<unsigned>(error.Error()));
    } catch (const std::exception& exception) {
        return std::string("thrown: ") + exception.what();
    }
    return "nothing was thrown";
}

}  // namespace support
