// SPDX-License-Identifier: Apache-2.0
// The setAttr commands the platform runs, the texts it refuses, undo, and the record of commands.
#include "scene/attributes.h"
#include "scene/mel.h"
#include "scene/scene.h"

#include <maya/MGlobal.h>
#include <maya/MObject.h>
#include <maya/MStatus.h>
#include <maya/MString.h>

#include <clocale>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Elements = std::vector<headless::FloatElement>;

class Mel : public testing::Test {
protected:
    void SetUp() override {
        headless::clearScene();
        headless::clearCommands();
        node = headless::createNode("talvisora", "rig:body_1");
        ASSERT_TRUE(headless::addCompoundArray(node, "block", {"params", "blockWeights"}));
    }
    void TearDown() override {
        headless::clearScene();
        headless::clearCommands();
    }

    Elements values(const char* child, unsigned int index = 0) const {
        return headless::floatElements({node, "block", index, child});
    }

    MObject node;
};

TEST_F(Mel, BothFormsSetTheirElement) {
    EXPECT_TRUE(
        MGlobal::executeCommand(MString("setAttr rig:body_1.block[0].params[12] 0.123456;"), false, true));
    EXPECT_TRUE(
        MGlobal::executeCommand(MString("setAttr rig:body_1.block[3].blockWeights[0] -1.000000;"), true));
    EXPECT_TRUE(MGlobal::executeCommand(MString(" setAttr\t|rig:body_1.block[0].params[2]  7 ;\n")));
    EXPECT_EQ(values("params"), (Elements{{2, 7.0f}, {12, 0.123456f}}));
    EXPECT_EQ(values("blockWeights", 3), (Elements{{0, -1.0f}}));
    const std::vector<headless::Command> commands = headless::takeCommands();
    ASSERT_EQ(commands.size(), 3u);
    EXPECT_EQ(commands[0].text, "setAttr rig:body_1.block[0].params[12] 0.123456;");
    EXPECT_TRUE(!commands[0].displayEnabled && commands[0].undoEnabled && commands[0].succeeded);
    EXPECT_TRUE(commands[1].displayEnabled && !commands[1].undoEnabled);
    EXPECT_TRUE(!commands[2].displayEnabled && !commands[2].undoEnabled);
    EXPECT_TRUE(headless::commands().empty());
}

TEST_F(Mel, ValuesAreRoundedToFloatOnce) {
    const struct {
        const char* text;
        float value;
    } cases[] = {
        {"0.1", 0.1f},
        {"16777217.000000", 16777216.0f},
        {"340282346638528859811704183484516925440.000000", std::numeric_limits<float>::max()},
        {"0.0000000000000000000000000000000000000000000000000000001", 0.0f},
        {"5.", 5.0f},
        {".5", 0.5f},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(
            headless::runMel("setAttr rig:body_1.block[0].params[0] " + std::string(c.text) + ";", false))
            << c.text;
        EXPECT_EQ(values("params"), (Elements{{0, c.value}})) << c.text;
    }
}

TEST_F(Mel, EverythingElseFailsAndChangesNothing) {
    const char* const refused[] = {
        "",
        ";",
        "setAttr",
        "ls;",
        "setattr rig:body_1.block[0].params[0] 1;",
        "setAttrrig:body_1.block[0].params[0] 1;",
        "setAttr rig:body_1.block[0].params[0] 1",
        "setAttr rig:body_1.block[0].params[0] 1;;",
        "setAttr rig:body_1.block[0].params[0] 1; ls;",
        "setAttr rig:body_1.block[0].params[0] ;",
        "setAttr rig:body_1.block[0].params[0]1;",
        "setAttr rig:body_1.block[0].params[0] 1 2;",
        "setAttr rig:body_1.block[0].params[0] 0,5;",
        "setAttr rig:body_1.block[0].params[0] 1e3;",
        "setAttr rig:body_1.block[0].params[0] 1.2.3;",
        "setAttr rig:body_1.block[0].params[0] -;",
        "setAttr rig:body_1.block[0].params[0] .;",
        "setAttr rig:body_1.block[0].params[0] nan;",
        "setAttr rig:body_1.block[0].params[0] -inf;",
        "setAttr rig:body_1.block[0].params[0] 340282366920938463463374607431768211456.0;",
        "setAttr rig:body_1.block[0].params[0] -1000000000000000000000000000000000000000000000000000.0;",
        "setAttr rig:body_1.block[-1].params[0] 1;",
        "setAttr rig:body_1.block[0].params[-1] 1;",
        "setAttr rig:body_1.block[0].params[+1] 1;",
        "setAttr rig:body_1.block[].params[0] 1;",
        "setAttr rig:body_1.block[0].params[2147483648] 1;",
        "setAttr rig:body_1.block[0].params[99999999999999999999] 1;",
        "setAttr rig:body_1.block[ 0].params[0] 1;",
        "setAttr rig:body_1.block.params[0] 1;",
        "setAttr rig:body_1.block[0].params 1;",
        "setAttr rig:body_1.params[0] 1;",
        "setAttr rig:body_1.block[0].other[0] 1;",
        "setAttr rig:body_1.blocks[0].params[0] 1;",
        "setAttr body_1.block[0].params[0] 1;",
        "setAttr \"rig:body_1.block[0].params[0]\" 1;",
        "setAttr rig body_1.block[0].params[0] 1;",
    };
    headless::startWriteJournal();
    for (const char* text : refused) {
        EXPECT_FALSE(MGlobal::executeCommand(MString(text), false, true)) << text;
        EXPECT_FALSE(headless::commands().back().succeeded);
    }
    EXPECT_EQ(headless::commands().size(), std::size(refused));
    EXPECT_TRUE(headless::writeJournal().empty());
    EXPECT_TRUE(headless::compoundElements(node, "block").empty());
    EXPECT_EQ(headless::undoCount(), 0u);
}

