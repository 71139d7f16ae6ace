#include "reliability/hostile/RandomMof.h"

#include <algorithm>
#include <array>

namespace reliability {

namespace {

// Words and symbols that have a meaning in MOF, in correct and incorrect spelling.
constexpr std::array<std::string_view, 60> WORDS{"class ",
                                                 "instance of ",
                                                 "Qualifier ",
                                                 "#pragma ",
                                                 "#pragma namespace(\"\\\\\\\\.\\\\root\\\\x\")\n",
                                                 "#pragma namespace(\"\")\n",
                                                 "#pragma include(\"none.mof\")\n",
                                                 "#pragma include(\"\")\n",
                                                 "#pragma include(\"a:b|<>*?\\x1\")\n",
                                                 "#pragma autorecover\n",
                                                 "[key]",
                                                 "[key] ",
                                                 "[in] ",
                                                 "[out]",
                                                 "[in, out, ID(0)] ",
                                                 "{",
                                                 "}",
                                                 "};",
                                                 "(",
                                                 ")",
                                                 "[",
                                                 "]",
                                                 ";",
                                                 ":",
                                                 ",",
                                                 "=",
                                                 "$",
                                                 "$One",
                                                 " as $One ",
                                                 " ref ",
                                                 "object:",
                                                 "/*",
                                                 "*/",
                                                 "//",
                                                 "\"",
                                                 "\\",
                                                 "\\x",
                                                 "\\xD800",
                                                 "'",
                                                 "'\\x0'",
                                                 "0x",
                                                 "0xFFFFFFFFFFFFFFFFF",
                                                 "-",
                                                 "+1",
                                                 "-9223372036854775809",
                                                 "18446744073709551616",
                                                 "1e999",
                                                 "101010b",
                                                 "0777777777777777777777777",
                                                 "null",
                                                 "TRUE",
                                                 "uint8 ",
                                                 "datetime ",
                                                 "string ",
                                                 "char16 ",
                                                 "real64 ",
                                                 "__NAMESPACE",
                                                 ": ToInstance DisableOverride",
                                                 "\xEF\xBB\xBF",
                                                 "\xC3"};

}  // namespace

std::string RandomMof::changed(std::string_view sound)
{
    std::string text(sound);
    for (std::size_t count = 1 + below(6); count != 0; --count) {
        change(text);
    }
    return text;
}

void RandomMof::change(std::string& text)
{
    const std::size_t at = below(text.size() + 1);
    const std::size_t length = std::min(text.size() - at, below(60));
    switch (below(8)) {
        case 0:
            if (at < text.size()) {
                text[at] = static_cast<char>(below(256));
            }
            break;
        case 1:
            text.erase(at, length);
            break;
        case 2:
            text.insert(below(text.size() + 1), text.substr(at, length));
            break;
        case 3: {
            const std::string run = text.substr(at, length);
            text.erase(at, length);
            text.insert(below(text.size() + 1), run);
            break;
        }
        case 4:
            // Sometimes longer than a reader expects.
            if (below(20) == 0) {
                std::string many;
                const std::string_view word = WORDS[below(WORDS.size())];
                for (std::size_t times = below(2000); times != 0; --times) {
                    many += word;
                }
                text.insert(at, many);
            }
            break;
        case 5:
            if (below(20) == 0) {
                text.resize(at);
            }
            break;
        default:
            text.insert(at, WORDS[below(WORDS.size())]);
            break;
    }
}

}  // namespace reliability
