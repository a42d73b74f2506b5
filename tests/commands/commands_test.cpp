// SPDX-License-Identifier: Apache-2.0
// The exported commands: their prologue, help, and the under-weighted points.
#include "commands/commands.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "fixtures/node_test.h"

extern "C" int help(ValueMap& arguments);
extern "C" int checkFloatingPoints(ValueMap& arguments);
extern "C" int resetParams(ValueMap& arguments);
extern "C" int resetWeights(ValueMap& arguments);

namespace talvisora {
namespace {

using namespace fixtures;

using Command = int (*)(ValueMap&);
const Command kCommands[] = {help, resetParams, resetWeights, checkFloatingPoints};

class OtherNode : public GrNode {
public:
    void declareAttributes(std::vector<AttributeDescriptor>&) override {}
};

class Commands : public NodeTest {
protected:
    Commands() {
        makeRig();
        arguments["HELP"] = boolean(false);
        arguments["NODE_NAME"] = makeText("graphNode");
        arguments["GR_NODE_PTR"] = pointer(static_cast<GrNode*>(&node));
        arguments["GET_ATTRIBUTES_PTR"] = pointer(&context);
        arguments["RUN_ATTRIBUTES_PTR"] = pointer(&attributes);
        arguments["DEFORM_ATTRIBUTES_PTR"] = pointer(&record);
    }

    /// Every command fails with exactly this message and writes no answer.
    void expectAllFail(const std::string& message) {
        for (Command command : kCommands) {
            EXPECT_EQ(command(arguments), 1);
            EXPECT_EQ(errorsWithoutLine(), std::vector<std::string>{message});
            EXPECT_EQ(arguments.count("OUTPUT"), 0u);
        }
    }
    void expectAllThrow() {
        for (Command command : kCommands) {
            const std::size_t size = arguments.size();
            try {
                command(arguments);
                ADD_FAILURE() << "nothing was thrown";
            } catch (const std::out_of_range& e) {
                EXPECT_STREQ(e.what(), "invalid map<K, T> key");
            }
            EXPECT_EQ(errors(), std::vector<std::string>{});
            EXPECT_EQ(arguments.size(), size);
        }
    }
    std::vector<std::int32_t> floatingPoints() {
        EXPECT_EQ(checkFloatingPoints(arguments), 0);
        EXPECT_EQ(errors(), std::vector<std::string>{});
        const auto output = castTo<GrInt>(arguments["OUTPUT"]);
        if (!output) {
            ADD_FAILURE() << "no GrInt under OUTPUT";
            return {-1};
        }
        EXPECT_EQ(output->value, 0);
        return output->values;
    }

