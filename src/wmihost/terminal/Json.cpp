#include "wmihost/terminal/Json.h"

#include "wmihost/terminal/Escape.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {

Json jsonOf(const VARIANT& value, CIMTYPE type)
{
    if (value.vt == VT_NULL || value.vt == VT_EMPTY) {
        return nullptr;
    }
    if ((value.vt & VT_ARRAY) != 0) {
        Json list = Json::array();
        for (const Variant& element : elementsOf(value)) {
            list.push_back(jsonOf(element.get(), elementTypeOf(type)));
        }
        return list;
    }
    const std::wstring text = scalarText(value, type);
    switch (elementTypeOf(type)) {
        case CIM_BOOLEAN:
            return value.boolVal != VARIANT_FALSE;
        case CIM_REAL32:
            return value.fltVal;
        case CIM_REAL64:
            return value.dblVal;
        case CIM_STRING:
        case CIM_DATETIME:
        case CIM_REFERENCE:
        case CIM_OBJECT:
            return toUtf8(text);
        default:
            if (const auto number = parseUnsigned(text)) {
                return *number;
            }
            if (const auto number = parseSigned(text)) {
                return *number;
            }
            return toUtf8(text);
    }
}

std::string jsonText(const Json& json)
{
    return withEscapes(json.dump(2), "\\u") + "\n";
}

}  // namespace wmihost
