#include <vector>

#include "Utils/Utils.h"
#include "fuzz/FuzzTarget.h"

namespace {

// Returns the position of the quote that closes the one at `open`, or the end of the text if there is none.
std::size_t closingQuote(const std::string& text, std::size_t open, char quote)
{
    std::size_t position = open + 1;
    while (position < text.size() && (text[position] != quote || text[position - 1] == '\\')) {
        ++position;
    }
    return position;
}

// The rule, written with positions: nothing separates between a quote and its closing quote. A closing quote is outside
// the quotes again, so it separates if it is the separator as well.
std::vector<std::string> piecesOf(const std::string& text, char separator, char quote)
{
    std::vector<std::string> pieces;
    std::size_t begin = 0;
    std::size_t position = 0;
    while (position < text.size()) {
        if (text[position] == quote) {
            position = closingQuote(text, position, quote);
        }
        if (position < text.size() && text[position] == separator) {
            pieces.push_back(text.substr(begin, position - begin));
            begin = position + 1;
        }
        ++position;
    }
    if (!text.empty()) {
        pieces.push_back(text.substr(begin));
    }
    return pieces;
}

}  // namespace

// The first two bytes are the separator and the quote character.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2) {
        return 0;
    }
    const char separator = static_cast<char>(data[0]);
    const char quote = static_cast<char>(data[1]);
    const std::string text = fuzz::textOf(data + 2, size - 2);
    const std::vector<std::string> pieces = utils::split(text, separator, quote);
    std::string joined;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        joined += (i == 0 ? "" : std::string(1, separator)) + pieces[i];
    }
    fuzz::require(joined == text, "the pieces and the separators are the text", text);
    fuzz::require(pieces == piecesOf(text, separator, quote), "it cuts at every separator outside quotes", text);
    return 0;
}
