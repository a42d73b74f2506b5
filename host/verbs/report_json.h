// SPDX-License-Identifier: Apache-2.0
// The report of a verb for programs: one JSON object that begins with its format and ends with a line end.
#pragma once

#include "host/capture/json_writer.h"

#include <initializer_list>
#include <string>
#include <utility>

namespace talvisora::host {

class ReportJson : public JsonWriter {
public:
    /// `linedLevels` as for JsonWriter.
    explicit ReportJson(const char* format, std::size_t linedLevels = 3) : JsonWriter(linedLevels) {
        beginObject().key("format").value(format);
    }

    /// Several members at once, in this order: what there is so and so many of.
    void counts(std::initializer_list<std::pair<const char*, std::uint64_t>> members) {
        for (const auto& [name, count] : members) key(name).value(count);
    }

    /// Ends the object; the whole text.
    std::string done() { return endObject().text() + "\n"; }
};

} // namespace talvisora::host
