#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "core/CimBroker.h"

namespace bench {

// A broker whose answers are ready: it searches nothing and changes nothing. The provider's calls go to the broker that
// was constructed or selected last. Instances are only read, so any number of threads may use them.
class Broker final : public core::CimBroker
{
public:
    // Holds the given number of instances of the benchmark's class.
    explicit Broker(std::size_t instances);

    utils::SafeList<core::CimInstance*> getInstances(const std::string& className) override;
    void modifyInstance(core::CimPath& path, core::CimPropertyList& properties) override;
    std::uint32_t invokeMethod(core::CimPath& path, std::string methodName, core::CimPropertyList& inArguments,
                               core::CimPropertyList& outArguments, core::CimInstance*& job) override;

    void use() noexcept;
    std::size_t size() const noexcept { return m_instances.size(); }

    // The functions that the broker exports by name, with the calling convention of its member functions.
    static core::CimBroker* inUse();
    static core::CimInstance* find(core::CimBroker* broker, core::CimPath& path);

private:
    std::vector<std::unique_ptr<core::CimInstance>> m_instances;
};

}  // namespace bench
