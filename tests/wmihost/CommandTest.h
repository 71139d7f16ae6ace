#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/wmihost/FakeProvider.h"
#include "tests/wmihost/Redirected.h"
#include "tests/wmihost/Session.h"
#include "tests/wmihost/TestObjects.h"
#include "wmihost/com/Guard.h"
#include "wmihost/commandline/CommandLine.h"

namespace wmihost {

// Runs command lines in this process, with the fake provider and its classes. It has two things, `one` in state 2 and
// `two` in state 3, and finds `one` by its path.
class CommandTest : public testing::Test
{
protected:
    CommandTest()
    {
        std::ofstream(mof) << FAKE_MOF;
        SetEnvironmentVariableW(L"COLUMNS", nullptr);
        _putenv("COLUMNS=");
        behaviour.enumerate = [](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
            deliver(ns, sink, L"one", 2);
            deliver(ns, sink, L"two", 3);
            return finish(sink);
        };
        behaviour.get = [](IWbemServices& ns, std::wstring_view path, IWbemObjectSink* sink) {
            if (!path.ends_with(L"=\"one\"")) {
                return finish(sink, code(WBEM_E_NOT_FOUND));
            }
            deliver(ns, sink, L"one", 2);
            return finish(sink);
        };
    }
    ~CommandTest() override { std::filesystem::remove(mof); }

    // Makes an object for the provider: an instance of a class, or the outputs of a method.
    static ComPtr<IWbemClassObject> spawn(IWbemServices& ns, const wchar_t* className)
    {
        ComPtr<IWbemClassObject> definition;
        ComPtr<IWbemClassObject> instance;
        EXPECT_EQ(ns.GetObject(Bstr(className).get(), 0, nullptr, definition.put(), nullptr), 0);
        EXPECT_EQ(definition->SpawnInstance(0, instance.put()), 0);
        return instance;
    }
    static ComPtr<IWbemClassObject> spawnOutputs(IWbemServices& ns, const wchar_t* className, const wchar_t* method)
    {
        ComPtr<IWbemClassObject> definition;
        ComPtr<IWbemClassObject> signature;
        ComPtr<IWbemClassObject> outputs;
        EXPECT_EQ(ns.GetObject(Bstr(className).get(), 0, nullptr, definition.put(), nullptr), 0);
        EXPECT_EQ(definition->GetMethod(method, 0, nullptr, signature.put()), 0);
        EXPECT_EQ(signature->SpawnInstance(0, outputs.put()), 0);
        return outputs;
    }

    static void deliver(IWbemObjectSink* sink, const ComPtr<IWbemClassObject>& instance)
    {
        IWbemClassObject* object = instance.get();
        sink->Indicate(1, &object);
    }
    static void deliver(IWbemServices& ns, IWbemObjectSink* sink, const wchar_t* name, long state)
    {
        const auto thing = spawn(ns, L"Fake_Thing");
        put(thing, L"Name", Variant::ofText(name));
        put(thing, L"State", Variant::ofLong(state));
        deliver(sink, thing);
    }
    static HRESULT finish(IWbemObjectSink* sink, HRESULT status = 0)
    {
        return sink->SetStatus(WBEM_STATUS_COMPLETE, status, nullptr, nullptr);
    }

    // Runs the command with the test's MOF, unless it asks the machine's WMI. Its output goes to standard output and
    // standard error.
    int runWithMof(std::vector<std::string> arguments) const
    {
        if (std::find(arguments.begin(), arguments.end(), "--service") == arguments.end()) {
            arguments.insert(arguments.begin(), {"--mof", mof.string()});
        }
        return runCommandLine(arguments);
    }

    // Declares further classes besides those of the fake provider.
    void addToMof(std::string_view text) const { std::ofstream(mof) << FAKE_MOF << text; }

    int run(std::vector<std::string> arguments)
    {
        const Redirected standardOut(STD_OUTPUT_HANDLE);
        const Redirected standardError(STD_ERROR_HANDLE);
        const int result = runWithMof(std::move(arguments));
        out = standardOut.text();
        error = standardError.text();
        // Removes the path of the MOF from the output, because it differs between runs.
        const std::string place = " --mof " + mof.string();
        if (const std::size_t at = error.find(place); at != std::string::npos) {
            error.erase(at, place.size());
        }
        return result;
    }

    // Returns the requests since the last call, in order.
    virtual std::vector<std::string> takeRequests() { return std::exchange(behaviour.requests, {}); }

    // Runs the commands of a session file, see Session.h.
    void expectSession(const std::string& file)
    {
        wmihost::expectSession(file, [this](const std::vector<std::string>& arguments) {
            const int exitCode = run(arguments);
            return Answer{exitCode, out, error, takeRequests()};
        });
    }

    const std::filesystem::path mof =
        std::filesystem::temp_directory_path() / ("cli" + std::to_string(GetCurrentProcessId()) + ".mof");
    const ComApartment apartment;
    FakeBehaviour behaviour;
    const FakeProviderScope scope{behaviour};
    std::string out;
    std::string error;
};

}  // namespace wmihost
