#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace utils {

// Base of every error inside the system. Constructing one writes exactly one error line to the log, and so an error
// event at the default level; copies, which throwing makes, write none.
class Exception : public std::exception
{
public:
    // The first constructor puts it in front of the message. Code that passes a message on in a new exception removes
    // it first.
    static constexpr std::string_view PREFIX = "DRAVEv2: ";

    // what() is the prefix and the message; the logged text has no prefix.
    explicit Exception(const std::string& message);

    // what() is the formatted text, without the prefix. A string literal alone picks this one. Administrators' filters
    // know both forms, so neither gains or loses the prefix.
    explicit Exception(const char* format, ...) __attribute__((format(printf, 2, 3)));

    ~Exception() override = default;
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;

    // Valid as long as the object lives.
    const char* what() const noexcept override;

private:
    std::string m_message;
};

// The typed exceptions put their own name before the text, with no blank between the two.

// A change that the property's rules do not allow.
class EForbidden : public Exception
{
public:
    explicit EForbidden(const std::string& message);
};

// A value that the property cannot take.
class EInvalidParameter : public Exception
{
public:
    explicit EInvalidParameter(const std::string& message);
};

// An operation that the property or instance does not have.
class ENotSupported : public Exception
{
public:
    // what() is "ENotSupported:" alone, without the family's prefix.
    ENotSupported();
    explicit ENotSupported(const std::string& message);
};

// A text that is not an object path.
class ESyntaxError : public Exception
{
public:
    explicit ESyntaxError(const std::string& message);
};

// Raised by the broker: the instance does not exist. Adds no prefix to the text.
class ENotFound : public Exception
{
public:
    explicit ENotFound(const std::string& message);
};

// Raised by the broker: a change could not be carried out. Adds no prefix to the text.
class EFailed : public Exception
{
public:
    explicit EFailed(const std::string& message);
};

}  // namespace utils
