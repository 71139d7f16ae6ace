#pragma once

#include <stdexcept>
#include <string>

#include "Os/Windows/Platform.h"
#include "core/CimBroker.h"
#include "core/CimPropertyTypes.h"

namespace support {

inline constexpr const char* GET_BROKER = "_ZN4core12GetCimBrokerEv";
inline constexpr const char* GET_INSTANCE = "_ZN4core9CimBroker17getInstanceByPathERNS_7CimPathE";

// The built library, loaded as it is when the provider imports it.
class Library
{
public:
    Library() : m_module(LoadLibraryA("ZerixCimCore.dll"))
    {
        if (m_module == nullptr) {
            throw std::runtime_error("ZerixCimCore.dll does not load: " + std::to_string(GetLastError()));
        }
    }
    ~Library() { FreeLibrary(m_module); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    template <class Function>
    Function function(const char* name) const
    {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(m_module, name)));
    }

    core::CimBroker* broker() const { return function<core::CimBroker* (*)()>(GET_BROKER)(); }

    core::CimInstance* find(const std::string& text) const
    {
        core::CimPath path(text);
        return function<core::CimInstance* (*)(core::CimBroker*, core::CimPath&)>(GET_INSTANCE)(broker(), path);
    }

private:
    HMODULE m_module;
};

// The path of the first instance.
inline std::string firstPath(const Library& library, const char* className)
{
    auto listed = library.broker()->getInstances(className);
    return listed.getIterator().next()->toPathString();
}

// Returns the path of a running diagnostic of the machine's first port, or an empty text when the port is busy.
inline std::string startDiagnostic(const Library& library, std::uint16_t samples)
{
    core::CimPath port(firstPath(library, "Zerix_EthernetPort"));
    core::CimPropertyList in;
    core::CimPropertyUint16 count("SampleCount");
    in.add(&count);
    count.setValue(samples);
    core::CimPropertyList out;
    core::CimInstance* job = nullptr;
    library.broker()->invokeMethod(port, "RunLinkDiagnostic", in, out, job);
    return job == nullptr ? std::string() : job->toPathString();
}

// Changes one property of an instance.
template <class Property, class Value>
void change(const Library& library, const std::string& path, const char* name, const Value& value)
{
    core::CimPath parsed(path);
    core::CimPropertyList values;
    Property property(name);
    property.setValue(value);
    values.add(&property);
    library.broker()->modifyInstance(parsed, values);
}

inline constexpr const char* DIAGNOSTICS = "Zerix_DiagnosticSetting.InstanceID=\"Vexal:DiagnosticSetting\"";

inline void setSamplePeriod(const Library& library, std::uint16_t milliseconds)
{
    change<core::CimPropertyUint16>(library, DIAGNOSTICS, "SamplePeriodMilliseconds", milliseconds);
}

}  // namespace support
