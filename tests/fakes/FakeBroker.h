#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "core/CimBroker.h"
#include "support/CallLog.h"

namespace support {

// The broker of a test. Records each call and its arguments under "broker." and returns what the test has set.
// core::GetCimBroker returns the living object in programs that link fake_core, or that redirect the provider's
// imports to brokerInUse and findInstance.
class FakeBroker final : public core::CimBroker
{
public:
    explicit FakeBroker(CallLog& calls);
    ~FakeBroker() override;

    // The actions of the calls. By default they return an empty list, nothing, 0 or null.
    std::function<utils::SafeList<core::CimInstance*>()> onGetInstances;
    std::function<void(core::CimPropertyList& properties)> onModify;
    std::function<std::uint32_t(core::CimPropertyList& outArguments, core::CimInstance*& job)> onInvoke;
    std::function<core::CimInstance*()> onFind;

    utils::SafeList<core::CimInstance*> getInstances(const std::string& className) override;
    void modifyInstance(core::CimPath& path, core::CimPropertyList& properties) override;
    std::uint32_t invokeMethod(core::CimPath& path, std::string methodName, core::CimPropertyList& inArguments,
                               core::CimPropertyList& outArguments, core::CimInstance*& job) override;
    core::CimInstance* find(core::CimPath& path);

private:
    CallLog& m_calls;
};

// The two functions that the broker exports by name; they use the living FakeBroker. They throw std::logic_error when
// no FakeBroker lives, and have the calling convention of the exported functions.
core::CimBroker* brokerInUse();
core::CimInstance* findInstance(core::CimBroker* broker, core::CimPath& path);

}  // namespace support
