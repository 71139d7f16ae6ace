#pragma once

#include <vector>

namespace broker {

// One row for each element, in their order and in one block of memory. `make` returns the row of an element.
template <class Element, class Make>
auto rowsOf(const std::vector<Element>& elements, const Make& make)
{
    std::vector<decltype(make(elements.front()))> rows;
    rows.reserve(elements.size());
    for (const Element& element : elements) {
        rows.push_back(make(element));
    }
    return rows;
}

}  // namespace broker
