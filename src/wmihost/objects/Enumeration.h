#pragma once

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "wmihost/com/Guard.h"

namespace wmihost {

// The state behind one set of Begin, Next and End operations of a COM object. Not synchronised.
template <class Element>
class Enumeration
{
public:
    // Starts at the first element. Answers WBEM_E_UNEXPECTED if an enumeration has already begun. The elements are null
    // if the caller's flags are not valid; the answer is then WBEM_E_INVALID_PARAMETER.
    HRESULT begin(std::optional<std::vector<Element>> elements)
    {
        if (m_elements) {
            return code(WBEM_E_UNEXPECTED);
        }
        m_elements = std::move(elements);
        m_next = 0;
        return code(m_elements ? WBEM_S_NO_ERROR : WBEM_E_INVALID_PARAMETER);
    }

    // Hands the next element to `deliver` and answers its status; if that is a failure or an exception, the element
    // remains the next one. Answers WBEM_E_INVALID_PARAMETER for flags other than 0, WBEM_E_UNEXPECTED before begin()
    // and WBEM_S_NO_MORE_DATA after the last element.
    template <class Deliver>
    HRESULT next(LONG flags, Deliver deliver)
    {
        if (flags != 0) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        if (!m_elements) {
            return code(WBEM_E_UNEXPECTED);
        }
        if (m_next == m_elements->size()) {
            return code(WBEM_S_NO_MORE_DATA);
        }
        const HRESULT result = deliver((*m_elements)[m_next]);
        if (SUCCEEDED(result)) {
            ++m_next;
        }
        return result;
    }

    // Also allowed when none is under way.
    HRESULT end()
    {
        m_elements.reset();
        return code(WBEM_S_NO_ERROR);
    }

private:
    std::optional<std::vector<Element>> m_elements;
    std::size_t m_next = 0;
};

}  // namespace wmihost
