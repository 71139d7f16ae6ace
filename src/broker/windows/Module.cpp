#include "Utils/ProcessEnd.h"
#include "broker/ObjectBroker.h"
#include "broker/windows/PlatformAdapters.h"
#include "broker/windows/RegistryStorage.h"
#include "broker/windows/WindowsJobHosts.h"
#include "broker/windows/WindowsJobThread.h"
#include "broker/windows/WindowsMachine.h"

namespace {

// The broker and the parts of the platform that it uses.
struct BrokerModule
{
    broker::PlatformAdapters adapters;
    broker::WindowsMachine machine;
    broker::RegistryStorage settings;
    broker::WindowsJobThread jobThread;
    broker::WindowsJobHosts jobHosts;
    broker::ObjectBroker broker{{adapters, machine, settings, jobThread, jobHosts}};
};

// Destroys the broker when the module is unloaded, but not when the process ends: other threads are then already gone,
// and may have held locks.
class Holder
{
public:
    Holder() : m_module(new BrokerModule) {}
    ~Holder()
    {
        if (!utils::processIsEnding()) {
            delete m_module;
        }
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    core::CimBroker* broker() const noexcept { return &m_module->broker; }

private:
    BrokerModule* m_module;
};

}  // namespace

namespace core {

CimBroker* GetCimBroker()
{
    // The first call makes it; if that fails, the next call tries again.
    static const Holder holder;
    return holder.broker();
}

}  // namespace core
