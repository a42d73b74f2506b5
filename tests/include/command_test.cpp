// SPDX-License-Identifier: Apache-2.0
// The command prologue around a body of the test's own: when it runs, what it is given, what becomes of its
// exceptions.
#include "command.h"

#include <gtest/gtest.h>

#include "fixtures/node_test.h"

namespace talvisora {
namespace {

using namespace fixtures;

class Prologue : public NodeTest {
protected:
    Prologue() {
        arguments["HELP"] = boolean(true);
        arguments["NODE_NAME"] = makeText("graphNode");
        arguments["GR_NODE_PTR"] = pointer(static_cast<GrNode*>(&node));
        arguments["GET_ATTRIBUTES_PTR"] = pointer(this);
        arguments["RUN_ATTRIBUTES_PTR"] = pointer(&attributes);
        arguments["DEFORM_ATTRIBUTES_PTR"] = pointer(&record);
    }
    ValueMap arguments;
};

TEST_F(Prologue, HandsTheContextsOnAndAnswersWithTheBodysStatus) {
    const int status = runCommand(arguments, [&](const CommandContext& context) {
        EXPECT_EQ(&context.arguments, &arguments);
        EXPECT_EQ(context.nodeName, "graphNode");
        EXPECT_EQ(context.node, &node);
        EXPECT_EQ(context.runAttributes, &attributes);
        EXPECT_EQ(context.record, &record);
        return 7;
    });
    EXPECT_EQ(status, 7);
    EXPECT_EQ(errors(), std::vector<std::string>{});
}

TEST_F(Prologue, DoesNotRunTheBodyWhenAContextIsNull) {
    bool ran = false;
    arguments["DEFORM_ATTRIBUTES_PTR"] = pointer(nullptr);
    EXPECT_EQ(runCommand(arguments, [&](const CommandContext&) { return ran = true, 0; }), 1);
    EXPECT_FALSE(ran);
    EXPECT_EQ(errorsWithoutLine(), std::vector<std::string>{"arm: ASSERT error (deformers/talvisora/"
                                                            "talvisora:LINE): Invalid DeformAttributes"});
}

TEST_F(Prologue, ReportsWhatTheBodyThrows) {
    EXPECT_EQ(runCommand(arguments, [](const CommandContext&) -> int { throw std::runtime_error("%s"); }), 1);
    EXPECT_EQ(errors(), std::vector<std::string>{assertionText(kExceptionLine, "exception: %s")});
    EXPECT_EQ(runCommand(arguments, [](const CommandContext&) -> int { throw 5; }), 1);
    EXPECT_EQ(errors(), std::vector<std::string>{assertionText(kExceptionLine, "exception: unknown")});
}

TEST_F(Prologue, KeepsEvenAnOutOfRangeErrorOfTheBodyInside) {
    EXPECT_EQ(runCommand(arguments, [](const CommandContext&) -> int { throw std::out_of_range("map::at"); }),
              1);
    EXPECT_EQ(errors(), std::vector<std::string>{assertionText(kExceptionLine, "exception: map::at")});
}

} // namespace
} // namespace talvisora
