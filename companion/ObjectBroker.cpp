#include "companion/ObjectBroker.h"

#include "Utils/Log.h"

namespace companion {

namespace {

constexpr const char* FILE_NAME = "ObjectBroker";

}  // namespace

ObjectBroker::ObjectBroker(AdapterSource& adapters, Machine& machine)
    : m_workspaces([&adapters, &machine] { return std::make_unique<Workspace>(adapters, machine); })
{
}

utils::SafeList<core::CimInstance*> ObjectBroker::getInstances(const std::string& className)
{
    static constexpr utils::LogSite here{FILE_NAME, "companion::ObjectBroker::getInstances"};
    utils::SafeList<core::CimInstance*> result;
    try {
        if (const InstanceStore* store = beginRequest().instances(className)) {
            for (const InstanceStore::Record& record : store->records()) {
                result.append(record.instance.get());
            }
        }
    } catch (const std::exception& exception) {
        here.error("Reading of class %s failed: %s", className.c_str(), exception.what());
        result.clear();
    }
    return result;
}

void ObjectBroker::modifyInstance(core::CimPath& /*path*/, core::CimPropertyList& /*properties*/) {}

std::uint32_t ObjectBroker::invokeMethod(core::CimPath& /*path*/, const std::string& /*methodName*/,
                                         core::CimPropertyList& /*inArguments*/,
                                         core::CimPropertyList& /*outArguments*/, core::CimInstance*& /*job*/)
{
    return 1;
}

core::CimInstance* ObjectBroker::findInstance(const core::CimPath& path)
{
    const InstanceStore::Record* record = beginRequest().find(path);
    return record == nullptr ? nullptr : record->instance.get();
}

Workspace& ObjectBroker::beginRequest()
{
    Workspace& workspace = m_workspaces.lease();
    workspace.begin();
    return workspace;
}

}  // namespace companion

namespace core {

CimInstance* CimBroker::getInstanceByPath(CimPath& path)
{
    // Every broker of this library is one of these.
    return static_cast<companion::ObjectBroker*>(this)->findInstance(path);
}

}  // namespace core
