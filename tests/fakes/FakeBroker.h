#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "core/CimBroker.h"
#include "support/CallLog.h"

namespace support {

// The broker of a test. Records each call with its arguments under "broker." and answers what the test has set. The one
// that lives is what core::GetCimBroker gives, where the program links fake_core or has redirected the provider's
// imports to brokerInUse and findInstance.
class FakeBroker final : public core::CimBroker
{
public:
    explicit FakeBroker(CallLog& calls);
    ~FakeBroker() override;

    // What the calls do; by default an empty list, nothing, 0 and null.
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

// The two operations that the broker exports by name, on the broker that lives. Throw std::logic_error when
// there is none. They have the calling convention of those.
core::CimBroker* brokerInUse();
core::CimInstance* findInstance(core::CimBroker* broker, core::CimPath& path);

}  // namespace support
