#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/FuzzTarget.h"

// Runs one fuzz target on stored inputs, so that an ordinary build tests every seed and past crash:
// PROGRAM FOLDER... A broken contract ends the process. A missing folder counts as empty, but it is an error when all
// folders together hold no input.
int main(int argc, char** argv)
{
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path folder(argv[i]);
        if (!std::filesystem::is_directory(folder)) {
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string input((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
            std::fprintf(stderr, "%s\n", entry.path().string().c_str());
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
            ++inputs;
        }
    }
    std::printf("%d inputs passed\n", inputs);
    return inputs == 0 ? 1 : 0;
}
