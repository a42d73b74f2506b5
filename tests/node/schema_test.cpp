// SPDX-License-Identifier: Apache-2.0
// The attribute tree, field by field.
#include "node/schema.h"

#include <gtest/gtest.h>

#include <functional>

#include "node/my_node.h"

namespace talvisora {
namespace {

std::vector<AttributeDescriptor> schema() {
    std::vector<AttributeDescriptor> attributes;
    appendSchema(attributes);
    return attributes;
}

/// One attribute in one line: name, type code, letters for its flags, default, range, number of children.
std::string line(const AttributeDescriptor& a) {
    std::string text = a.shortName + " " + std::to_string(a.type) + " ";
    if (a.array) text += 'a';
    if (a.keyable) text += 'k';
    if (a.hidden) text += 'h';
    if (a.cached) text += 'c';
    if (a.reserved || a.reservedState) text += '!';
    text += " " + std::to_string(a.defaultValue).substr(0, 3) + " '" + a.defaultText + "'";
    if (a.hasMinimum != a.hasMaximum) text += " half a range";
    if (a.hasMinimum)
        text += " [" + std::to_string(a.minimum).substr(0, 1) + "," + std::to_string(a.maximum).substr(0, 1) +
                "]";
    if (!a.children.empty()) text += " +" + std::to_string(a.children.size());
    return text;
}

std::vector<std::string> lines(const std::vector<AttributeDescriptor>& attributes) {
    std::vector<std::string> texts;
    for (const AttributeDescriptor& a : attributes) texts.push_back(line(a));
    return texts;
}

void walk(const std::vector<AttributeDescriptor>& attributes,
          const std::function<void(const AttributeDescriptor&)>& visit) {
    for (const AttributeDescriptor& a : attributes) {
        visit(a);
        walk(a.children, visit);
    }
}

TEST(Schema, HasTenTopLevelAttributesInTheirOrder) {
    EXPECT_EQ(lines(schema()), (std::vector<std::string>{
                                   "hier_name 12 c 0.0 'hier'",
                                   "geoMatrix 5 h 0.0 ''",
                                   "tempWeights 2 ahc 1.0 '' [0,1]",
                                   "collisionTweakWeights 2 ahc 1.0 '' [0,1]",
                                   "bulgeTweakWeights 2 ahc 1.0 '' [0,1]",
                                   "centerInTweakWeights 2 ahc 1.0 '' [0,1]",
                                   "centerOutTweakWeights 2 ahc 1.0 '' [0,1]",
                                   "slideInTweakWeights 2 ahc 1.0 '' [0,1]",
                                   "slideOutTweakWeights 2 ahc 1.0 '' [0,1]",
                                   "block 10 a 0.0 '' +8",
                               }));
}

TEST(Schema, HasEightChildrenInABlock) {
    EXPECT_EQ(lines(schema().back().children), (std::vector<std::string>{
                                                   "name 12 c 0.0 '' [0,1]",
                                                   "env 2 k 1.0 '' [0,1]",
                                                   "joints 12 ac 0.0 ''",
                                                   "params 2 ahc 0.0 '' [0,1]",
                                                   "blockWeights 2 ahc 1.0 '' [0,1]",
                                                   "simple 0 kc 0.0 ''",
                                                   "bends 12 ac 0.0 ''",
                                                   "tweaks 10 ac 0.0 '' +14",
                                               }));
}

TEST(Schema, HasFourteenChildrenInATweak) {
    EXPECT_EQ(lines(schema().back().children.back().children), (std::vector<std::string>{
                                                                   "collisionTweak 2 c 0.0 '' [0,1]",
                                                                   "collisionPlaneTweak 2 c 0.5 '' [0,1]",
                                                                   "bulgeTweak 2 c 0.0 ''",
                                                                   "collisionBulgeTweak 2 c 0.0 ''",
                                                                   "centerInTweak 2 c 0.0 ''",
                                                                   "centerOutTweak 2 c 0.0 ''",
                                                                   "slidePrevInTweak 2 c 0.0 ''",
                                                                   "slideNextInTweak 2 c 0.0 ''",
                                                                   "slidePrevOutTweak 2 c 0.0 ''",
                                                                   "slideNextOutTweak 2 c 0.0 ''",
                                                                   "slideOrthoPrevInTweak 2 c 0.0 ''",
                                                                   "slideOrthoNextInTweak 2 c 0.0 ''",
                                                                   "slideOrthoPrevOutTweak 2 c 0.0 ''",
                                                                   "slideOrthoNextOutTweak 2 c 0.0 ''",
                                                               }));
}

TEST(Schema, LongNamesAreThePrefixAndTheShortName) {
    int count = 0;
    walk(schema(), [&](const AttributeDescriptor& a) {
        EXPECT_EQ(a.longName, "talvisora__" + a.shortName);
        EXPECT_FALSE(a.shortName.empty());
        ++count;
    });
    EXPECT_EQ(count, 10 + 8 + 14);
}

TEST(Schema, EnvIsTheOnlyFloatThatIsKeyableAndNotCached) {
    std::vector<std::string> found, uncached;
    walk(schema(), [&](const AttributeDescriptor& a) {
        if (a.type == kFloatAttribute && a.keyable && !a.cached) found.push_back(a.shortName);
        if (!a.cached) uncached.push_back(a.shortName);
    });
    EXPECT_EQ(found, std::vector<std::string>{"env"});
    EXPECT_EQ(uncached, (std::vector<std::string>{"geoMatrix", "block", "env"}));
}

TEST(Schema, OnlyTheFirstTwoTweaksAreBounded) {
    const std::vector<AttributeDescriptor> attributes = schema();
    const std::vector<AttributeDescriptor>& tweaks = attributes.back().children.back().children;
    for (std::size_t field = 0; field < tweaks.size(); ++field)
        EXPECT_EQ(tweaks[field].hasMinimum && tweaks[field].hasMaximum, field < 2) << tweaks[field].shortName;
}

TEST(Schema, IsAppendedToWhatIsThere) {
    MyNode node;
    std::vector<AttributeDescriptor> attributes(1);
    attributes[0].shortName = "before";
    node.declareAttributes(attributes);
    ASSERT_EQ(attributes.size(), 11u);
    EXPECT_EQ(attributes[0].shortName, "before");
    EXPECT_EQ(attributes[1].longName, "talvisora__hier_name");
}

} // namespace
} // namespace talvisora
