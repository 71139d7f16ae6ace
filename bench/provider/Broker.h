#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "core/CimBroker.h"

namespace bench {

// A broker that has its answers ready: it finds without looking and changes nothing. The provider's calls of the
// broker go to the one that was made or named last. Instances are only read, by any number of threads.
class Broker final : public core::CimBroker
{
public:
    // With so many instances of the benchmark's class.
    explicit Broker(std::size_t instances);

    utils::SafeList<core::CimInstance*> getInstances(const std::string& className) override;
    void modifyInstance(core::CimPath& path, core::CimPropertyList& properties) override;
    std::uint32_t invokeMethod(core::CimPath& path, std::string methodName, core::CimPropertyList& inArguments,
                               core::CimPropertyList& outArguments, core::CimInstance*& job) override;

    void use() noexcept;
    std::size_t size() const noexcept { return m_instances.size(); }

    // What the broker exports by name, with the calling convention of its member function.
    static core::CimBroker* inUse();
    static core::CimInstance* find(core::CimBroker* broker, core::CimPath& path);

private:
    std::vector<std::unique_ptr<core::CimInstance>> m_instances;
};

}  // namespace bench
