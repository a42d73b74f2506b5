// SPDX-License-Identifier: Apache-2.0
// The attribute tree as tables, and the walk that turns rows into descriptors.
#include "node/schema.h"

#include <cstring>
#include <iterator>
#include <utility>

#include "node/attribute_names.h"

namespace talvisora {
namespace {

enum Flag : unsigned {
    kNone = 0,
    kArray = 1,
    kKeyable = 2,
    kHidden = 4,
    kCached = 8,
    kRange01 = 16,
};

struct Row {
    const std::string& longName;
    std::uint32_t type;
    unsigned flags;
    double defaultValue;
    const char* defaultText;
};

AttributeDescriptor describe(const Row& row) {
    AttributeDescriptor descriptor;
    descriptor.type = row.type;
    descriptor.shortName = row.longName.substr(std::strlen(kLongNamePrefix));
    descriptor.longName = row.longName;
    descriptor.keyable = (row.flags & kKeyable) != 0;
    descriptor.hidden = (row.flags & kHidden) != 0;
    descriptor.array = (row.flags & kArray) != 0;
    descriptor.defaultValue = row.defaultValue;
    descriptor.defaultText = row.defaultText;
    if (row.flags & kRange01) {
        descriptor.hasMinimum = descriptor.hasMaximum = true;
        descriptor.maximum = 1.0;
    }
    descriptor.cached = (row.flags & kCached) != 0;
    return descriptor;
}

AttributeDescriptor describeTweaks() {
    AttributeDescriptor tweaks =
        describe({attribute::kTweaks, kCompoundAttribute, kArray | kCached, 0.0, ""});
    for (int field = 0; field < attribute::kTweakFieldCount; ++field) {
        // Only the two collision amounts are shares of something; only the plane starts in the middle.
        const bool bounded = field < 2;
        tweaks.children.push_back(
            describe({attribute::kTweakFields[field], kFloatAttribute, bounded ? kCached | kRange01 : kCached,
                      field == 1 ? 0.5 : 0.0, ""}));
    }
    return tweaks;
}

AttributeDescriptor describeBlock() {
    const Row children[] = {
        // Kept on purpose: a range on a text. It has no effect.
        {attribute::kName, kStringAttribute, kCached | kRange01, 0.0, ""},
        {attribute::kEnv, kFloatAttribute, kKeyable | kRange01, 1.0, ""},
        {attribute::kJoints, kStringAttribute, kArray | kCached, 0.0, ""},
        {attribute::kParams, kFloatAttribute, kArray | kHidden | kCached | kRange01, 0.0, ""},
        {attribute::kBlockWeights, kFloatAttribute, kArray | kHidden | kCached | kRange01, 1.0, ""},
        {attribute::kSimple, kBooleanAttribute, kKeyable | kCached, 0.0, ""},
        {attribute::kBends, kStringAttribute, kArray | kCached, 0.0, ""},
    };
    AttributeDescriptor block = describe({attribute::kBlock, kCompoundAttribute, kArray, 0.0, ""});
    for (const Row& child : children) block.children.push_back(describe(child));
    block.children.push_back(describeTweaks());
    return block;
}

} // namespace

void appendSchema(std::vector<AttributeDescriptor>& attributes) {
    constexpr unsigned kWeightMap = kArray | kHidden | kCached | kRange01;
    std::vector<AttributeDescriptor> schema;
    schema.push_back(describe({attribute::kHierarchyName, kStringAttribute, kCached, 0.0, "hier"}));
    schema.push_back(describe({attribute::kGeoMatrix, kMatrixAttribute, kHidden, 0.0, ""}));
    schema.push_back(describe({attribute::kTempWeights, kFloatAttribute, kWeightMap, 1.0, ""}));
    for (const std::string& map : attribute::kWeightMaps)
        schema.push_back(describe({map, kFloatAttribute, kWeightMap, 1.0, ""}));
    schema.push_back(describeBlock());

    attributes.reserve(attributes.size() + schema.size());
    std::move(schema.begin(), schema.end(), std::back_inserter(attributes));
}

} // namespace talvisora
