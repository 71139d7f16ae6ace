#include "reliability/hostile/RandomMof.h"

#include <algorithm>
#include <sstream>
#include <vector>

namespace reliability {

namespace {

// Words and symbols that have a meaning in MOF, in correct and incorrect spelling. Each ends at a tilde.
constexpr const char* WORDS =
    R"(#pragma namespace("\\\\.\\root\\x")
~#pragma namespace("")
~#pragma include("none.mof")
~#pragma include("")
~#pragma include("a:b|<>*?\x1")
~#pragma autorecover
~)"
    R"(class ~instance of ~Qualifier ~#pragma ~[key]~[key] ~[in] ~[out]~[in, out, ID(0)] ~{~}~};~(~)~[~]~;~)"
    R"(:~,~=~$~$One~ as $One ~ ref ~object:~/*~*/~//~"~\~\x~\xD800~'~'\x0'~0x~0xFFFFFFFFFFFFFFFFF~-~+1~)"
    R"(-9223372036854775809~18446744073709551616~1e999~101010b~0777777777777777777777777~null~TRUE~uint8 ~)"
    R"(datetime ~string ~char16 ~real64 ~__NAMESPACE~: ToInstance DisableOverride~)"
    "\xEF\xBB\xBF~\xC3~";

const std::vector<std::string>& words()
{
    static const std::vector<std::string> all = [] {
        std::vector<std::string> words;
        std::istringstream stream(WORDS);
        for (std::string each; std::getline(stream, each, '~');) {
            words.push_back(each);
        }
        return words;
    }();
    return all;
}

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
                const std::string& word = words()[below(words().size())];
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
            text.insert(at, words()[below(words().size())]);
            break;
    }
}

}  // namespace reliability
