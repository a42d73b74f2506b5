// SPDX-License-Identifier: Apache-2.0
// MGlobal's messages in the log, and the watch over the calling thread.
#include "scene/message_log.h"
#include "scene/scene.h"
#include "scene/thread_check.h"

#include <maya/MFnDependencyNode.h>
#include <maya/MGlobal.h>
#include <maya/MString.h>

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using headless::Message;
using headless::MessageLevel;

class Messages : public testing::Test {
protected:
    void SetUp() override { reset(); }
    void TearDown() override { reset(); }
    static void reset() {
        headless::setMessageListener(nullptr);
        headless::setMessageEcho(false);
        headless::clearMessages();
        headless::resetThreadCheck();
    }
};

TEST_F(Messages, AreKeptInOrderWithLevelAndRawText) {
    MGlobal::displayInfo(MString("one"));
    MGlobal::displayError(MString("two %s ^1s\n"));
    MGlobal::displayWarning(MString(""));
    MGlobal::displayError(MString("a\0b", 3));
    const std::vector<Message> expected = {{MessageLevel::info, "one"},
                                           {MessageLevel::error, "two %s ^1s\n"},
                                           {MessageLevel::warning, ""},
                                           {MessageLevel::error, std::string("a\0b", 3)}};
    EXPECT_TRUE(headless::messages() == expected);
    EXPECT_TRUE(headless::takeMessages() == expected);
    EXPECT_TRUE(headless::messages().empty());
}

TEST_F(Messages, ClearForgetsThem) {
    MGlobal::displayInfo(MString("one"));
    headless::clearMessages();
    EXPECT_TRUE(headless::takeMessages().empty());
}

TEST_F(Messages, AreEchoedOnlyOnRequest) {
    testing::internal::CaptureStderr();
    MGlobal::displayError(MString("silent"));
    headless::setMessageEcho(true);
    MGlobal::displayError(MString("bad"));
    MGlobal::displayWarning(MString("odd"));
    MGlobal::displayInfo(MString("fine"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: bad\nWarning: odd\nfine\n");
    EXPECT_EQ(headless::takeMessages().size(), 4u);
}

TEST_F(Messages, ListenerHearsEachOneAndMayUseTheLog) {
    std::vector<Message> heard;
    std::size_t loggedWhenHeard = 0;
    headless::setMessageListener([&](const Message& message) {
        heard.push_back(message);
        loggedWhenHeard = headless::messages().size();
    });
    MGlobal::displayError(MString("bad"));
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_TRUE(heard[0] == (Message{MessageLevel::error, "bad"}));
    EXPECT_EQ(loggedWhenHeard, 1u);
    headless::setMessageListener(nullptr);
    MGlobal::displayError(MString("worse"));
    EXPECT_EQ(heard.size(), 1u);
}

TEST_F(Messages, WhatAListenerThrowsIsDropped) {
    headless::setMessageListener([](const Message&) { throw std::runtime_error("listener"); });
    EXPECT_NO_THROW(MGlobal::displayError(MString("bad")));
    EXPECT_EQ(headless::takeMessages().size(), 1u);
}

TEST_F(Messages, CallsFromOneThreadAreFine) {
    MGlobal::displayInfo(MString("one"));
    MGlobal::displayInfo(MString("two"));
    EXPECT_EQ(headless::foreignCallCount(), 0u);
    EXPECT_EQ(headless::firstForeignCall(), "");
}

TEST_F(Messages, CallsFromASecondThreadAreRemembered) {
    const MObject node = headless::createNode("talvisora", "body");
    MGlobal::displayInfo(MString("one"));
    std::thread([&] {
        MFnDependencyNode fn(node);
        MGlobal::displayError(MString("two"));
    }).join();
    EXPECT_EQ(headless::foreignCallCount(), 2u);
    EXPECT_EQ(headless::firstForeignCall(), "MFnBase::setObject");
    headless::resetThreadCheck();
    EXPECT_EQ(headless::foreignCallCount(), 0u);
    headless::deleteNode(node);
}

TEST_F(Messages, FirstCallerAfterAResetIsTheRightThread) {
    std::thread([] { MGlobal::displayInfo(MString("one")); }).join();
    EXPECT_EQ(headless::foreignCallCount(), 0u);
    MGlobal::displayWarning(MString("two"));
    EXPECT_EQ(headless::foreignCallCount(), 1u);
    EXPECT_EQ(headless::firstForeignCall(), "MGlobal::displayWarning");
}

TEST_F(Messages, PlainValuesMayBeUsedOnAnyThread) {
    const MObject node = headless::createNode("talvisora", "body");
    MGlobal::displayInfo(MString("one"));
    std::thread([&] {
        MObject copy(node);
        MString text("body");
        text += " two";
        EXPECT_FALSE(copy.isNull());
        EXPECT_TRUE(headless::isAlive(copy));
        headless::takeMessages();
    }).join();
    EXPECT_EQ(headless::foreignCallCount(), 0u);
    headless::deleteNode(node);
}

} // namespace
