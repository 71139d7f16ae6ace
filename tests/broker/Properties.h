#pragma once

#include <string>
#include <vector>

#include "core/CimInstance.h"

namespace support {

// The property's value as text: "null", the number, the text itself, "true" or "false", "{a, b}" for an array, a
// datetime as its microseconds after "at " or "for ", a reference as the path that it refers to.
std::string valueText(const core::CimProperty& property);

// "Name=value" of each property of the instance, in order.
std::vector<std::string> values(core::CimInstance& instance);

// The property's value as text, or "missing".
std::string value(core::CimInstance& instance, const std::string& name);

}  // namespace support
