#pragma once

#include <string>
#include <typeinfo>

#include "Utils/Exception.h"

namespace support {

// The whole text of what `action` throws, which must be an Expected and no class derived from it; otherwise a text that
// says what happened instead.
template <class Expected = utils::Exception, class Action>
std::string thrownBy(const Action& action)
{
    try {
        action();
    } catch (const std::exception& exception) {
        return typeid(exception) == typeid(Expected) ? exception.what()
                                                     : std::string("thrown as ") + typeid(exception).name();
    }
    return "nothing was thrown";
}

// The text of a failed assertion whose line number is not fixed, with '#' for the number.
std::string withoutLine(const std::string& text);

}  // namespace support
