#include "support/ImportHook.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace support {

namespace {

template <class T>
T* at(std::byte* base, std::size_t offset)
{
    return reinterpret_cast<T*>(base + offset);
}

void write(void** slot, void* value)
{
    DWORD protection = 0;
    if (!VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection)) {
        throw std::runtime_error("cannot make the import table writable");
    }
    InterlockedExchangePointer(slot, value);
    VirtualProtect(slot, sizeof *slot, protection, &protection);
}

std::vector<void**> findSlots(HMODULE module, const char* function)
{
    auto* const base = reinterpret_cast<std::byte*>(module);
    const auto* const headers = at<IMAGE_NT_HEADERS>(base, at<IMAGE_DOS_HEADER>(base, 0)->e_lfanew);
    const IMAGE_DATA_DIRECTORY& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    std::vector<void**> slots;
    if (imports.Size == 0) {
        return slots;
    }
    for (auto* import = at<IMAGE_IMPORT_DESCRIPTOR>(base, imports.VirtualAddress); import->Name != 0; ++import) {
        // Two parallel tables: the names as they were linked, and the addresses as they were loaded.
        const auto* name = at<IMAGE_THUNK_DATA>(base, import->OriginalFirstThunk);
        auto* address = at<IMAGE_THUNK_DATA>(base, import->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address) {
            if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal) &&
                std::strcmp(at<IMAGE_IMPORT_BY_NAME>(base, name->u1.AddressOfData)->Name, function) == 0)
            {
                slots.push_back(reinterpret_cast<void**>(&address->u1.Function));
            }
        }
    }
    return slots;
}

}  // namespace

ImportHook::ImportHook(const char* function, void* replacement, HMODULE module)
{
    for (void** slot : findSlots(module != nullptr ? module : GetModuleHandleA(nullptr), function)) {
        m_entries.push_back({slot, *slot});
        write(slot, replacement);
    }
    if (m_entries.empty()) {
        throw std::runtime_error(std::string("the module does not import ") + function);
    }
}

bool importsFunction(HMODULE module, const char* function)
{
    return !findSlots(module, function).empty();
}

ImportHook::~ImportHook()
{
    for (const Entry& entry : m_entries) {
        write(entry.slot, entry.original);
    }
}

}  // namespace support
