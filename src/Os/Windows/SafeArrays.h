#pragma once

#include <string>

#include "Os/Windows/Platform.h"
#include "Utils/Log.h"

// One-dimensional SAFEARRAYs: those for clients are made here, and those of clients are read with care, since the types
// and bounds that a client declares may be wrong.
namespace utils {

// A new array from index 0 on, which the caller owns. Null, and an error line of the caller's, when it cannot be
// created.
SAFEARRAY* createArray(const LogSite& caller, VARTYPE elements, std::size_t count);

// Copies the element into the array. A failure is an error line of the caller's. The array may be null, which fails.
void putElement(const LogSite& caller, SAFEARRAY* array, std::size_t position, void* element);

// Throws _com_error(DISP_E_TYPEMISMATCH) unless the array has one dimension and `readable` is true: the caller has
// found that the elements can be read. The type that the VARIANT declares proves neither.
void requireElements(const SAFEARRAY* array, bool readable);

// A copy of a client's array of texts, locked; unlocked and destroyed with the scope. Throws _com_error where a call
// fails or the elements are not texts.
class TextArrayCopy
{
public:
    // Null is copied into none, which does not exist: what an empty sequence goes out as.
    explicit TextArrayCopy(SAFEARRAY* original);
    TextArrayCopy(const TextArrayCopy&) = delete;
    TextArrayCopy& operator=(const TextArrayCopy&) = delete;
    ~TextArrayCopy();

    bool exists() const noexcept { return m_array != nullptr; }
    LONG lowerBound() const;
    LONG upperBound() const;

    // Reads both bounds anew and throws _com_error(E_INVALIDARG) for an index outside them.
    std::string at(LONG index) const;

private:
    SAFEARRAY* m_array = nullptr;
};

}  // namespace utils
