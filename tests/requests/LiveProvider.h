#pragma once

#include <gtest/gtest.h>

#include <string_view>

#include "fakes/KnownFactory.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/session/Workspace.h"

namespace requests {

// The built provider and the built broker on this machine's real adapters, with the classes of the installed MOF. The
// host sends the requests.
class LiveProvider : public testing::Test
{
protected:
    // The provider of the class's namespace.
    const wmihost::ProviderSession& session(std::wstring_view className = L"Zerix_EthernetPort")
    {
        return workspace.sessionFor(workspace.findClass(className, L""));
    }

    wmihost::RequestResult enumerate(std::wstring_view className)
    {
        return session(className).enumerate(className, {});
    }

    // The arguments object of a client that leaves every argument null.
    wmihost::ComPtr<IWbemClassObject> nullArguments(std::wstring_view className, std::wstring_view method)
    {
        const wmihost::ClassTarget target = workspace.findClass(className, L"");
        return workspace.makeArguments(target, *target.definition->findMethod(method));
    }

    // Other threads of the program belong to this multithreaded apartment without initialising COM.
    const wmihost::ComApartment apartment;
    const support::KnownFactory factory;
    wmihost::Workspace workspace{ZERIX_MOF};
};

}  // namespace requests
