#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "wmihost/com/Platform.h"
#include "wmihost/commandline/CommandLine.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Interrupt.h"
#include "wmihost/terminal/Text.h"

#include <shellapi.h>

namespace {

struct LocalFreeDeleter
{
    void operator()(LPWSTR* memory) const { LocalFree(memory); }
};

// The arguments in UTF-8. The C run time would convert them to a code page that cannot represent every path.
std::vector<std::string> arguments()
{
    int count = 0;
    const std::unique_ptr<LPWSTR, LocalFreeDeleter> list(CommandLineToArgvW(GetCommandLineW(), &count));
    std::vector<std::string> result;
    for (int i = 1; i < count; ++i) {
        result.push_back(wmihost::toUtf8(list.get()[i]));
    }
    return result;
}

}  // namespace

int main()
{
    wmihost::endOnInterrupt();
    try {
        return wmihost::runCommandLine(arguments());
    } catch (const std::exception& error) {
        wmihost::writeError(std::string("wmihost: ") + error.what() + "\n");
        return 1;
    }
}
