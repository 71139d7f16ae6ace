#include "core/CimBroker.h"
#include "fakes/FakeBroker.h"

// What the broker exports, for programs that link the provider's code without it.
namespace core {

CimInstance* CimBroker::getInstanceByPath(CimPath& path)
{
    return support::findInstance(this, path);
}

CimBroker* GetCimBroker()
{
    return support::brokerInUse();
}

}  // namespace core
