#include "wmihost/commandline/Help.h"

#include <cstddef>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Lines.h"

namespace wmihost {
namespace {

// The column of the explanations. On a narrow terminal they stand on a line of their own.
constexpr std::size_t EXPLANATION_COLUMN = 30;
constexpr std::size_t NARROW = 60;
constexpr std::size_t NARROW_INDENT = 6;

// A name in lines that fit. Choices that do not fit one line are broken between two of them.
std::string narrowName(const std::string& name, std::size_t width)
{
    std::string text = "  " + name + "\n";
    if (lengthOf(text) > width) {
        text = std::regex_replace(text, std::regex("\\|"), ", ");
    }
    return wrappedLines(text, width, NARROW_INDENT);
}

// A name and what it means, in lines that fit.
std::string entry(const std::string& name, const std::string& explanation)
{
    const auto width = lineWidth();
    const bool isNarrow = width && *width < NARROW;
    const std::size_t column = isNarrow ? NARROW_INDENT : EXPLANATION_COLUMN;
    std::string text = isNarrow ? narrowName(name, *width) : "  " + name;
    const bool below = isNarrow || lengthOf(text) >= column;
    text += below && !isNarrow ? "\n" : "";
    const auto lines = width ? wrapped(explanation, *width - std::min(column, *width - 1)) : std::vector{explanation};
    std::size_t blanks = below ? column : column - lengthOf(text);
    for (const std::string& line : lines) {
        text += std::string(blanks, ' ') + line + "\n";
        blanks = column;
    }
    return text;
}

class HelpFormatter final : public CLI::Formatter
{
public:
    std::string make_description(const CLI::App* app) const override
    {
        return wrappedLines(app->get_description() + "\n", lineWidth(), 0);
    }

    std::string make_usage(const CLI::App* app, std::string name) const override
    {
        return wrappedLines(Formatter::make_usage(app, name), lineWidth(), NARROW_INDENT);
    }

    std::string make_option(const CLI::Option* option, bool isPositional) const override
    {
        return entry(make_option_name(option, isPositional) + make_option_opts(option), make_option_desc(option));
    }

    std::string make_subcommand(const CLI::App* command) const override
    {
        return entry(command->get_name(), command->get_description());
    }

    // Examples are not wrapped, so that they can be copied.
    std::string make_footer(const CLI::App* app) const override
    {
        const CLI::App* program = app->get_parent();
        std::string footer = Formatter::make_footer(app);
        if (program == nullptr) {
            return footer;
        }
        const auto isGlobal = [program](const CLI::Option* option) {
            return option->nonpositional() && option != program->get_help_ptr();
        };
        return make_group("Options of every command", false, program->get_options(isGlobal)).substr(1) + "\n" + footer;
    }
};

}  // namespace

std::shared_ptr<CLI::FormatterBase> helpFormatter()
{
    return std::make_shared<HelpFormatter>();
}

}  // namespace wmihost
