// SPDX-License-Identifier: Apache-2.0
// The only way any part of the module reads a named value: look up, check presence, check class, or come back
// with the fault in fixed words. Safe in parallel loops: maps are read through const access only.
#pragma once

#include <memory>
#include <string>

#include "fault.h"
#include "gr_data.h"

namespace talvisora {

/// The value under `key` as class T. Absent or of another class (an empty pointer included) is a fault;
/// `value` is left untouched then.
template <class T>
Fault getRequired(const ValueMap& map, const std::string& key, std::shared_ptr<T>& value) {
    const auto entry = map.find(key);
    if (entry == map.end()) return missingAttribute(key, T::kTypeName);
    auto typed = castTo<T>(entry->second);
    if (!typed) return mistypedAttribute(key, T::kTypeName);
    value = std::move(typed);
    return {};
}

/// The same, but absence is no fault and leaves `value` as it is.
template <class T>
Fault getOptional(const ValueMap& map, const std::string& key, std::shared_ptr<T>& value) {
    return map.find(key) == map.end() ? Fault{} : getRequired(map, key, value);
}

/// The value that the host shares under "Hier" + " " + name, as class T. The name is used as it stands,
/// blanks included. `line` numbers name the three checks (empty name, absent, of another class).
template <class T>
Fault getSharedHierarchy(const ValueMap& sharedInputs, const std::string& name, const int (&lines)[3],
                         std::shared_ptr<T>& value) {
    if (name.empty()) return sharedInputFault(lines[0], "shared input name is empty");
    const std::string key = "Hier " + name;
    const auto entry = sharedInputs.find(key);
    if (entry == sharedInputs.end())
        return sharedInputFault(lines[1], "cannot find shared input '" + key + "'");
    auto typed = castTo<T>(entry->second);
    if (!typed) return sharedInputFault(lines[2], "cannot get shared input '" + key + "'. Invalid type");
    value = std::move(typed);
    return {};
}

} // namespace talvisora
