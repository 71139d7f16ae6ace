#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "broker/Fakes.h"
#include "broker/Properties.h"

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

    // Returns "Name=value" for each property of the first instance.
    std::vector<std::string> values() { return support::values(instance()); }

    std::string value(const std::string& property) { return support::value(instance(), property); }

    World m_world;
    broker::Workspace m_workspace{m_world.sources()};

private:
    std::string m_className;
};

}  // namespace fakes
