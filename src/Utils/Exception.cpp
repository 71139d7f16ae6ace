#include "Utils/Exception.h"

#include <cstdarg>

#include "Utils/Log.h"

namespace utils {

namespace {

constexpr const char* FILE_NAME = "Exception";
constexpr const char* CONSTRUCTOR = "utils::Exception::Exception";

}  // namespace

Exception::Exception(const std::string& message) : m_message(std::string(PREFIX) + message)
{
    logError(FILE_NAME, CONSTRUCTOR, __LINE__, message);
}

Exception::Exception(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    m_message = formatList(format, arguments);
    va_end(arguments);
    logError(FILE_NAME, CONSTRUCTOR, __LINE__, m_message);
}

const char* Exception::what() const noexcept
{
    return m_message.c_str();
}

EForbidden::EForbidden(const std::string& message) : Exception("EForbidden:" + message) {}

EInvalidParameter::EInvalidParameter(const std::string& message) : Exception("EInvalidParameter:" + message) {}

ENotSupported::ENotSupported() : Exception("ENotSupported:") {}

ENotSupported::ENotSupported(const std::string& message) : Exception("ENotSupported:" + message) {}

ESyntaxError::ESyntaxError(const std::string& message) : Exception("ESyntaxError:" + message) {}

ENotFound::ENotFound(const std::string& message) : Exception(message) {}

EFailed::EFailed(const std::string& message) : Exception(message) {}

}  // namespace utils
