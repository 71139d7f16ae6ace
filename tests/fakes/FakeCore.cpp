#include "core/CimBroker.h"
#include "fakes/FakeBroker.h"

// The broker's exports, for programs that link the provider's code without the broker.
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
