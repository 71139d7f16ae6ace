#include "broker/ObjectBroker.h"

#include <exception>
#include <string_view>

#include "Utils/Exception.h"
#include "broker/model/Modification.h"

namespace broker {

namespace {

utils::ENotFound notFound(const core::CimPath& path)
{
    return utils::ENotFound("Instance " + path.getModelPath() + " does not exist");
}

// The exception's message without its prefix, which the new exception adds again.
std::string messageOf(const std::exception& exception)
{
    std::string_view text = exception.what();
    if (text.starts_with(utils::Exception::PREFIX)) {
        text.remove_prefix(utils::Exception::PREFIX.size());
    }
    return std::string(text);
}

}  // namespace

ObjectBroker::ObjectBroker(const Platform& platform)
    : m_settings(platform.settings),
      m_jobs({platform.adapters, platform.machine, platform.settings, platform.jobThread, platform.jobHosts}),
      m_methods(platform.adapters, m_settings, m_jobs),
      m_workspaces({platform.adapters, platform.machine, m_settings, m_jobs})
{
}

utils::SafeList<core::CimInstance*> ObjectBroker::getInstances(const std::string& className)
{
    utils::SafeList<core::CimInstance*> result;
    if (const InstanceStore* store = beginRequest(className).instances(className)) {
        for (const InstanceStore::Record& record : store->records()) {
            result.appendUnshared(record.instance.get());
        }
    }
    return result;
}

void ObjectBroker::modifyInstance(core::CimPath& path, core::CimPropertyList& properties)
{
    try {
        Workspace& workspace = beginRequest(path.getClassName());
        const InstanceStore::Record* record = workspace.find(path);
        if (record == nullptr) {
            throw notFound(path);
        }
        modify(workspace.storeOf(path.getClassName()), *record, properties, workspace, m_settings);
    } catch (const utils::EInvalidParameter&) {
        throw;
    } catch (const utils::EForbidden&) {
        throw;
    } catch (const utils::ENotSupported&) {
        throw;
    } catch (const utils::ENotFound&) {
        throw;
    } catch (const utils::EFailed&) {
        throw;
    } catch (const std::exception& exception) {
        // Callers handle these five types only.
        throw utils::EFailed(messageOf(exception));
    }
}

std::uint32_t ObjectBroker::invokeMethod(core::CimPath& path, std::string methodName,
                                         core::CimPropertyList& inArguments, core::CimPropertyList& outArguments,
                                         core::CimInstance*& job)
{
    Workspace& workspace = beginRequest(path.getClassName());
    const InstanceStore::Record* target = workspace.find(path);
    if (target == nullptr) {
        throw notFound(path);
    }
    return m_methods.invoke(workspace, methodName, {*target, inArguments, outArguments, job});
}

core::CimInstance* ObjectBroker::findInstance(const core::CimPath& path)
{
    const InstanceStore::Record* record = beginRequest(path.getClassName()).find(path);
    return record == nullptr ? nullptr : record->instance.get();
}

Workspace& ObjectBroker::beginRequest(const std::string& className)
{
    Workspace& workspace = m_workspaces.ofThisThread();
    workspace.begin(className);
    return workspace;
}

}  // namespace broker

namespace core {

CimInstance* CimBroker::getInstanceByPath(CimPath& path)
{
    // This library makes no other kind of broker.
    return static_cast<broker::ObjectBroker*>(this)->findInstance(path);
}

}  // namespace core
