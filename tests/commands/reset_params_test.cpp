// SPDX-License-Identifier: Apache-2.0
// resetParams: the parameter of every point, both ways to write it, what a selection narrows, and undo.
#include <algorithm>
#include <cstdio>
#include <limits>

#include "commands/block_frame.h"
#include "commands/write_back.h"
#include "reset_fixture.h"

namespace talvisora {
namespace {

using namespace fixtures;
using headless::ComponentKind;
using Texts = std::vector<std::string>;

class ResetParams : public ResetTest {
protected:
    ResetParams() { makeTube(); }

    void run() {
        EXPECT_EQ(resetParams(arguments), 0);
        EXPECT_EQ(shown(), Texts{"info Reset params for block[" +
                                 std::to_string(castTo<GrInt>(arguments["block"])->value) + "]"});
        EXPECT_EQ(arguments.count("OUTPUT"), 0u);
    }
    /// Parameters of all points by the plain search on a straight chain of four joints from 0 to 3: the curve
    /// runs along x, so the nearest sample is the one with the nearest x.
    std::vector<float> plainParams() {
        const Curve guide =
            guideCurve(straightLine(4), castTo<GrBoolean>(block(0)[attribute::kSimple])->value);
        const auto samples = sampleCurve(guide);
        std::vector<float> params;
        for (const Vec3d& p : record.points) {
            std::size_t best = 0;
            for (std::size_t s = 1; s < samples.size(); ++s)
                if (std::fabs(samples[s].x - p.x) < std::fabs(samples[best].x - p.x)) best = s;
            params.push_back(static_cast<float>(samples[best].t));
        }
        return params;
    }
    static float asPrinted(float value) {
        char text[64];
        std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
        return std::strtof(text, nullptr);
    }
};

TEST_F(ResetParams, GiveEveryPointTheParameterOfItsNearestSample) {
    run();
    EXPECT_EQ(written("params"), plainParams());
    EXPECT_EQ(written("blockWeights"), std::vector<float>{});
}

TEST_F(ResetParams, LieBetween0And1AndAreMultiplesOf1Over299) {
    run();
    for (float t : written("params")) {
        EXPECT_TRUE(t >= 0.0f && t <= 1.0f);
        EXPECT_EQ(t, std::round(t * 299.0f) / 299.0f);
    }
}

TEST_F(ResetParams, FastOnesAreWrittenThroughOneHandle) {
    run();
    EXPECT_EQ(headless::takeCommands().size(), 0u);
    EXPECT_EQ(headless::undoCount(), 0u);
    const auto journal = headless::writeJournal();
    ASSERT_EQ(journal.size(), record.points.size());
    for (std::size_t i = 0; i < journal.size(); ++i) {
        EXPECT_EQ(journal[i].kind, headless::WriteKind::handle);
        EXPECT_EQ(journal[i].element, i);
    }
}

TEST_F(ResetParams, SlowOnesAreOneUndoableCommandPerPoint) {
    arguments["fast"] = boolean(false);
    run();
    const auto params = plainParams();
    const auto commands = headless::commands();
    ASSERT_EQ(commands.size(), params.size());
    std::vector<float> printed;
    for (std::size_t i = 0; i < commands.size(); ++i) {
        char text[200];
        std::snprintf(text, sizeof text, "setAttr %s.block[%d].params[%d] %f;", "arm", 0, static_cast<int>(i),
                      static_cast<double>(params[i]));
        EXPECT_EQ(commands[i].text, text);
        EXPECT_FALSE(commands[i].displayEnabled);
        EXPECT_TRUE(commands[i].undoEnabled);
        EXPECT_TRUE(commands[i].succeeded);
        printed.push_back(asPrinted(params[i]));
    }
    EXPECT_EQ(written("params"), printed);
    for (const auto& e : headless::writeJournal()) EXPECT_EQ(e.kind, headless::WriteKind::command);
}

TEST_F(ResetParams, SlowOnesCanBeUndone) {
    const std::vector<float> before(record.points.size(), 0.25f);
    headless::setFloatElements({node.object, "block", 0, "params"}, before);
    arguments["fast"] = boolean(false);
    run();
    EXPECT_NE(written("params"), before);
    ASSERT_EQ(headless::undoCount(), record.points.size());
    while (headless::undo()) {
    }
    EXPECT_EQ(written("params"), before);
}

TEST_F(ResetParams, SlowOnesGoOnWhereACommandFails) {
    // A name that the command language cannot read: every command fails, and the reset does not care.
    node.object = headless::createNode("talvisora", "arm with blanks");
    headless::addCompoundArray(node.object, "block", {"params", "blockWeights"});
    arguments["fast"] = boolean(false);
    EXPECT_EQ(resetParams(arguments), 0);
    const auto commands = headless::commands();
    EXPECT_EQ(commands.size(), record.points.size());
    for (const auto& c : commands) EXPECT_FALSE(c.succeeded);
    EXPECT_EQ(shown().size(), 1u);
}

TEST_F(ResetParams, GoToTheirOwnBlockAndLeaveOthersAlone) {
    attributes = evaluationAttributes(std::vector<ValueMap>(3, blockElement(jointNames(4), 0)));
    block(0)[attribute::kJoints] = texts({"j0"});
    headless::setFloatElements({node.object, "block", 1, "params"}, {7.0f, 8.0f});
    for (bool fast : {true, false}) {
        arguments["fast"] = boolean(fast);
        arguments["block"] = integer(2);
        run();
        EXPECT_EQ(written("params", 1), (std::vector<float>{7.0f, 8.0f}));
        EXPECT_EQ(written("params", 0), std::vector<float>{});
        EXPECT_EQ(written("params", 2).size(), record.points.size());
    }
}

TEST_F(ResetParams, KeepElementsPastTheLastPoint) {
    std::vector<float> before(record.points.size() + 2, 0.5f);
    headless::setFloatElements({node.object, "block", 0, "params"}, before);
    run();
    const auto after = written("params");
    ASSERT_EQ(after.size(), before.size());
    EXPECT_EQ(after.back(), 0.5f);
}

TEST_F(ResetParams, OfSelectedVerticesOnly) {
    const std::size_t n = record.points.size();
    headless::setFloatElements({node.object, "block", 0, "params"}, std::vector<float>(n, 9.0f));
    const auto params = plainParams();
    for (ComponentKind kind : {ComponentKind::vertices, ComponentKind::edges, ComponentKind::faces})
        for (bool fast : {true, false}) {
            headless::startWriteJournal();
            headless::clearCommands();
            headless::setFloatElements({node.object, "block", 0, "params"}, std::vector<float>(n, 9.0f));
            arguments["fast"] = boolean(fast);
            select(kind, {7, 3, 3, 20});
            run();
            EXPECT_EQ(writtenIndices(), (std::vector<unsigned>{3, 7, 20}));
            EXPECT_EQ(headless::takeCommands().size(), fast ? 0u : 3u);
            const auto after = written("params");
            ASSERT_EQ(after.size(), n);
            for (std::size_t i = 0; i < n; ++i)
                EXPECT_EQ(after[i],
                          i == 3 || i == 7 || i == 20 ? (fast ? params[i] : asPrinted(params[i])) : 9.0f);
        }
}

TEST_F(ResetParams, OfAllPointsWhereTheSelectionNarrowsNothing) {
    const auto all = [&](const std::vector<headless::SelectedItem>& items) {
        headless::setActiveSelection(items);
        headless::startWriteJournal();
        run();
        return writtenIndices().size() == record.points.size();
    };
    EXPECT_TRUE(all({}));
    EXPECT_TRUE(all({{body, ComponentKind::none, {}}})) << "object only";
    EXPECT_TRUE(all({{body, ComponentKind::other, {1, 2}}})) << "no single index";
    EXPECT_TRUE(all({{body, ComponentKind::vertices, {}}})) << "an empty component";
    EXPECT_TRUE(all({{node.object, ComponentKind::none, {}}})) << "not placed in the scene";
    EXPECT_TRUE(all({{headless::createTransform("above"), ComponentKind::none, {}}}));
    EXPECT_TRUE(all({{node.object, ComponentKind::none, {}}, {body, ComponentKind::vertices, {1}}}))
        << "the first item counts";
}

TEST_F(ResetParams, OfTheSelectionEvenOnAnotherMesh) {
    MObject other = headless::createMesh("other", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {3}, {0, 1, 2});
    headless::setActiveSelection(
        {{other, ComponentKind::vertices, {1, 2}}, {body, ComponentKind::vertices, {5}}});
    run();
    EXPECT_EQ(writtenIndices(), (std::vector<unsigned>{1, 2}));
}

TEST_F(ResetParams, OfNoPointWhereTheWholeSelectionLiesPastTheEnd) {
    const int n = static_cast<int>(record.points.size());
    select(ComponentKind::vertices, {n, n + 5, 2147483647});
    run();
    EXPECT_EQ(writtenIndices(), std::vector<unsigned>{});
    select(ComponentKind::vertices, {n, 4});
    run();
    EXPECT_EQ(writtenIndices(), std::vector<unsigned>{4});
}

TEST_F(ResetParams, WithoutSmoothingWhenSmoothIsNotPositive) {
    for (int smooth : {0, -1, std::numeric_limits<int>::min()}) {
        arguments["smooth"] = integer(smooth);
        run();
        EXPECT_EQ(written("params"), plainParams());
    }
}

TEST_F(ResetParams, SmoothOverTheMeshsEdges) {
    // Two triangles side by side and a vertex of its own: edges 0-1 1-2 2-0 1-3 3-2.
    MeshSource source;
    source.points = {{0, 1, 0}, {1, 1, 0}, {2, 1, 0}, {3, 1, 0}, {1.5, 1, 0}};
    source.face({0, 1, 2});
    source.face({1, 3, 2});
    useMesh(source);
    const auto raw = plainParams();
    arguments["smooth"] = integer(1);
    run();
    const auto values = written("params");
    ASSERT_EQ(values.size(), 5u);
    EXPECT_FLOAT_EQ(values[0], (raw[0] + raw[1] + raw[2]) / 3.0f);
    EXPECT_FLOAT_EQ(values[1], (raw[1] + raw[0] + raw[2] + raw[3]) / 4.0f);
    EXPECT_FLOAT_EQ(values[2], (raw[2] + raw[1] + raw[0] + raw[3]) / 4.0f);
    EXPECT_FLOAT_EQ(values[3], (raw[3] + raw[1] + raw[2]) / 3.0f);
    EXPECT_EQ(values[4], raw[4]);
}

TEST_F(ResetParams, WithAbsurdSmoothingEnd) {
    arguments["smooth"] = integer(std::numeric_limits<int>::max());
    run();
    const auto values = written("params");
    const auto ends = std::minmax_element(values.begin(), values.end());
    EXPECT_LT(*ends.second - *ends.first, 0.01f) << "an even mesh evens out";
}

TEST_F(ResetParams, SmoothedButOnlyWrittenWhereSelected) {
    arguments["smooth"] = integer(2);
    run();
    const auto all = written("params");
    headless::setFloatElements({node.object, "block", 0, "params"}, std::vector<float>(all.size(), 9.0f));
    select(ComponentKind::vertices, {0, 11});
    run();
    EXPECT_EQ(written("params")[0], all[0]);
    EXPECT_EQ(written("params")[11], all[11]);
    EXPECT_EQ(written("params")[1], 9.0f);
}

TEST_F(ResetParams, OfFarPointsAreThoseOfTheirNearestSampleToo) {
    for (Vec3d& p : record.points) p.y += 1000.0;
    MeshSource source;
    source.points = record.points;
    source.face({0, 1, 2});
    useMesh(source);
    run();
    EXPECT_EQ(written("params"), plainParams());
}

TEST_F(ResetParams, OfPointsThatAreNoNumbersAre0) {
    MeshSource source;
    source.points = {{3, 0, 0}, {std::nan(""), 0, 0}, {0, HUGE_VAL, 0}};
    source.face({0, 1, 2});
    useMesh(source);
    run();
    EXPECT_EQ(written("params"), (std::vector<float>{1.0f, 0.0f, 0.0f}));
}

TEST_F(ResetParams, OfEquallyNearSamplesAreTheLowest) {
    // All joints in one place: every sample is as near as the others.
    hierarchy->clear();
    for (const std::string& name : jointNames(4)) hierarchy->set(name, JointRecord{});
    run();
    EXPECT_EQ(written("params"), std::vector<float>(record.points.size(), 0.0f));
}

TEST_F(ResetParams, AreMeasuredThroughTheRecordsMatrix) {
    // Half size, then a projection that doubles x again: w is a half.
    for (double& v : record.matrix.m) v *= 0.5;
    record.matrix(3, 3) = 0.5;
    run();
    const auto halved = written("params");
    EXPECT_EQ(halved, plainParams()) << "x / w";
    record.matrix = Matrix44d{};
    setTranslation(record.matrix, {100, 0, 0});
    run();
    EXPECT_EQ(written("params"), std::vector<float>(record.points.size(), 1.0f));
}

TEST_F(ResetParams, DoNotAskForTheNodesMatrix) {
    attributes.erase(attribute::kGeoMatrix);
    run();
    EXPECT_EQ(written("params"), plainParams());
}

TEST_F(ResetParams, FollowTheRestPoseAlone) {
    run();
    const auto before = written("params");
    for (const std::string& name : jointNames(4)) hierarchy->find(name)->local = translated({5, 5, 5});
    run();
    EXPECT_EQ(written("params"), before);
}

TEST_F(ResetParams, OfSimpleBlocksFollowTheJointsThemselves) {
    block(0)[attribute::kSimple] = boolean(true);
    run();
    EXPECT_EQ(written("params"), plainParams());
    // With fewer than four joints there is no such curve.
    block(0)[attribute::kJoints] = texts({"j0", "j1", "j3"});
    run();
    const auto simple = written("params");
    block(0)[attribute::kSimple] = boolean(false);
    run();
    EXPECT_EQ(written("params"), simple);
}

TEST_F(ResetParams, TakeMoreJointsThanABlockCanHave) {
    makeTube(60);
    run();
    const auto params = written("params");
    EXPECT_EQ(*std::max_element(params.begin(), params.end()), 1.0f);
}

TEST_F(ResetParams, OfAMeshWithoutPointsAreNone) {
    useMesh({});
    run();
    EXPECT_EQ(written("params"), std::vector<float>{});
}

TEST(GuideCurve, OfTwoJointsHasFourControlPointsAndPlainKnots) {
    for (bool simple : {false, true}) {
        const Curve curve = guideCurve({{0, 0, 0}, {3, 0, 0}}, simple);
        ASSERT_EQ(curve.controlPoints.size(), 4u);
        EXPECT_EQ(curve.knots, (std::vector<float>{0, 0, 0, 0, 1, 1, 1, 1}));
        EXPECT_EQ(curve.degree, 3u);
        EXPECT_EQ(curve.controlPoints[1].x, 3.0 * static_cast<double>(0.333f));
        EXPECT_EQ(curve.controlPoints[2].x, 3.0 * static_cast<double>(0.667f));
    }
}

TEST(GuideCurve, OfFewerJointsIsEmpty) {
    EXPECT_TRUE(guideCurve({{1, 2, 3}}, false).controlPoints.empty());
    EXPECT_TRUE(guideCurve({}, true).controlPoints.empty());
}

TEST(FixedText, IsPrintfsInTheCLocale) {
    for (double value : {0.0, -0.0, 1.0, 0.5, 0.1234565, 0.0000005, 0.9999995, -2.5e-7, 1e10,
                         123456.789012345, 3.4028234663852886e38, -1e-300, 1.7976931348623157e308}) {
        char text[400];
        std::snprintf(text, sizeof text, "%f", value);
        EXPECT_EQ(fixedText(value), text);
    }
    for (float value = 1.0f; value > 1e-8f; value *= 0.83f) {
        char text[64];
        std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
        EXPECT_EQ(fixedText(static_cast<double>(value)), text);
    }
}

TEST(FixedText, SpellsWhatIsNoNumber) {
    EXPECT_EQ(fixedText(std::nan("")), "nan");
    EXPECT_EQ(fixedText(-std::nan("")), "-nan");
    EXPECT_EQ(fixedText(HUGE_VAL), "inf");
    EXPECT_EQ(fixedText(-HUGE_VAL), "-inf");
}

} // namespace
} // namespace talvisora
