#include <windows.h>

#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

// The changes to the registry that the installer's tables cannot describe. The package contains this program and runs
// it as the system account; it is not installed. It is in C, because the product's run time may already be removed.
//
//   forget-mof PATH    stops WMI from compiling the file when it rebuilds its repository
//   delete-settings    deletes the product's settings and jobs, and the maker's key unless others use it
//
// Exit code 0: done, or nothing to do. 1: the registry refused, and a message gives the error. 2: unknown command.

static int failed(const wchar_t* what, LSTATUS status)
{
    fwprintf(stderr, L"%ls: error %ld\n", what, status);
    return 1;
}

// Removes the entries that name `file` from the list of texts, which ends with an empty text. Compares without case and
// with variables expanded. Returns the length of the remaining list, its end included.
static size_t removeFile(wchar_t* list, const wchar_t* file)
{
    wchar_t* kept = list;
    for (const wchar_t* entry = list; *entry != L'\0';) {
        const size_t length = wcslen(entry) + 1;
        wchar_t expanded[1024];
        const DWORD size = ExpandEnvironmentStringsW(entry, expanded, ARRAYSIZE(expanded));
        const wchar_t* const path = size == 0 || size > ARRAYSIZE(expanded) ? entry : expanded;
        if (_wcsicmp(path, file) != 0) {
            memmove(kept, entry, length * sizeof *kept);
            kept += length;
        }
        entry += length;
    }
    *kept++ = L'\0';
    return (size_t)(kept - list);
}

static int forgetMof(const wchar_t* file)
{
    static const wchar_t KEY[] = L"SOFTWARE\\Microsoft\\WBEM\\CIMOM";
    static const wchar_t VALUE[] = L"Autorecover MOFs";
    HKEY key = NULL;
    LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, KEY, 0, KEY_QUERY_VALUE | KEY_SET_VALUE, &key);
    if (status != ERROR_SUCCESS) {
        return status == ERROR_FILE_NOT_FOUND ? 0 : failed(KEY, status);
    }
    DWORD size = 0;
    status = RegGetValueW(key, NULL, VALUE, RRF_RT_REG_MULTI_SZ, NULL, NULL, &size);
    wchar_t* const list = status == ERROR_SUCCESS ? calloc(size + 2 * sizeof *list, 1) : NULL;
    if (list != NULL) {
        status = RegGetValueW(key, NULL, VALUE, RRF_RT_REG_MULTI_SZ, NULL, list, &size);
    }
    if (list != NULL && status == ERROR_SUCCESS) {
        const size_t left = removeFile(list, file);
        status = left > 1 ? RegSetValueExW(key, VALUE, 0, REG_MULTI_SZ, (const BYTE*)list, (DWORD)(left * sizeof *list))
                          : RegDeleteValueW(key, VALUE);
    } else if (status == ERROR_SUCCESS) {
        status = ERROR_OUTOFMEMORY;
    }
    free(list);
    RegCloseKey(key);
    return status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND ? 0 : failed(VALUE, status);
}

static int deleteSettings(void)
{
    static const wchar_t MAKER[] = L"Software\\Vexal";
    static const wchar_t SETTINGS[] = L"Software\\Vexal\\DRAVEv2";
    LSTATUS status = RegDeleteTreeW(HKEY_LOCAL_MACHINE, SETTINGS);
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) {
        return failed(SETTINGS, status);
    }
    HKEY key = NULL;
    status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, MAKER, 0, KEY_QUERY_VALUE, &key);
    if (status != ERROR_SUCCESS) {
        return status == ERROR_FILE_NOT_FOUND ? 0 : failed(MAKER, status);
    }
    DWORD keys = 0;
    DWORD values = 0;
    status = RegQueryInfoKeyW(key, NULL, NULL, NULL, &keys, NULL, NULL, &values, NULL, NULL, NULL, NULL);
    RegCloseKey(key);
    if (status == ERROR_SUCCESS && keys == 0 && values == 0) {
        status = RegDeleteKeyW(HKEY_LOCAL_MACHINE, MAKER);
    }
    return status == ERROR_SUCCESS ? 0 : failed(MAKER, status);
}

int wmain(int count, wchar_t** arguments)
{
    if (count == 3 && wcscmp(arguments[1], L"forget-mof") == 0) {
        return forgetMof(arguments[2]);
    }
    if (count == 2 && wcscmp(arguments[1], L"delete-settings") == 0) {
        return deleteSettings();
    }
    fputs("setup-action forget-mof PATH | delete-settings\n", stderr);
    return 2;
}
