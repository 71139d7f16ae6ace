#include "fakes/FakeBroker.h"

#include <stdexcept>

#include "support/Describe.h"

namespace support {

namespace {

FakeBroker*& current()
{
    static FakeBroker* broker = nullptr;
    return broker;
}

}  // namespace

FakeBroker::FakeBroker(CallLog& calls) : m_calls(calls)
{
    current() = this;
}

FakeBroker::~FakeBroker()
{
    current() = nullptr;
}

utils::SafeList<core::CimInstance*> FakeBroker::getInstances(const std::string& className)
{
    m_calls.add("broker.getInstances(" + className + ")");
    return onGetInstances ? onGetInstances() : utils::SafeList<core::CimInstance*>();
}

void FakeBroker::modifyInstance(core::CimPath& path, core::CimPropertyList& properties)
{
    m_calls.add("broker.modifyInstance(" + path.getModelPath() + ", {" + describe(properties) + "})");
    if (onModify) {
        onModify(properties);
    }
}

std::uint32_t FakeBroker::invokeMethod(core::CimPath& path, std::string methodName, core::CimPropertyList& inArguments,
                                       core::CimPropertyList& outArguments, core::CimInstance*& job)
{
    m_calls.add("broker.invokeMethod(" + path.getModelPath() + ", " + methodName + ", {" + describe(inArguments) +
                "}, {" + describe(outArguments) + "}, " + (job == nullptr ? "null" : "a job") + ")");
    return onInvoke ? onInvoke(outArguments, job) : 0;
}

core::CimInstance* FakeBroker::find(core::CimPath& path)
{
    m_calls.add("broker.getInstanceByPath(" + path.getModelPath() + ")");
    return onFind ? onFind() : nullptr;
}

core::CimBroker* brokerInUse()
{
    if (current() == nullptr) {
        throw std::logic_error("no broker lives");
    }
    return current();
}

core::CimInstance* findInstance(core::CimBroker* broker, core::CimPath& path)
{
    return dynamic_cast<FakeBroker&>(*broker).find(path);
}

}  // namespace support
