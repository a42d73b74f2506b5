// SPDX-License-Identifier: Apache-2.0
// Typed getters and the shared-input look-up: what they find, and their words when they do not.
#include "attributes.h"

#include <gtest/gtest.h>

#include "fixtures/values.h"
#include "hierarchy.h"

namespace talvisora {
namespace {

using namespace fixtures;

constexpr int kLines[3] = {11, 22, 33};

template <class T>
void expectMissingAndMistypedTexts(const std::string& typeName) {
    ValueMap map;
    std::shared_ptr<T> value;
    EXPECT_EQ(getRequired(map, "KEY", value).text(),
              "get attributes: cannot find 'KEY' (" + typeName + ") attribute");
    map["KEY"] = std::make_shared<GrData>();
    EXPECT_EQ(getRequired(map, "KEY", value).text(),
              "get attributes: invalid type of 'KEY' (" + typeName + " expected)");
    EXPECT_EQ(value, nullptr);
    map["KEY"] = std::make_shared<T>();
    EXPECT_FALSE(getRequired(map, "KEY", value));
    EXPECT_EQ(value, map["KEY"]);
}

TEST(Getters, NameKeyAndClassOfWhatIsMissingOrMistyped) {
    expectMissingAndMistypedTexts<GrBoolean>("GrBoolean");
    expectMissingAndMistypedTexts<GrInt>("GrInt");
    expectMissingAndMistypedTexts<GrFloat>("GrFloat");
    expectMissingAndMistypedTexts<GrDouble>("GrDouble");
    expectMissingAndMistypedTexts<GrString>("GrString");
    expectMissingAndMistypedTexts<GrPtr>("GrPtr");
    expectMissingAndMistypedTexts<GrMatrix>("GrMatrix");
    expectMissingAndMistypedTexts<GrCompound>("GrCompound");
}

TEST(Getters, TreatAnEmptyPointerAsOfTheWrongClass) {
    const ValueMap map{{"ENVELOPE", nullptr}};
    std::shared_ptr<GrFloat> value;
    EXPECT_EQ(getRequired(map, "ENVELOPE", value).text(),
              "get attributes: invalid type of 'ENVELOPE' (GrFloat expected)");
    EXPECT_EQ(getOptional(map, "ENVELOPE", value).text(),
              "get attributes: invalid type of 'ENVELOPE' (GrFloat expected)");
}

TEST(Getters, OptionalOnesKeepTheDefaultOfWhatIsAbsent) {
    const ValueMap map;
    std::shared_ptr<GrInt> value = integer(7);
    EXPECT_FALSE(getOptional(map, "DEBUG_MODE", value));
    EXPECT_EQ(value->value, 7);
}

TEST(SharedHierarchy, IsNotLookedUpUnderAnEmptyName) {
    ValueMap shared{{"Hier ", std::make_shared<GrHierarchy>()}};
    std::shared_ptr<GrHierarchy> value;
    EXPECT_EQ(getSharedHierarchy(shared, "", kLines, value).text(),
              "(deformers/talvisora/talvisora:11): shared input name is empty");
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(shared.size(), 1u);
}

TEST(SharedHierarchy, NamesTheKeyThatIsAbsentAndAddsNone) {
    ValueMap shared;
    std::shared_ptr<GrHierarchy> value;
    EXPECT_EQ(getSharedHierarchy(shared, "rig", kLines, value).text(),
              "(deformers/talvisora/talvisora:22): cannot find shared input 'Hier rig'");
    EXPECT_TRUE(shared.empty());
}

TEST(SharedHierarchy, RefusesAnotherClassAndAnEmptyEntry) {
    for (const std::shared_ptr<GrData>& wrong :
         {std::shared_ptr<GrData>(number(1)), std::shared_ptr<GrData>()}) {
        const ValueMap shared{{"Hier rig", wrong}};
        std::shared_ptr<GrHierarchy> value;
        EXPECT_EQ(getSharedHierarchy(shared, "rig", kLines, value).text(),
                  "(deformers/talvisora/talvisora:33): cannot get shared input 'Hier rig'. Invalid type");
    }
}

TEST(SharedHierarchy, KeepsTheBlanksOfAName) {
    const auto one = std::make_shared<GrHierarchy>(), two = std::make_shared<GrHierarchy>();
    const ValueMap shared{{"Hier a b", one}, {"Hier  x", two}};
    std::shared_ptr<GrHierarchy> value;
    EXPECT_FALSE(getSharedHierarchy(shared, "a b", kLines, value));
    EXPECT_EQ(value, one);
    EXPECT_FALSE(getSharedHierarchy(shared, " x", kLines, value));
    EXPECT_EQ(value, two);
    EXPECT_EQ(getSharedHierarchy(shared, "x", kLines, value).text(),
              "(deformers/talvisora/talvisora:22): cannot find shared input 'Hier x'");
}

} // namespace
} // namespace talvisora
