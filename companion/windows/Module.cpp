#include "Utils/ProcessEnd.h"
#include "companion/ObjectBroker.h"
#include "companion/windows/PlatformAdapters.h"
#include "companion/windows/RegistryStorage.h"
#include "companion/windows/WindowsJobThread.h"
#include "companion/windows/WindowsMachine.h"

namespace {

// The broker with the platform under it.
struct Companion
{
    companion::PlatformAdapters adapters;
    companion::WindowsMachine machine;
    companion::RegistryStorage settings;
    companion::WindowsJobThread jobThread;
    companion::ObjectBroker broker{{adapters, machine, settings, jobThread}};
};

// Ends with the module, but not with the process: there, threads are gone wherever they stood.
class Holder
{
public:
    Holder() : m_companion(new Companion) {}
    ~Holder()
    {
        if (!utils::processIsEnding()) {
            delete m_companion;
        }
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    core::CimBroker* broker() const noexcept { return &m_companion->broker; }

private:
    Companion* m_companion;
};

}  // namespace

namespace core {

CimBroker* GetCimBroker()
{
    // Made by the first caller; when that fails, the next caller tries again.
    static const Holder holder;
    return holder.broker();
}

}  // namespace core
