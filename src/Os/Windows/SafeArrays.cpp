#include "Os/Windows/SafeArrays.h"

#include <comdef.h>

#include "Os/Windows/ComScope.h"

namespace utils {

namespace {

void check(HRESULT hr)
{
    if (FAILED(hr)) {
        throw _com_error(hr);
    }
}

}  // namespace

SAFEARRAY* createArray(const LogSite& caller, VARTYPE elements, std::size_t count)
{
    SAFEARRAY* const array = SafeArrayCreateVector(elements, 0, static_cast<ULONG>(count));
    if (array == nullptr) {
        caller.error("Could not create SAFEARRAY");
    }
    return array;
}

void putElement(const LogSite& caller, SAFEARRAY* array, std::size_t position, void* element)
{
    LONG index = static_cast<LONG>(position);
    const HRESULT hr = SafeArrayPutElement(array, &index, element);
    if (FAILED(hr)) {
        caller.error("SafeArrayPutElement error #%d", hr);
    }
}

void requireElements(const SAFEARRAY* array, bool readable)
{
    if (array->cDims != 1 || !readable) {
        throw _com_error(DISP_E_TYPEMISMATCH);
    }
}

TextArrayCopy::TextArrayCopy(SAFEARRAY* original)
{
    check(SafeArrayCopy(original, &m_array));
    if (m_array == nullptr) {
        return;
    }
    try {
        requireElements(m_array, (m_array->fFeatures & FADF_BSTR) != 0);
        check(SafeArrayLock(m_array));
    } catch (...) {
        SafeArrayDestroy(m_array);
        throw;
    }
}

TextArrayCopy::~TextArrayCopy()
{
    if (m_array != nullptr) {
        SafeArrayUnlock(m_array);
        SafeArrayDestroy(m_array);
    }
}

LONG TextArrayCopy::lowerBound() const
{
    LONG bound = 0;
    check(SafeArrayGetLBound(m_array, 1, &bound));
    return bound;
}

LONG TextArrayCopy::upperBound() const
{
    LONG bound = 0;
    check(SafeArrayGetUBound(m_array, 1, &bound));
    return bound;
}

std::string TextArrayCopy::at(LONG index) const
{
    if (index < lowerBound() || index > upperBound()) {
        throw _com_error(E_INVALIDARG);
    }
    ScopedBstr element;
    check(SafeArrayGetElement(m_array, &index, element.out()));
    return narrowBstr(element.get());
}

}  // namespace utils
