// SPDX-License-Identifier: Apache-2.0
// What an evaluation asks for, in which order, and what it says when it does not get it.
#include <gtest/gtest.h>

#include "fixtures/node_test.h"

namespace talvisora {
namespace {

using namespace fixtures;

class CpuInputs : public NodeTest {
protected:
    CpuInputs() { makeRig(); }

    void expectError(const std::string& text) {
        EXPECT_EQ(evaluate(), 1);
        EXPECT_EQ(errorsWithoutLine(), std::vector<std::string>{"arm: " + text});
        EXPECT_TRUE(pointsAreUntouched());
    }
    void expectSuccess() {
        EXPECT_EQ(evaluate(), 0);
        EXPECT_EQ(errors(), std::vector<std::string>{});
        EXPECT_FALSE(pointsAreUntouched());
    }
};

const std::string kAssert = "ASSERT error (deformers/talvisora/talvisora:LINE): ";
const std::string kShared = "(deformers/talvisora/talvisora:LINE): ";

TEST_F(CpuInputs, AllThere) {
    expectSuccess();
}

TEST_F(CpuInputs, AbsentDebugModeIsSilentAndAnotherClassIsNot) {
    attributes.erase(setting::kDebugMode);
    expectSuccess();
    attributes[setting::kDebugMode] = integer(4);
    expectSuccess();
    attributes[setting::kDebugMode] = number(4);
    expectError("get attributes: invalid type of 'DEBUG_MODE' (GrInt expected)");
}

TEST_F(CpuInputs, TangentTurnIsOptionalAndReadAfterDebugMode) {
    attributes[setting::kTangentTurn] = boolean(true);
    attributes.erase(setting::kCacheAttributes);
    expectError("get attributes: invalid type of 'TANGENT_TURN' (GrInt expected)");
    attributes[setting::kDebugMode] = nullptr;
    expectError("get attributes: invalid type of 'DEBUG_MODE' (GrInt expected)");
}

TEST_F(CpuInputs, EveryRequiredValueIsNamedWhenAbsentMistypedOrEmpty) {
    std::vector<std::pair<std::string, std::string>> required = {
        {"CACHE_ATTRIBUTES", "GrBoolean"},
        {"ENVELOPE", "GrFloat"},
        {"SOA_ENABLED", "GrBoolean"},
        {"talvisora__hier_name", "GrString"},
        {"talvisora__geoMatrix", "GrMatrix"},
        {"talvisora__tempWeights", "GrFloat"},
        {"talvisora__collisionTweakWeights", "GrFloat"},
        {"talvisora__bulgeTweakWeights", "GrFloat"},
        {"talvisora__centerInTweakWeights", "GrFloat"},
        {"talvisora__centerOutTweakWeights", "GrFloat"},
        {"talvisora__slideInTweakWeights", "GrFloat"},
        {"talvisora__slideOutTweakWeights", "GrFloat"},
        {"talvisora__block", "GrCompound"},
    };
    for (const auto& [name, type] : required) {
        const auto kept = attributes.at(name);
        attributes.erase(name);
        expectError("get attributes: cannot find '" + name + "' (" + type + ") attribute");
        attributes[name] = integer(1);
        expectError("get attributes: invalid type of '" + name + "' (" + type + " expected)");
        attributes[name] = nullptr;
        expectError("get attributes: invalid type of '" + name + "' (" + type + " expected)");
        attributes[name] = kept;
    }
    expectSuccess();
}

TEST_F(CpuInputs, AreReportedInTheirOrder) {
    // Take one more away each time, from the last to the first: the first one missing is named.
    const std::vector<std::pair<std::string, std::string>> backwards = {
        {"talvisora__block", "GrCompound"},
        {"talvisora__slideOutTweakWeights", "GrFloat"},
        {"talvisora__tempWeights", "GrFloat"},
        {"talvisora__geoMatrix", "GrMatrix"},
        {"talvisora__hier_name", "GrString"},
        {"SOA_ENABLED", "GrBoolean"},
        {"ENVELOPE", "GrFloat"},
        {"CACHE_ATTRIBUTES", "GrBoolean"}};
    for (const auto& [name, type] : backwards) {
        attributes.erase(name);
        expectError("get attributes: cannot find '" + name + "' (" + type + ") attribute");
    }
}

TEST_F(CpuInputs, AnEmptyHierarchyNameFailsBeforeAnyLookUp) {
    attributes[attribute::kHierarchyName] = makeText("");
    node.sharedInputs["Hier "] = hierarchy;
    const std::size_t entries = node.sharedInputs.size();
    expectError(kShared + "shared input name is empty");
    EXPECT_EQ(node.sharedInputs.size(), entries + 1); // the point count's entry, nothing else
}

TEST_F(CpuInputs, AHierarchyThatIsAbsentOrOfAnotherKindIsNamed) {
    attributes[attribute::kHierarchyName] = makeText("rig b");
    expectError(kShared + "cannot find shared input 'Hier rig b'");
    EXPECT_EQ(node.sharedInputs.count("Hier rig b"), 0u);
    node.sharedInputs["Hier rig b"] = nullptr;
    expectError(kShared + "cannot get shared input 'Hier rig b'. Invalid type");
    node.sharedInputs["Hier rig b"] = number(1);
    expectError(kShared + "cannot get shared input 'Hier rig b'. Invalid type");
    node.sharedInputs["Hier rig b"] = hierarchy;
    expectSuccess();
}

TEST_F(CpuInputs, NoBlocksAreReportedAfterTheHierarchy) {
    attributes[attribute::kBlock] = compound({});
    node.blockCount = 7;
    expectError(kAssert + "block is NULL");
    EXPECT_EQ(node.blockCount, 7);
    EXPECT_TRUE(node.rebuildCache);
    attributes[attribute::kHierarchyName] = makeText("nowhere");
    expectError(kShared + "cannot find shared input 'Hier nowhere'");
}

TEST_F(CpuInputs, AnEnvelopeBelowTheLimitChangesNothingAtAll) {
    for (float envelope : {0.000009f, 0.0f, -1.0f, kNaN}) {
        attributes[setting::kEnvelope] = number(envelope);
        attributes.erase(attribute::kBlock); // not even looked at
        EXPECT_EQ(evaluate(), 0) << envelope;
        EXPECT_TRUE(pointsAreUntouched());
        EXPECT_TRUE(node.rebuildCache);
        EXPECT_TRUE(node.blockWeights.empty());
        EXPECT_EQ(node.blockCount, 0);
    }
    EXPECT_EQ(errors(), std::vector<std::string>{});
    EXPECT_EQ(node.sharedInputs.count("SOA_POINTS"), 1u);
}

TEST_F(CpuInputs, AnEnvelopeAtTheLimitDeforms) {
    // With the gate open the block weight is 0.00001 too, which is the point mathematics' own limit.
    attributes[setting::kEnvelope] = number(0.00001f);
    expectSuccess();
    EXPECT_FALSE(node.rebuildCache);
}

TEST_F(CpuInputs, AnInactiveRecordMarksTheNodeAsBuiltAndDeformsNothing) {
    record.active = 0;
    node.sharedInputs.erase("Hier hier"); // not looked up any more
    EXPECT_EQ(evaluate(), 0);
    EXPECT_EQ(errors(), std::vector<std::string>{});
    EXPECT_TRUE(pointsAreUntouched());
    EXPECT_FALSE(node.rebuildCache);
    node.sharedInputs["Hier hier"] = hierarchy;
    record.active = 1;
    expectSuccess();
    EXPECT_EQ(node.blockWeights.size(), input.size());
}

TEST_F(CpuInputs, AnInactiveRecordStillNeedsItsAttributes) {
    record.active = 0;
    attributes.erase(attribute::kBlock);
    expectError("get attributes: cannot find 'talvisora__block' (GrCompound) attribute");
}

TEST_F(CpuInputs, AnyOtherActiveByteIsActive) {
    record.active = 2;
    expectSuccess();
}

TEST_F(CpuInputs, SharedPointLayoutRunsTheSetUpAndWritesNoPoint) {
    attributes[setting::kSoaEnabled] = boolean(true);
    node.sharedInputs["SOA_POINTS"] = integer(static_cast<std::int32_t>(input.size()));
    EXPECT_EQ(evaluate(), 0);
    EXPECT_EQ(errors(), std::vector<std::string>{});
    EXPECT_TRUE(pointsAreUntouched());
    EXPECT_FALSE(node.rebuildCache);
    EXPECT_EQ(node.blockCount, 1);
    ASSERT_EQ(node.cvParameters.size(), 30u);
    EXPECT_EQ(node.cvParameters[9], 1.0f);
    EXPECT_EQ(node.restCurves[0].controlPoints.size(), 10u);
}

TEST_F(CpuInputs, SharedPointLayoutCountsItsOwnPoints) {
    attributes[setting::kSoaEnabled] = boolean(true);
    node.sharedInputs["SOA_POINTS"] = integer(3);
    expectError(kAssert + "block[0].params != NUM_ELEMENTS");
    block(0)[attribute::kParams] = repeated(3, 0.5f);
    record.weights.clear();
    EXPECT_EQ(evaluate(), 0);
    EXPECT_EQ(node.blockWeights.size(), 3u);
    EXPECT_TRUE(pointsAreUntouched());
}

TEST_F(CpuInputs, SharedPointCountMustBeAWholeNumberFromZero) {
    attributes[setting::kSoaEnabled] = boolean(true);
    expectError(kShared + "cannot find shared input 'SOA_POINTS'");
    node.sharedInputs["SOA_POINTS"] = number(12);
    expectError(kShared + "cannot get shared input 'SOA_POINTS'. Invalid type");
    node.sharedInputs["SOA_POINTS"] = integer(-1);
    expectError(kShared + "cannot get shared input 'SOA_POINTS'. Invalid type");
    node.sharedInputs["SOA_POINTS"] = integer(std::numeric_limits<std::int32_t>::max());
    expectError(kAssert + "block[0].params != NUM_ELEMENTS");
}

TEST_F(CpuInputs, SharedPointCountIsLookedUpButNotExaminedWithoutItsLayout) {
    EXPECT_EQ(node.sharedInputs.count("SOA_POINTS"), 0u);
    expectSuccess();
    ASSERT_EQ(node.sharedInputs.count("SOA_POINTS"), 1u);
    EXPECT_EQ(node.sharedInputs["SOA_POINTS"], nullptr);
    node.sharedInputs["SOA_POINTS"] = number(1);
    expectSuccess();
}

TEST_F(CpuInputs, OfAnUnboundNodeBeginWithAColon) {
    node.object = MObject();
    attributes.erase(setting::kEnvelope);
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(errors(),
              std::vector<std::string>{": get attributes: cannot find 'ENVELOPE' (GrFloat) attribute"});
}

} // namespace
} // namespace talvisora
