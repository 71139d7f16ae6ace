#include "bench/provider/Ports.h"

#include <stdexcept>
#include <string>

namespace bench {

HRESULT AnyObject::Put(LPCWSTR /*name*/, LONG /*flags*/, VARIANT* /*value*/, CIMTYPE /*type*/)
{
    ++m_values;
    return WBEM_S_NO_ERROR;
}

HRESULT AnyObject::SpawnInstance(LONG /*flags*/, IWbemClassObject** instance)
{
    *instance = this;
    return WBEM_S_NO_ERROR;
}

PortClient::PortClient(const support::ProviderModule& module) : m_provider(createProvider(module, m_namespace))
{
    *m_ports.out() = SysAllocString(L"Zerix_EthernetPort");
    *m_identities.out() = SysAllocString(L"Zerix_SoftwareIdentity");
}

HMODULE PortClient::broker()
{
    return GetModuleHandleA("ZerixCimCore.dll");
}

void PortClient::enumerate()
{
    const std::size_t values = m_object.valueCount();
    m_sink.take();
    request(m_ports.get());
    if (m_sink.take().objects != m_adapters.count || m_object.valueCount() == values) {
        throw std::runtime_error("the ports are not the adapters");
    }
}

void PortClient::forget()
{
    request(m_identities.get());
}

void PortClient::request(BSTR className)
{
    m_provider->CreateInstanceEnumAsync(className, 0, &m_context, &m_sink);
}

}  // namespace bench
