#pragma once

#include <string>
#include <typeinfo>

#include "Utils/Exception.h"

namespace support {

// Returns the text of the exception that `action` throws. The exception must be exactly an Expected; otherwise the
// text says what happened instead.
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

// Returns "File:line: condition" for the text of a failed assertion, and any other text unchanged.
std::string shortAssertion(const std::string& text);

// Returns the assertion that fails in `action`, as "File:line: condition", or the text of another outcome.
template <class Action>
std::string assertionOf(const Action& action)
{
    return shortAssertion(thrownBy(action));
}

// Returns the text of a failed assertion with '#' in place of its line number.
std::string withoutLine(const std::string& text);

// Returns the assertion that fails in `action`, as "File:#: condition", or the text of another outcome.
template <class Action>
std::string unnumberedAssertionOf(const Action& action)
{
    return shortAssertion(withoutLine(thrownBy(action)));
}

}  // namespace support
