#include "wmihost/mof/MofCompiler.h"

#include <optional>
#include <set>

#include "wmihost/mof/MofClasses.h"
#include "wmihost/mof/MofInstances.h"
#include "wmihost/mof/MofLiterals.h"
#include "wmihost/mof/MofMessages.h"
#include "wmihost/mof/MofPragmas.h"
#include "wmihost/mof/MofSource.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

std::string asText(const std::filesystem::path& path)
{
    return toUtf8(path.wstring());
}

// The same for all names of a file, such as "a.mof" and "sub/../A.mof".
std::wstring identityOf(const std::filesystem::path& file)
{
    return foldName(file.lexically_normal().wstring());
}

class MofCompiler
{
public:
    explicit MofCompiler(ClassRepository& repository) : m_context(repository) {}

    // From now on the rules of DSP0004 are checked as well.
    void enableStrictRules() { m_context.strict.enable(m_context.qualifiers); }
    const std::vector<std::string>& violations() const { return m_context.strict.violations(); }

    void compileFile(const std::filesystem::path& file)
    {
        const std::optional<std::string> text = mof::readSource(file);
        if (!text) {
            throw MofError(asText(file) + ": the file cannot be opened");
        }
        m_open.insert(identityOf(file));
        compileText(*text, file);
        m_open.erase(identityOf(file));
    }

    void compileText(std::string_view text, const std::filesystem::path& name)
    {
        namespace parse_tree = mof::p::parse_tree;
        // cppcheck-suppress invalidLifetime ; the text is the caller's and lives until this call returns
        mof::p::memory_input input(text.data(), text.data() + text.size(), asText(name));
        try {
            const auto root = parse_tree::parse<mof::file, mof::selector, mof::action, mof::control>(input);
            mof::InstanceDeclarations instances(m_context);
            for (const auto& node : root->children) {
                statement(*node, name, instances);
            }
            instances.declarePostponed();
        } catch (const mof::p::parse_error& error) {
            mof::fail(error.positions().front(), error.message());
        }
    }

private:
    void statement(const mof::Node& node, const std::filesystem::path& file, mof::InstanceDeclarations& instances)
    {
        if (node.is_type<mof::pragma>()) {
            pragma(node, file);
        } else if (node.is_type<mof::include>()) {
            m_context.strict.checkInclude(node);
            include(*node.children.front(), file);
        } else if (node.is_type<mof::qualifier_declaration>()) {
            m_context.qualifiers.declare(node);
        } else {
            const mof::Node& declared = *node.children.back();
            const mof::Node* qualifiers = childOf<mof::qualifiers>(node);
            if (declared.is_type<mof::class_declaration>()) {
                mof::declareClass(m_context, declared, qualifiers);
            } else {
                instances.declare(declared, qualifiers);
            }
        }
    }

    void pragma(const mof::Node& node, const std::filesystem::path& file)
    {
        const mof::Node& nameNode = *childOf<mof::pragma_name>(node);
        m_context.strict.checkPragma(nameNode);
        if (!sameName(mof::nameOf(nameNode), L"include")) {
            mof::runPragma(m_context, node);
            return;
        }
        const mof::Node* argument = childOf<mof::text>(node);
        if (argument == nullptr) {
            mof::fail(node, "expected the name of a file between quotes after #pragma include");
        }
        include(*argument, file);
    }

    void include(const mof::Node& name, const std::filesystem::path& from)
    {
        const std::filesystem::path path = from.parent_path() / mof::textOf(name);
        if (!std::filesystem::exists(path)) {
            mof::fail(name, "the included file '" + asText(path) + "' does not exist");
        }
        if (m_open.contains(identityOf(path))) {
            mof::fail(name, "the file '" + asText(path) + "' includes itself");
        }
        compileFile(path);
    }

    mof::Context m_context;
    std::set<std::wstring> m_open;  // the identities of the files that are being read
};

}  // namespace

void compileMofFile(const std::filesystem::path& file, ClassRepository& repository)
{
    MofCompiler(repository).compileFile(file);
}

void compileMofText(std::string_view text, const std::filesystem::path& name, ClassRepository& repository)
{
    MofCompiler(repository).compileText(text, name);
}

std::vector<std::string> checkMofFile(const std::filesystem::path& file, ClassRepository& repository)
{
    MofCompiler compiler(repository);
    compiler.enableStrictRules();
    compiler.compileFile(file);
    return compiler.violations();
}

std::vector<std::string> checkMofText(std::string_view text, const std::filesystem::path& name,
                                      ClassRepository& repository)
{
    MofCompiler compiler(repository);
    compiler.enableStrictRules();
    compiler.compileText(text, name);
    return compiler.violations();
}

}  // namespace wmihost
