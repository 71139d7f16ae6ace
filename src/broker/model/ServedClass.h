#pragma once

#include <memory>
#include <type_traits>

#include "broker/model/InstanceStore.h"

namespace broker {

// A class as a workspace sees it: its name, and a function that makes a store of its instances.
struct ServedClass
{
    const char* name;
    std::unique_ptr<InstanceStore> (*makeStore)(Shape shape);
};

// The served class of a description, which must be a constant that lives as long as the process.
template <const auto& Description>
constexpr ServedClass serve()
{
    using Row = typename std::remove_cvref_t<decltype(Description)>::RowType;
    return {Description.name, [](Shape shape) -> std::unique_ptr<InstanceStore> {
                return std::make_unique<DescribedStore<Row>>(Description, shape);
            }};
}

}  // namespace broker
