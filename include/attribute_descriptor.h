// SPDX-License-Identifier: Apache-2.0
// How a node describes its attributes to the host: a tree of plain records. The host creates Maya attributes
// from it and from then on hands values back under the long names.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Codes of the value classes that attributes are declared with.
enum AttributeType : std::uint32_t {
    kBooleanAttribute = 0,
    kFloatAttribute = 2,
    kMatrixAttribute = 5,
    kCompoundAttribute = 10,
    kStringAttribute = 12,
};

/// One attribute. Everything starts false, 0.0 or empty; a declaration sets what differs. Fields are in the
/// order in which the host reads them.
struct AttributeDescriptor {
    std::uint32_t type = 0; ///< an AttributeType
    std::string shortName;
    std::string longName; ///< values are keyed by it
    bool reserved = false;
    bool keyable = false;
    bool hidden = false;
    bool array = false;                        ///< a sparse list of elements
    std::vector<AttributeDescriptor> children; ///< of a compound, in declaration order
    double defaultValue = 0.0;
    std::string defaultText;
    bool hasMinimum = false;
    bool hasMaximum = false;
    double minimum = 0.0;
    double maximum = 0.0;
    bool reservedState = false;
    bool cached = false;
};