    ValueMap arguments;
    int context = 0;
};

const std::string kAssert = "arm: ASSERT error (deformers/talvisora/talvisora:LINE): ";

TEST_F(Commands, HelpNamesTheCommands) {
    arguments["OUTPUT"] = integer(1);
    EXPECT_EQ(help(arguments), 0);
    ASSERT_NE(castTo<GrString>(arguments["OUTPUT"]), nullptr);
    EXPECT_EQ(castTo<GrString>(arguments["OUTPUT"])->value,
              "Commands: checkFloatingPoints, resetWeights, resetParams");
    EXPECT_EQ(errors(), std::vector<std::string>{});
}

TEST_F(Commands, TheValueUnderHelpSaysNothing) {
    for (const std::shared_ptr<GrData>& value :
         {std::shared_ptr<GrData>(boolean(false)), std::shared_ptr<GrData>(boolean(true)),
          std::shared_ptr<GrData>(number(1)), std::shared_ptr<GrData>()}) {
        arguments["HELP"] = value;
        EXPECT_EQ(help(arguments), 0);
    }
}

TEST_F(Commands, ThrowBeforeAnythingElseWithoutHelpNodeNameOrNode) {
    for (const char* key : {"GR_NODE_PTR", "NODE_NAME", "HELP"}) {
        arguments.erase(key);
        arguments["RUN_ATTRIBUTES_PTR"] = nullptr; // would be reported otherwise
        expectAllThrow();
    }
}

TEST_F(Commands, NullContextsAreNamed) {
    arguments["DEFORM_ATTRIBUTES_PTR"] = pointer(nullptr);
    expectAllFail(kAssert + "Invalid DeformAttributes");
    arguments["RUN_ATTRIBUTES_PTR"] = pointer(nullptr);
    expectAllFail(kAssert + "Invalid RunAttributes");
    arguments["GET_ATTRIBUTES_PTR"] = pointer(nullptr);
    expectAllFail(kAssert + "Invalid GetAttributes");
}

TEST_F(Commands, AbsentAndMistypedContextsAreNamed) {
    for (const char* key : {"GET_ATTRIBUTES_PTR", "RUN_ATTRIBUTES_PTR", "DEFORM_ATTRIBUTES_PTR"}) {
        const auto kept = arguments.at(key);
        arguments.erase(key);
        expectAllFail(std::string("arm: get attributes: cannot find '") + key + "' (GrPtr) attribute");
        arguments[key] = integer(1);
        expectAllFail(std::string("arm: get attributes: invalid type of '") + key + "' (GrPtr expected)");
        arguments[key] = nullptr;
        expectAllFail(std::string("arm: get attributes: invalid type of '") + key + "' (GrPtr expected)");
        arguments[key] = kept;
    }
}

TEST_F(Commands, MistypedNodesAreNamedUnderTheGraphNodesName) {
    arguments["GR_NODE_PTR"] = integer(1);
    expectAllFail("graphNode: get attributes: invalid type of 'GR_NODE_PTR' (GrPtr expected)");
    arguments["GR_NODE_PTR"] = pointer(nullptr);
    expectAllFail("graphNode: ASSERT error (deformers/talvisora/talvisora:LINE): Invalid GrNode");
    arguments["NODE_NAME"] = nullptr;
    expectAllFail(": get attributes: invalid type of 'NODE_NAME' (GrString expected)");
    arguments["GR_NODE_PTR"] = pointer(static_cast<GrNode*>(&node));
    expectAllFail("arm: get attributes: invalid type of 'NODE_NAME' (GrString expected)");
}

TEST_F(Commands, AFailureKeepsAnEarlierAnswer) {
    const auto earlier = makeText("earlier");
    arguments["OUTPUT"] = earlier;
    arguments["RUN_ATTRIBUTES_PTR"] = pointer(nullptr);
    for (Command command : kCommands) EXPECT_EQ(command(arguments), 1);
    EXPECT_EQ(arguments["OUTPUT"], earlier);
}

TEST_F(Commands, FloatingPointsNeedAnEvaluation) {
    EXPECT_EQ(checkFloatingPoints(arguments), 1);
    EXPECT_EQ(errorsWithoutLine(), std::vector<std::string>{kAssert + "bsize is 0"});
    EXPECT_EQ(arguments.count("OUTPUT"), 0u);
}

TEST_F(Commands, FloatingPointsNeedANodeOfThisModule) {
    OtherNode other;
    other.object = node.object;
    arguments["GR_NODE_PTR"] = pointer(static_cast<GrNode*>(&other));
    EXPECT_EQ(checkFloatingPoints(arguments), 1);
    EXPECT_EQ(errorsWithoutLine(), std::vector<std::string>{kAssert + "bsize is 0"});
}

TEST_F(Commands, NoPointFloatsWhereAllWeightsAreOne) {
    ASSERT_EQ(evaluate(), 0);
    EXPECT_EQ(floatingPoints(), std::vector<std::int32_t>{});
}

TEST_F(Commands, PointsThatFallShortOfOneFloat) {
    makeRig(4, 12, 2);
    auto half = repeated(12, 0.5f), rest = repeated(12, 0.5f);
    rest->values[3] = 0.49999f;
    half->values[7] = rest->values[7] = 0.0f;
    rest->values[9] = 5.0f;
    block(0)[attribute::kBlockWeights] = half;
    block(1)[attribute::kBlockWeights] = rest;
    ASSERT_EQ(evaluate(), 0);
    EXPECT_EQ(floatingPoints(), (std::vector<std::int32_t>{3, 7}));
}

TEST_F(Commands, FloatingPointsReplaceTheAnswerAndLeaveOldHoldersTheirs) {
    ASSERT_EQ(evaluate(), 0);
    const auto old = makeInts({1, 2, 3});
    arguments["OUTPUT"] = old;
    EXPECT_EQ(floatingPoints(), std::vector<std::int32_t>{});
    EXPECT_EQ(old->values.size(), 3u);
    EXPECT_EQ(old.use_count(), 1);
}

TEST_F(Commands, FloatingPointsStayInBoundsAfterAFailedEvaluation) {
    ASSERT_EQ(evaluate(), 0);
    makeRig(4, 12, 5);
    block(0).erase(attribute::kParams);
    EXPECT_EQ(evaluate(), 1);
    errors();
    for (std::int32_t point : floatingPoints()) EXPECT_TRUE(point >= 0 && point < 12);
}

TEST(UnderWeightedPoints, LeaveOutARemainderThatFillsNoRow) {
    EXPECT_EQ(underWeightedPoints({0, 1, 1, 1, 0}, 2), (std::vector<std::int32_t>{}));
    EXPECT_EQ(underWeightedPoints({0, 1, 0.5f, 1, 0}, 2), (std::vector<std::int32_t>{0}));
    EXPECT_EQ(underWeightedPoints({0, 0}, 3), (std::vector<std::int32_t>{}));
    EXPECT_EQ(underWeightedPoints({}, 1), (std::vector<std::int32_t>{}));
    EXPECT_EQ(underWeightedPoints({0, 0}, 0), (std::vector<std::int32_t>{}));
}

TEST(UnderWeightedPoints, CompareTheSumWithATrueDouble) {
    // The float nearest to 0.99999 lies below it, the next one above.
    EXPECT_EQ(underWeightedPoints({0.99999f, std::nextafter(0.99999f, 1.0f)}, 1),
              (std::vector<std::int32_t>{0}));
}

TEST(UnderWeightedPoints, AddBlockAfterBlockInSinglePrecision) {
    // 1e8 swallows a 1 added to it: only in this order does the sum come back to 0.
    EXPECT_EQ(underWeightedPoints({1e8f, 1.0f, -1e8f}, 3), (std::vector<std::int32_t>{0}));
    EXPECT_EQ(underWeightedPoints({1e8f, -1e8f, 1.0f}, 3), (std::vector<std::int32_t>{}));
}

TEST(UnderWeightedPoints, AreFoundAcrossManyPoints) {
    std::vector<float> weights(2 * 10000, 0.5f);
    weights[10000 + 4096] = weights[4095] = weights[19999] = 0.25f;
    EXPECT_EQ(underWeightedPoints(weights, 2), (std::vector<std::int32_t>{4095, 4096, 9999}));
}

} // namespace
} // namespace talvisora
