// SPDX-License-Identifier: Apache-2.0
// Everything that stops the two resets: each message letter by letter, which comes first of several, and that
// nothing is written then.
#include "reset_fixture.h"

namespace talvisora {
namespace {

using namespace fixtures;
using Texts = std::vector<std::string>;

struct ResetCommand {
    const char* name;
    int (*run)(ValueMap&);
    const char* child;
    const char* progress;
};
const ResetCommand kResets[] = {
    {"resetParams", resetParams, "params", "info Reset params for block["},
    {"resetWeights", resetWeights, "blockWeights", "info Reset weights for block["}};

class ResetFailures : public ResetTest, public testing::WithParamInterface<ResetCommand> {
protected:
    ResetFailures() { makeTube(); }

    bool isWeights() const { return GetParam().run == resetWeights; }
    std::string progress() const {
        return GetParam().progress + std::to_string(castTo<GrInt>(arguments.at("block"))->value) + "]";
    }
    /// Fails with this message after the progress line, in both ways to write.
    void expectFault(const std::string& message) {
        for (bool fast : {true, false}) {
            arguments["fast"] = boolean(fast);
            EXPECT_EQ(GetParam().run(arguments), 1);
            EXPECT_EQ(shown(), (Texts{progress(), message}));
            expectNothingWritten();
        }
    }
    /// Fails with this message and no progress line.
    void expectArgumentFault(const std::string& message) {
        EXPECT_EQ(GetParam().run(arguments), 1);
        EXPECT_EQ(shown(), Texts{message});
        expectNothingWritten();
    }
};

TEST_P(ResetFailures, EveryArgumentMustBeThereAndOfItsClass) {
    std::vector<std::pair<std::string, std::string>> wanted{
        {"block", "GrInt"}, {"smooth", "GrInt"}, {"mesh", "GrString"}, {"fast", "GrBoolean"}};
    if (isWeights()) wanted.push_back({"maxDistanceCoeff", "GrDouble"});
    for (const auto& [key, type] : wanted) {
        const auto kept = arguments.at(key);
        arguments.erase(key);
        expectArgumentFault("arm: get attributes: cannot find '" + key + "' (" + type + ") attribute");
        for (const std::shared_ptr<GrData>& wrong :
             {std::shared_ptr<GrData>(number(1)), std::shared_ptr<GrData>()}) {
            arguments[key] = wrong;
            expectArgumentFault("arm: get attributes: invalid type of '" + key + "' (" + type + " expected)");
        }
        arguments[key] = kept;
    }
}

TEST_P(ResetFailures, ArgumentsAreReportedInTheirOrder) {
    Texts order{"block", "maxDistanceCoeff", "smooth", "mesh", "fast"};
    if (!isWeights()) order.erase(order.begin() + 1);
    const ValueMap whole = arguments;
    for (std::size_t first = 0; first < order.size(); ++first) {
        arguments = whole;
        for (std::size_t k = first; k < order.size(); ++k) arguments.erase(order[k]);
        EXPECT_EQ(GetParam().run(arguments), 1);
        const Texts texts = shown();
        ASSERT_EQ(texts.size(), 1u);
        EXPECT_EQ(texts[0].find("arm: get attributes: cannot find '" + order[first] + "'"), 0u) << texts[0];
    }
}

TEST_P(ResetFailures, EveryAttributeMustBeThereAndOfItsClass) {
    std::vector<std::pair<std::string, std::string>> wanted{{attribute::kBlock, "GrCompound"},
                                                            {attribute::kHierarchyName, "GrString"}};
    if (isWeights()) wanted.push_back({attribute::kGeoMatrix, "GrMatrix"});
    for (const auto& [key, type] : wanted) {
        const auto kept = attributes.at(key);
        attributes.erase(key);
        expectFault("arm: get attributes: cannot find '" + key + "' (" + type + ") attribute");
        attributes[key] = number(1);
        expectFault("arm: get attributes: invalid type of '" + key + "' (" + type + " expected)");
        attributes[key] = kept;
    }
    const std::vector<std::pair<std::string, std::string>> children{{attribute::kSimple, "GrBoolean"},
                                                                    {attribute::kJoints, "GrString"}};
    for (const auto& [key, type] : children) {
        const auto kept = block(0).at(key);
        block(0).erase(key);
        expectFault("arm: get attributes: cannot find '" + key + "' (" + type + ") attribute");
        block(0)[key] = nullptr;
        expectFault("arm: get attributes: invalid type of '" + key + "' (" + type + " expected)");
        block(0)[key] = kept;
    }
}

TEST_P(ResetFailures, BlocksThatAreNotThereAreNamed) {
    for (std::int32_t b : {1, -1, 7, 2147483647, -2147483647 - 1}) {
        arguments["block"] = integer(b);
        expectFault(assertionAnyLine("block[" + std::to_string(b) + "] doesn't exist"));
    }
    attributes[attribute::kBlock] = compound({});
    arguments["block"] = integer(0);
    expectFault(assertionAnyLine("block[0] doesn't exist"));
}

TEST_P(ResetFailures, FewerThanTwoJointsAreTooFew) {
    for (const Texts& names : {Texts{"j0"}, Texts{}}) {
        block(0)[attribute::kJoints] = texts(names);
        expectFault(assertionAnyLine("joints[0] must be > 1"));
    }
}

TEST_P(ResetFailures, TheSharedHierarchyMustBeThere) {
    attributes[attribute::kHierarchyName] = makeText("");
    expectFault("arm: (deformers/talvisora/talvisora:LINE): shared input name is empty");
    attributes[attribute::kHierarchyName] = makeText("other rig");
    expectFault("arm: (deformers/talvisora/talvisora:LINE): cannot find shared input 'Hier other rig'");
    for (const std::shared_ptr<GrData>& wrong :
         {std::shared_ptr<GrData>(number(1)), std::shared_ptr<GrData>()}) {
        node.sharedInputs["Hier other rig"] = wrong;
        expectFault("arm: (deformers/talvisora/talvisora:LINE): cannot get shared input 'Hier other rig'. "
                    "Invalid type");
    }
}

TEST_P(ResetFailures, JointsThatAreNotThereAreNamedAsTheyStand) {
    block(0)[attribute::kJoints] = texts({"j0", "%s%n'x", "gone"});
    expectFault(assertionAnyLine("Cannot find '%s%n'x' in hier!"));
}

TEST_P(ResetFailures, ParentsThatAreNotThereAreNamed) {
    JointRecord joint;
    joint.parent = "nobody";
    hierarchy->set("j2", joint);
    expectFault("arm: worldMatrixBase: cannot find nobody");
    joint.parent = "j2";
    hierarchy->set("j2", joint);
    expectFault("arm: worldMatrixBase: cannot find j2");
}

TEST_P(ResetFailures, TheMeshMustBeFound) {
    for (const char* name : {"", "nobody", "bod"}) {
        arguments["mesh"] = makeText(name);
        expectFault(assertionAnyLine("mesh is NULL"));
    }
}

TEST_P(ResetFailures, WhatIsNoMeshHasNoPoints) {
    headless::createNode("thing", "thing");
    headless::createTransform("above");
    for (const char* name : {"arm", "thing", "above"}) {
        arguments["mesh"] = makeText(name);
        expectFault(assertionAnyLine("meshPoints.length() != NUM_ELEMENTS"));
    }
    record.points.clear();
    expectFault(assertionAnyLine("mesh is NULL"));
}

TEST_P(ResetFailures, AMeshOfOtherSizeIsRefused) {
    const std::vector<Vec3d> whole = record.points;
    record.points.pop_back();
    expectFault(assertionAnyLine("meshPoints.length() != NUM_ELEMENTS"));
    record.points = whole;
    record.points.push_back({});
    expectFault(assertionAnyLine("meshPoints.length() != NUM_ELEMENTS"));
    record.points.clear();
    expectFault(assertionAnyLine("meshPoints.length() != NUM_ELEMENTS"));
    EXPECT_EQ(headless::compoundElements(node.object, "block").size(), 0u) << "a plug was asked for";
}

TEST_P(ResetFailures, NodesWithoutTheAttributeAreNamedByIt) {
    const std::string message = assertionAnyLine(std::string(GetParam().child) + " plug is NULL");
    node.object = headless::createNode("talvisora", "arm1");
    const std::string renamed = "arm1" + message.substr(3);
    expectFault(renamed);
    headless::addCompoundArray(node.object, "block", {"other"});
    expectFault(renamed);
    node.object = MObject();
    EXPECT_EQ(GetParam().run(arguments), 1);
    EXPECT_EQ(shown(), (Texts{progress(), message.substr(3)}));
    expectNothingWritten();
}

TEST_P(ResetFailures, TheFirstOfSeveralFaultsIsReported) {
    // Each is mended in turn, and the next one shows.
    headless::deleteNode(body);
    node.sharedInputs.clear();
    block(0)[attribute::kJoints] = texts({"gone"});
    block(0).erase(attribute::kSimple);
    arguments["block"] = integer(3);
    const auto matrix = attributes.at(attribute::kGeoMatrix);
    attributes.erase(attribute::kGeoMatrix);
    attributes.erase(attribute::kHierarchyName);
    const auto blocks = attributes.at(attribute::kBlock);
    attributes.erase(attribute::kBlock);

    expectFault("arm: get attributes: cannot find 'talvisora__block' (GrCompound) attribute");
    attributes[attribute::kBlock] = blocks;
    expectFault("arm: get attributes: cannot find 'talvisora__hier_name' (GrString) attribute");
    attributes[attribute::kHierarchyName] = makeText("");
    if (isWeights())
        expectFault("arm: get attributes: cannot find 'talvisora__geoMatrix' (GrMatrix) attribute");
    attributes[attribute::kGeoMatrix] = matrix;
    expectFault(assertionAnyLine("block[3] doesn't exist"));
    arguments["block"] = integer(0);
    expectFault("arm: get attributes: cannot find 'talvisora__simple' (GrBoolean) attribute");
    block(0)[attribute::kSimple] = boolean(false);
    expectFault(assertionAnyLine("joints[0] must be > 1"));
    block(0)[attribute::kJoints] = texts({"j0", "gone"});
    expectFault("arm: (deformers/talvisora/talvisora:LINE): shared input name is empty");
    attributes[attribute::kHierarchyName] = makeText("hier");
    expectFault("arm: (deformers/talvisora/talvisora:LINE): cannot find shared input 'Hier hier'");
    node.sharedInputs["Hier hier"] = hierarchy;
    expectFault(assertionAnyLine("Cannot find 'gone' in hier!"));
    block(0)[attribute::kJoints] = texts({"j0", "j1"});
    expectFault(assertionAnyLine("mesh is NULL"));
    MeshSource source;
    source.box({-1, -1, -1}, {2, 1, 1});
    useMesh(source);
    record.points.pop_back();
    expectFault(assertionAnyLine("meshPoints.length() != NUM_ELEMENTS"));
    record.points.push_back({});
    EXPECT_EQ(GetParam().run(arguments), 0);
    EXPECT_EQ(shown(), Texts{progress()});
}

TEST_P(ResetFailures, LinesNameTheirChecksAndStay) {
    const auto lineOf = [&] {
        EXPECT_EQ(GetParam().run(arguments), 1);
        const std::string text = headless::takeMessages().back().text;
        return std::stoi(text.substr(text.find("talvisora:") + 10));
    };
    std::vector<int> lines;
    arguments["block"] = integer(1);
    lines.push_back(lineOf());
    arguments["block"] = integer(0);
    block(0)[attribute::kJoints] = texts({"j0"});
    lines.push_back(lineOf());
    block(0)[attribute::kJoints] = texts({"j0", "gone"});
    lines.push_back(lineOf());
    block(0)[attribute::kJoints] = texts({"j0", "j1"});
    record.points.pop_back();
    lines.push_back(lineOf());
    arguments["mesh"] = makeText("nobody");
    lines.push_back(lineOf());
    EXPECT_EQ(lines, (std::vector<int>{511, 512, 513, 515, 514}));
}

INSTANTIATE_TEST_SUITE_P(Commands, ResetFailures, testing::ValuesIn(kResets),
                         [](const auto& test) { return std::string(test.param.name); });

} // namespace
} // namespace talvisora
