#pragma once

#include <cstdint>
#include <string>

#include "Os/Windows/Platform.h"
#include "Utils/Singleton.h"

namespace utils {

// Every registry access of the system passes through the current instance of this class, which lives from module load
// on. All texts are in the ANSI code page. Registry failures are results, never exceptions. Any thread.
class WindowsRegistry : public AutoSingleton<WindowsRegistry>
{
public:
    static constexpr const char* qualifiedName = "utils::WindowsRegistry";

    // The platform's functions as they are, reserved parameters included; each returns the platform's error code.
    virtual LSTATUS openKey(HKEY root, const char* path, DWORD options, REGSAM access, HKEY* key);
    virtual LSTATUS queryInfoKey(HKEY key, LPSTR className, LPDWORD classLength, LPDWORD reserved, LPDWORD subKeys,
                                 LPDWORD maxSubKeyLength, LPDWORD maxClassLength, LPDWORD values,
                                 LPDWORD maxValueNameLength, LPDWORD maxValueLength, LPDWORD securityDescriptor,
                                 PFILETIME lastWriteTime);
    virtual LSTATUS enumKey(HKEY key, DWORD index, LPSTR name, LPDWORD nameLength, LPDWORD reserved, LPSTR className,
                            LPDWORD classLength, PFILETIME lastWriteTime);
    virtual LSTATUS enumValue(HKEY key, DWORD index, LPSTR name, LPDWORD nameLength, LPDWORD reserved, LPDWORD type,
                              LPBYTE data, LPDWORD dataLength);
    virtual LSTATUS closeKey(HKEY key);

    // True when the key exists under HKEY_LOCAL_MACHINE and can be read.
    virtual bool keyExists(std::string path);

    // Creates the key where it is missing and writes one REG_SZ value; an empty name is the key's default value.
    // False, and an error line, when the platform refuses. Throws utils::Exception for an empty path.
    virtual bool setKey(HKEY root, std::string path, std::string name, std::string value);

    // False when the parent cannot be opened for writing. Otherwise true, whether or not the child was there or could
    // be deleted: removal must get past what is gone already.
    virtual bool deleteKey(HKEY root, std::string parent, std::string child);

    // Major version times ten plus minor version.
    virtual int getOsVersion();

    // Reads the value as text and the text as a number. False when either fails; *out is 0 when the text is not a
    // number.
    virtual bool getRegistryUint(HKEY root, std::string path, DWORD type, std::string name, std::uint32_t* out);

    // Reads a REG_SZ or REG_EXPAND_SZ (not expanded) value, or a REG_DWORD as a signed decimal. False, with an empty
    // text, when it is missing, empty, of another type than asked for, or longer than 256 bytes.
    virtual bool getRegistryData(HKEY root, std::string path, DWORD type, std::string name, std::string* out);
};

// A registry key that is closed with the scope.
class ScopedKey
{
public:
    // None yet. What a call stores in out() is closed by the platform's own function.
    ScopedKey() = default;
    // Opens the key through the registry object, and closes it there. The object must outlive the scope.
    ScopedKey(WindowsRegistry& registry, HKEY root, const std::string& path, REGSAM access);
    ScopedKey(const ScopedKey&) = delete;
    ScopedKey& operator=(const ScopedKey&) = delete;
    ~ScopedKey();

    // What opening has returned.
    LSTATUS status() const noexcept { return m_status; }
    // Null for none.
    HKEY get() const noexcept { return m_key; }
    // Where a call stores the key that it opens.
    HKEY* out() noexcept { return &m_key; }

private:
    HKEY m_key = nullptr;
    WindowsRegistry* m_registry = nullptr;
    LSTATUS m_status = ERROR_SUCCESS;
};

}  // namespace utils
