#pragma once

#include "broker/Fakes.h"
#include "broker/ObjectBroker.h"

namespace fakes {

// A broker on fakes, for tests and benchmarks that derive from it.
class BrokerWorld
{
protected:
    Adapters m_adapters;
    Machine m_machine;
    Storage m_storage;
    ManualThread m_thread;
    Hosts m_hosts;
    broker::ObjectBroker m_broker{{m_adapters, m_machine, m_storage, m_thread, m_hosts}};
};

}  // namespace fakes
