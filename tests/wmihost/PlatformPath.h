#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include <wmiutils.h>

#include "wmihost/com/Com.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {

// A path as the platform's parser of object paths (wmiutils) reads it.
struct PlatformPath
{
    std::wstring server;     // empty if the path has no server
    std::wstring nameSpace;  // empty if the path has no namespace
    std::wstring className;
    // "Class.Key="value",Other=7", rebuilt from the parsed keys. Wine 8 offers only this way to read them: its list
    // of keys implements GetCount, but not GetKey or GetKey2.
    std::wstring relative;
    ULONG keyCount = 0;
};

namespace platform_path {

// The class and the interface of the platform's parser. The headers declare them, but no library defines them.
inline constexpr CLSID PARSER_CLASS = {0xcf4cc405, 0xe2c5, 0x4ddd, {0xb3, 0xce, 0x5e, 0x75, 0x82, 0xd8, 0xc9, 0xfa}};
inline constexpr IID PARSER_INTERFACE = {0x3bc15af2, 0x736c, 0x477e, {0x9e, 0x51, 0x23, 0x8a, 0xf8, 0x66, 0x7d, 0xcc}};

inline std::wstring textFrom(const std::function<HRESULT(ULONG*, LPWSTR)>& call)
{
    constexpr ULONG MOST = 2048;
    std::wstring text(MOST, L'\0');
    ULONG length = MOST;
    return call(&length, text.data()) == S_OK ? std::wstring(text.c_str()) : std::wstring();
}

}  // namespace platform_path

// Fails the running test if the platform does not accept the text as a path. The thread must have initialised COM.
inline PlatformPath parsedByPlatform(const std::wstring& text)
{
    using platform_path::textFrom;
    PlatformPath result;
    ComPtr<IWbemPath> path;
    EXPECT_EQ(CoCreateInstance(platform_path::PARSER_CLASS, nullptr, CLSCTX_INPROC_SERVER,
                               platform_path::PARSER_INTERFACE, reinterpret_cast<void**>(path.put())),
              S_OK);
    const HRESULT parsed = path ? path->SetText(WBEMPATH_CREATE_ACCEPT_ALL, text.c_str()) : E_FAIL;
    EXPECT_EQ(parsed, S_OK) << toUtf8(text);
    if (parsed != S_OK) {
        return result;
    }
    result.server = textFrom([&](ULONG* length, LPWSTR buffer) { return path->GetServer(length, buffer); });
    result.nameSpace = textFrom(
        [&](ULONG* length, LPWSTR buffer) { return path->GetText(WBEMPATH_GET_NAMESPACE_ONLY, length, buffer); });
    result.className = textFrom([&](ULONG* length, LPWSTR buffer) { return path->GetClassName(length, buffer); });
    result.relative = textFrom(
        [&](ULONG* length, LPWSTR buffer) { return path->GetText(WBEMPATH_GET_RELATIVE_ONLY, length, buffer); });
    ComPtr<IWbemPathKeyList> keys;
    EXPECT_EQ(path->GetKeyList(keys.put()), S_OK) << toUtf8(text);
    if (keys) {
        EXPECT_EQ(keys->GetCount(&result.keyCount), S_OK) << toUtf8(text);
    }
    return result;
}

}  // namespace wmihost
