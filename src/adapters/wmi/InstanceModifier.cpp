#include "adapters/wmi/InstanceModifier.h"

#include <exception>

#include "Utils/Assert.h"
#include "Utils/Exception.h"
#include "adapters/wmi/Status.h"
#include "adapters/wmi/WmiConverter.h"
#include "core/CimBroker.h"

namespace wa {

namespace {

constexpr utils::LogSite modifying{"WmiConverter", "wa::InstanceModifier::modifyInstance"};

HRESULT refusal(const std::exception& exception, HRESULT status) noexcept
{
    modifying.error("Exception: '%s'", exception.what());
    return status;
}

}  // namespace

HRESULT InstanceModifier::modifyInstance(IWbemClassObject* wmiInst)
{
    ASSERT(modifying, wmiInst != NULL);
    WmiConverter& converter = *WmiConverter::getInstance();
    core::CimPath path = converter.getPath(wmiInst);
    modifying.debug("ModifyInstance %s", path.getModelPath().c_str());
    core::CimPropertyList properties;
    properties.setOwnsElements(true);
    converter.extractProperties(properties, wmiInst);
    try {
        core::GetCimBroker()->modifyInstance(path, properties);
    } catch (const utils::EInvalidParameter& exception) {
        return refusal(exception, hresult(WBEM_E_INVALID_PARAMETER));
    } catch (const utils::EForbidden& exception) {
        return refusal(exception, hresult(WBEM_E_ACCESS_DENIED));
    } catch (const utils::ENotSupported& exception) {
        return refusal(exception, hresult(WBEM_E_NOT_SUPPORTED));
    } catch (const utils::ENotFound& exception) {
        return refusal(exception, hresult(WBEM_E_NOT_FOUND));
    } catch (const utils::EFailed& exception) {
        return refusal(exception, hresult(WBEM_E_FAILED));
    } catch (const std::exception& exception) {
        return refusal(exception, hresult(WBEM_E_FAILED));
    } catch (...) {
        modifying.error("Unknown exception occured");
        return hresult(WBEM_E_UNEXPECTED);
    }
    modifying.debug("ModifyInstance success");
    return WBEM_S_NO_ERROR;
}

}  // namespace wa
