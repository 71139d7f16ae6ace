#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "broker/Fakes.h"
#include "broker/Properties.h"
#include "support/Baseline.h"

namespace fakes {

// Tests one class over a fake machine.
class ClassTest : public testing::Test
{
protected:
    explicit ClassTest(std::string className) : m_className(std::move(className)) {}

    // Returns the instances that a new request reads.
    const std::vector<broker::InstanceStore::Record>& records()
    {
        m_workspace.begin(m_className);
        return m_workspace.instances(m_className)->records();
    }

    core::CimInstance& instance() { return *records().at(0).instance; }

    std::string value(const std::string& property) { return support::value(instance(), property); }

    World m_world;
    broker::Workspace m_workspace{m_world.sources()};

private:
    std::string m_className;
};

// A state of the machine.
struct Case
{
    const char* name;
    std::function<void(World&)> arrange;
};

// Compares the first instance of the class with the class's file in tests/broker/classes. The file has each value in
// the first case, and in every other case the values that differ from the first one.
inline void expectShown(const std::string& className, const std::vector<Case>& cases)
{
    std::vector<std::string> lines;
    std::vector<std::string> first;
    for (const Case& tested : cases) {
        World world;
        tested.arrange(world);
        broker::Workspace workspace(world.sources());
        workspace.begin(className);
        core::CimInstance& instance = *workspace.instances(className)->records().at(0).instance;
        std::vector<std::string> shown = support::values(instance);
        shown.push_back("path: " + instance.toPathString());
        lines.emplace_back(tested.name);
        for (std::size_t i = 0; i < shown.size(); ++i) {
            if (first.empty() || shown[i] != first.at(i)) {
                lines.push_back("  " + shown[i]);
            }
        }
        first = first.empty() ? shown : first;
    }
    support::expectBaseline(ZERIX_SOURCE_DIR "/tests/broker/classes/" + className + ".txt", lines);
}

template <class Row, class Value, class... More>
void change(Row& row, Value Row::*field, const std::type_identity_t<Value>& value, const More&... more)
{
    row.*field = value;
    if constexpr (sizeof...(more) > 0) {
        change(row, more...);
    }
}

// A machine with this adapter, address or configuration alone. Fields and new values follow in pairs.
template <class Row, class... Changes>
auto only(Row row, const Changes&... changes)
{
    if constexpr (sizeof...(changes) > 0) {
        change(row, changes...);
    }
    return [row](World& world) { world.adapters.set({row}); };
}

}  // namespace fakes