TEST_F(Mel, UndoRestoresStepByStep) {
    ASSERT_TRUE(headless::setFloatElements({node, "block", 0, "params"}, {0.5f}));
    MGlobal::executeCommand(MString("setAttr rig:body_1.block[0].params[0] 1.0;"), false, true);
    MGlobal::executeCommand(MString("setAttr rig:body_1.block[0].params[0] 2.0;"), false, true);
    MGlobal::executeCommand(MString("setAttr rig:body_1.block[0].params[1] 3.0;"), false, true);
    MGlobal::executeCommand(MString("setAttr rig:body_1.block[0].params[2] 4.0;"), false, false);
    ASSERT_EQ(headless::undoCount(), 3u);
    headless::startWriteJournal();
    EXPECT_TRUE(headless::undo());
    EXPECT_EQ(values("params"), (Elements{{0, 2.0f}, {2, 4.0f}}));
    EXPECT_TRUE(headless::undo());
    EXPECT_EQ(values("params"), (Elements{{0, 1.0f}, {2, 4.0f}}));
    EXPECT_TRUE(headless::undo());
    EXPECT_EQ(values("params"), (Elements{{0, 0.5f}, {2, 4.0f}}));
    EXPECT_FALSE(headless::undo());
    const std::vector<headless::WrittenElement> written = headless::writeJournal();
    ASSERT_EQ(written.size(), 3u);
    EXPECT_EQ(written[0].kind, headless::WriteKind::undo);
    EXPECT_FALSE(written[0].existed);
    EXPECT_TRUE(written[1].existed);
}

TEST_F(Mel, UndoPassesOverDeletedNodes) {
    const MObject other = headless::createNode("talvisora", "other");
    ASSERT_TRUE(headless::addCompoundArray(other, "block", {"params"}));
    MGlobal::executeCommand(MString("setAttr rig:body_1.block[0].params[0] 1.0;"), false, true);
    MGlobal::executeCommand(MString("setAttr other.block[0].params[0] 1.0;"), false, true);
    headless::deleteNode(other);
    EXPECT_TRUE(headless::undo());
    EXPECT_TRUE(values("params").empty());
    EXPECT_FALSE(headless::undo());
}

class CommaPoint : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

// The streams' locale always; the C library's where the machine has one with a comma.
TEST_F(Mel, CommaLocaleChangesNothing) {
    const std::string cBefore = std::setlocale(LC_ALL, nullptr);
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fi_FI.UTF-8", "fr_FR.UTF-8", "de_DE"}) {
        if (std::setlocale(LC_ALL, name)) break;
    }
    std::ostringstream shown;
    shown << 0.5;
    const bool point = headless::runMel("setAttr rig:body_1.block[0].params[1000] 0.5;", false);
    const bool comma = headless::runMel("setAttr rig:body_1.block[0].params[0] 0,5;", false);
    std::locale::global(before);
    std::setlocale(LC_ALL, cBefore.c_str());
    EXPECT_EQ(shown.str(), "0,5");
    EXPECT_TRUE(point);
    EXPECT_FALSE(comma);
    EXPECT_EQ(values("params"), (Elements{{1000, 0.5f}}));
}

} // namespace
