#include <memory>

#include "Utils/Exception.h"
#include "core/CimInstance.h"
#include "core/CimPath.h"
#include "core/CimPropertyTypes.h"
#include "fuzz/FuzzTarget.h"

namespace {

// An instance whose object path has the same class and keys.
std::unique_ptr<core::CimInstance> instanceOf(const core::CimPath& path)
{
    auto instance = std::make_unique<core::CimInstance>(path.getClassName());
    for (const auto& [name, value] : path) {
        auto* key = new core::CimPropertyString(name.c_str(), instance.get());
        key->setKey(true);
        key->setValue(value);
    }
    return instance;
}

// When a value ends with a backslash, the reader takes its closing quote for an escaped one. Paths are written in that
// form, and clients know it.
bool survivesRendering(const core::CimPath& path)
{
    for (const auto& [name, value] : path) {
        if (!value.empty() && value.back() == '\\') {
            return false;
        }
    }
    return true;
}

bool sameKeys(const core::CimPath& left, const core::CimPath& right)
{
    if (left.size() != right.size()) {
        return false;
    }
    for (const auto& [name, value] : left) {
        const std::string* other = right.find(name);
        if (other == nullptr || *other != value) {
            return false;
        }
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = fuzz::textOf(data, size);
    try {
        const core::CimPath path(text);
        fuzz::require(!path.getClassName().empty() && path.size() != 0, "a path has a class and a key", text);
        fuzz::require(text.ends_with(path.getModelPath()), "the model path is what follows the namespace", text);
        if (survivesRendering(path)) {
            const std::string rendered = instanceOf(path)->toPathString();
            const core::CimPath again(rendered);
            fuzz::require(again.getClassName() == path.getClassName(), "rendering keeps the class", rendered);
            fuzz::require(sameKeys(path, again), "rendering keeps the keys", rendered);
        }
    } catch (const utils::ESyntaxError&) {
        // Most texts are syntax errors. Any other exception ends the process.
        return 0;
    }
    return 0;
}
