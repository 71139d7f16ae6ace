#include "wmihost/mof/MofPragmas.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "wmihost/mof/MofLiterals.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/terminal/Text.h"

namespace wmihost::mof {
namespace {

// An argument without the blanks around it.
struct Argument
{
    const Node* node;
    std::wstring text;
};

std::wstring trimmed(std::wstring_view text)
{
    constexpr std::wstring_view BLANKS = L" \t";
    const std::size_t begin = std::min(text.find_first_not_of(BLANKS), text.size());
    const std::size_t end = text.find_last_not_of(BLANKS) + 1;
    return std::wstring(text.substr(begin, end - std::min(begin, end)));
}

// The arguments of a pragma, texts and names alike.
std::vector<Argument> argumentsOf(const Node& node)
{
    std::vector<Argument> result;
    for (const auto& child : node.children) {
        if (child->is_type<text>()) {
            result.push_back({child.get(), textOf(*child)});
        } else if (child->is_type<name>()) {
            result.push_back({child.get(), nameOf(*child)});
        }
    }
    return result;
}

void changeNamespace(Context& context, const Node& node)
{
    const Node* argument = childOf<text>(node);
    if (argument == nullptr) {
        fail(node, "expected a namespace between quotes after #pragma namespace");
    }
    context.current = &context.repository.openNamespace(textOf(*argument));
}

// A text may contain several flags: "updateonly, forceupdate".
UpdateRule updateRule(const Node& node, std::initializer_list<std::wstring_view> known)
{
    UpdateRule rule;
    for (const Argument& argument : argumentsOf(node)) {
        std::wstring_view rest = argument.text;
        while (!rest.empty()) {
            const std::size_t comma = std::min(rest.find(L','), rest.size());
            const std::wstring flag = trimmed(rest.substr(0, comma));
            rest.remove_prefix(std::min(comma + 1, rest.size()));
            if (std::none_of(known.begin(), known.end(), [&flag](auto word) { return sameName(word, flag); })) {
                fail(*argument.node, "the flag " + inQuotes(flag) + " is unknown");
            }
            rule.createOnly = rule.createOnly || sameName(flag, L"createonly");
            rule.updateOnly = rule.updateOnly || sameName(flag, L"updateonly");
        }
    }
    if (rule.createOnly && rule.updateOnly) {
        fail(node, "the flags createonly and updateonly contradict each other");
    }
    return rule;
}

void setClassFlags(Context& context, const Node& node)
{
    context.classRule = updateRule(node, {L"createonly", L"updateonly", L"forceupdate", L"safeupdate"});
}

void setInstanceFlags(Context& context, const Node& node)
{
    context.instanceRule = updateRule(node, {L"createonly", L"updateonly"});
}

// Whether the pragma's second argument allows that there is nothing to delete.
bool mayBeMissing(const std::vector<Argument>& arguments)
{
    if (arguments.size() < 2 || sameName(arguments[1].text, L"fail")) {
        return false;
    }
    if (!sameName(arguments[1].text, L"nofail")) {
        fail(*arguments[1].node, "expected fail or nofail, not " + inQuotes(arguments[1].text));
    }
    return true;
}

void deleteClass(Context& context, const Node& node)
{
    const std::vector<Argument> arguments = argumentsOf(node);
    if (arguments.empty()) {
        fail(node, "expected the name of a class after #pragma deleteclass");
    }
    const bool optional = mayBeMissing(arguments);
    if (!context.nameSpace().removeClass(arguments[0].text) && !optional) {
        fail(*arguments[0].node,
             "the class " + inQuotes(arguments[0].text) + " is not declared in " + toUtf8(context.nameSpace().name()));
    }
}

void deleteInstance(Context& context, const Node& node)
{
    const std::vector<Argument> arguments = argumentsOf(node);
    if (arguments.empty()) {
        fail(node, "expected the path of an instance after #pragma deleteinstance");
    }
    const bool optional = mayBeMissing(arguments);
    if (!context.nameSpace().removeInstance(arguments[0].text) && !optional) {
        fail(*arguments[0].node,
             inQuotes(arguments[0].text) + " is not an instance in " + toUtf8(context.nameSpace().name()));
    }
}

struct Pragma
{
    std::wstring_view name;
    void (*run)(Context&, const Node&);
};

constexpr std::array<Pragma, 5> PRAGMAS{{
    {L"namespace", changeNamespace},
    {L"classflags", setClassFlags},
    {L"instanceflags", setInstanceFlags},
    {L"deleteclass", deleteClass},
    {L"deleteinstance", deleteInstance},
}};

}  // namespace

void runPragma(Context& context, const Node& node)
{
    const std::wstring name = nameIn<pragma_name>(node);
    const auto* found =
        std::find_if(PRAGMAS.begin(), PRAGMAS.end(), [&name](const Pragma& p) { return sameName(p.name, name); });
    if (found != PRAGMAS.end()) {
        found->run(context, node);
    }
}

}  // namespace wmihost::mof
