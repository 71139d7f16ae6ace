#pragma once

#include <string>

#include "Utils/Exception.h"

// What a method call can be refused with. The broker raises them; the request layer catches each by its type, ahead of
// the rest of the family.
namespace wa {

// An argument is missing, of the wrong type or out of range.
class EInvalidParameter : public utils::Exception
{
public:
    explicit EInvalidParameter(const std::string& message) : Exception("EInvalidParameter:" + message) {}
};

// The class has no such method.
class EMethodNotSupported : public utils::Exception
{
public:
    explicit EMethodNotSupported(const std::string& message) : Exception("EMethodNotSupported:" + message) {}
};

// Something that an argument names does not exist.
class EWmiNotFound : public utils::Exception
{
public:
    explicit EWmiNotFound(const std::string& message) : Exception("EWmiNotFound:" + message) {}
};

}  // namespace wa
