#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "wmihost/repository/ClassRepository.h"

namespace wmihost {

// A mistake in a MOF file. what() is "file:line:column: what is wrong" in UTF-8.
class MofError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Reads a MOF file and the files it includes, and adds what they declare to the repository. Files may be
// UTF-8, or UTF-16 with a byte order mark. What precedes the first #pragma namespace belongs to root\default,
// as with the platform's own compiler. Throws MofError; what preceded the mistake has been added by then.
void compileMofFile(const std::filesystem::path& file, ClassRepository& repository);

// The same for a text in UTF-8; `name` is what errors call it, and where relative includes are looked for.
void compileMofText(std::string_view text, const std::filesystem::path& name, ClassRepository& repository);

// Compiles a file as compileMofFile does, and checks the rules of DSP0004 that the platform's compiler does not
// enforce. Returns what violates them, as "file:line:column: what is wrong" in UTF-8 and in the order of the text.
// Throws MofError for what neither compiler accepts.
std::vector<std::string> checkMofFile(const std::filesystem::path& file, ClassRepository& repository);

// The same for a text in UTF-8.
std::vector<std::string> checkMofText(std::string_view text, const std::filesystem::path& name,
                                      ClassRepository& repository);

}  // namespace wmihost
