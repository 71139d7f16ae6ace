#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace wmihost::wql {

// A text that is not WQL, or a condition that does not fit its class. what() names the place and what was expected
// there, and shows the text with a mark under the place; UTF-8.
class QueryError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// A constant of a condition as it was written, without quotes and escapes.
struct Constant
{
    enum class Kind
    {
        NULL_VALUE,
        BOOLEAN,
        NUMBER,
        TEXT
    };

    Kind kind = Kind::NULL_VALUE;
    std::wstring text;
    std::size_t place = 0;  // in the text of the query, in bytes from 0
};

enum class Operator
{
    EQUAL,
    NOT_EQUAL,
    LESS,
    LESS_OR_EQUAL,
    GREATER,
    GREATER_OR_EQUAL,
    LIKE,
    IS_A,
    IS_NULL,
    IS_NOT_NULL
};

// A property, or a property of an embedded object: {"TargetInstance", "Name"}.
struct Comparison
{
    std::vector<std::wstring> property;
    std::size_t place = 0;  // of the property
    Operator op = Operator::EQUAL;
    Constant constant;
};

struct Condition
{
    enum class Kind
    {
        COMPARISON,
        NEGATION,  // of the only part
        ALL,       // of the parts hold
        ANY        // of the parts holds
    };

    Kind kind = Kind::COMPARISON;
    Comparison comparison;
    std::vector<Condition> parts;
    std::string source;  // the whole text, for complaints; of the outermost condition alone
};

// SELECT a, b FROM class WHERE condition. The class meta_class stands for the definitions of all classes.
struct SelectQuery
{
    std::vector<std::wstring> properties;  // empty: all
    std::wstring className;
    std::optional<Condition> where;
};

// ASSOCIATORS OF {path} WHERE … and REFERENCES OF {path} WHERE …
struct RelatedQuery
{
    bool references = false;  // the associations themselves, not what is at their other ends
    std::wstring path;
    // Empty where the query does not say.
    std::wstring assocClass;
    std::wstring resultClass;
    std::wstring resultRole;
    std::wstring role;
    std::wstring requiredQualifier;
    std::wstring requiredAssocQualifier;
    bool classDefsOnly = false;
    bool keysOnly = false;
    bool schemaOnly = false;  // the path names a class, and the answer consists of classes
};

using Query = std::variant<SelectQuery, RelatedQuery>;

// Reads a query. Throws QueryError.
Query parseQuery(std::string_view text);

// Reads a condition as it stands behind WHERE of a SELECT. A value that is one word needs no quotes here, since a shell
// takes them away. Throws QueryError.
Condition parseCondition(std::string_view text);

// `reason` with the place and the text: "at character 7: reason", the text, and a mark below the place.
std::string errorAt(std::string_view text, std::size_t place, const std::string& reason);

}  // namespace wmihost::wql
