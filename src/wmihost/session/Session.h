#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "wmihost/com/CallContext.h"
#include "wmihost/com/Com.h"
#include "wmihost/com/ResponseSink.h"

namespace wmihost {

// How a request is made.
struct RequestOptions
{
    Impersonation impersonation = Impersonation::IMPERSONATE;
    // Whether an enumeration includes instances of derived classes. Only the service decides by it; a provider is asked
    // class by class.
    bool withDerived = true;
    std::function<void(Progress)> onProgress;  // may be empty
};

// The result of a request.
struct RequestResult
{
    HRESULT status = 0;  // the last reported status, or the returned one if none was reported
    std::vector<ComPtr<IWbemClassObject>> objects;
    std::string exception;  // the text of a C++ exception that the provider threw; empty if none
};

// Answers the requests about one namespace. Any number of threads at once; each must be in the multithreaded apartment.
// A failed request is a result and does not throw.
class Session
{
public:
    Session() = default;
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    virtual ~Session() = default;

    virtual RequestResult enumerate(std::wstring_view className, const RequestOptions& options) const = 0;
    virtual RequestResult get(std::wstring_view path, const RequestOptions& options) const = 0;
    // Updates an existing instance.
    virtual RequestResult put(IWbemClassObject* instance, const RequestOptions& options) const = 0;
    virtual RequestResult remove(std::wstring_view path, const RequestOptions& options) const = 0;
    // The objects of the result are the outputs: one, or none.
    virtual RequestResult execMethod(std::wstring_view path, std::wstring_view method, IWbemClassObject* in,
                                     const RequestOptions& options) const = 0;
};

}  // namespace wmihost
