#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "wmihost/com/Com.h"

namespace wmihost {

// The progress of an enumeration, as the provider reports it.
struct Progress
{
    unsigned total;
    unsigned index;  // of the object that was just delivered, from 0
};

// The result of a request so far. The sink fills it, on any thread. The request is over when the last reference to its
// sink is released.
class Response
{
public:
    // Called on the provider's thread for each progress report; may be empty.
    explicit Response(std::function<void(Progress)> onProgress) : m_onProgress(std::move(onProgress)) {}

    // Whether the sink was released within that time.
    bool waitUntilOver(std::chrono::milliseconds limit);

    // Whether the final status came, or the sink was released, within that time.
    bool waitUntilDone(std::chrono::milliseconds limit);

    // The final status, or nothing if none came.
    std::optional<HRESULT> status() const;
    // Hands over the objects in the order in which they came.
    std::vector<ComPtr<IWbemClassObject>> takeObjects();

private:
    friend class ResponseSink;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::function<void(Progress)> m_onProgress;
    std::vector<ComPtr<IWbemClassObject>> m_objects;
    std::optional<HRESULT> m_status;
    bool m_over = false;
};

// The provider's end of a response. Objects that come after the final status, and a second final status,
// are refused with WBEM_E_UNEXPECTED.
class ResponseSink final : public ComObject<IWbemObjectSink>
{
public:
    explicit ResponseSink(std::shared_ptr<Response> response) : m_response(std::move(response)) {}

    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject** objects) override;
    HRESULT STDMETHODCALLTYPE SetStatus(LONG flags, HRESULT result, BSTR text, IWbemClassObject* object) override;

protected:
    ~ResponseSink() override;

private:
    const std::shared_ptr<Response> m_response;
};

}  // namespace wmihost
