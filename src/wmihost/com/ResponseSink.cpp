#include "wmihost/com/ResponseSink.h"

#include <utility>

#include "wmihost/com/Guard.h"

namespace wmihost {

bool Response::waitUntilOver(std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, limit, [this] { return m_over; });
}

bool Response::waitUntilDone(std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, limit, [this] { return m_over || m_status; });
}

std::optional<HRESULT> Response::status() const
{
    const std::lock_guard lock(m_mutex);
    return m_status;
}

std::vector<ComPtr<IWbemClassObject>> Response::takeObjects()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_objects, {});
}

HRESULT ResponseSink::Indicate(LONG count, IWbemClassObject** objects)
{
    return guarded([&] {
        if (count < 0 || (count > 0 && objects == nullptr)) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        const std::lock_guard lock(m_response->m_mutex);
        if (m_response->m_status) {
            return code(WBEM_E_UNEXPECTED);
        }
        for (LONG i = 0; i < count; ++i) {
            if (objects[i] == nullptr) {
                return code(WBEM_E_INVALID_PARAMETER);
            }
            m_response->m_objects.emplace_back(objects[i]);
        }
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ResponseSink::SetStatus(LONG flags, HRESULT result, BSTR, IWbemClassObject*)
{
    return guarded([&] {
        if (flags == WBEM_STATUS_PROGRESS) {
            if (m_response->m_onProgress) {
                const auto words = static_cast<unsigned long>(result);
                m_response->m_onProgress({HIWORD(words), LOWORD(words)});
            }
            return code(WBEM_S_NO_ERROR);
        }
        if (flags != WBEM_STATUS_COMPLETE) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        const std::lock_guard lock(m_response->m_mutex);
        if (m_response->m_status) {
            return code(WBEM_E_UNEXPECTED);
        }
        m_response->m_status = result;
        m_response->m_changed.notify_all();
        return code(WBEM_S_NO_ERROR);
    });
}

ResponseSink::~ResponseSink()
{
    const std::lock_guard lock(m_response->m_mutex);
    m_response->m_over = true;
    m_response->m_changed.notify_all();
}

}  // namespace wmihost
