// SPDX-License-Identifier: Apache-2.0
// Plugs, data handles and builders: what they name, when a value reaches the scene, and what happens to
// handles that are used wrongly.
#include "scene/attributes.h"
#include "scene/scene.h"
#include "scene/thread_check.h"

#include <maya/MArrayDataBuilder.h>
#include <maya/MArrayDataHandle.h>
#include <maya/MDataHandle.h>
#include <maya/MFnDependencyNode.h>
#include <maya/MObject.h>
#include <maya/MPlug.h>
#include <maya/MStatus.h>
#include <maya/MString.h>

#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using headless::FloatElement;
using Elements = std::vector<FloatElement>;

class Plugs : public testing::Test {
protected:
    void SetUp() override {
        headless::clearScene();
        headless::resetMisuse();
        node = headless::createNode("talvisora", "body");
        ASSERT_TRUE(headless::addCompoundArray(node, "block", {"params", "blockWeights"}));
    }
    void TearDown() override {
        headless::clearScene();
        headless::resetMisuse();
    }

    headless::FloatArrayPath path(const char* child = "params", unsigned int index = 2) const {
        return {node, "block", index, child};
    }

    // The way the module goes to its arrays.
    MPlug arrayPlug(const char* child = "params", unsigned int index = 2) const {
        MFnDependencyNode fn(node);
        MPlug block = fn.findPlug(MString("block"), false);
        MPlug element = block.elementByLogicalIndex(index);
        const MObject attribute = fn.attribute(MString(child));
        return element.child(attribute);
    }

    MObject node;
};

TEST_F(Plugs, AttributesAreFoundByNameOnly) {
    MFnDependencyNode fn(node);
    MStatus status(MS::kFailure);
    MPlug block = fn.findPlug(MString("block"), false, &status);
    EXPECT_TRUE(status);
    EXPECT_FALSE(block.isNull());
    EXPECT_STREQ(block.name().asChar(), "body.block");
    EXPECT_TRUE(block.isArray() && block.isCompound() && !block.isElement());
    EXPECT_TRUE(block.node() == node);
    EXPECT_TRUE(block.attribute() == fn.attribute(MString("block")));
    EXPECT_TRUE(fn.findPlug(block.attribute(), true).attribute() == block.attribute());
    for (const char* absent : {"", "blocks", "block[0]", "body.block"}) {
        EXPECT_TRUE(fn.findPlug(MString(absent), false, &status).isNull()) << absent;
        EXPECT_FALSE(status);
        EXPECT_TRUE(fn.attribute(MString(absent), &status).isNull());
        EXPECT_FALSE(status);
    }
    EXPECT_TRUE(MFnDependencyNode().findPlug(MString("block"), false).isNull());
    const MObject other = headless::createNode("talvisora", "other");
    EXPECT_TRUE(MFnDependencyNode(other).findPlug(block.attribute(), false).isNull());
}

TEST_F(Plugs, ChildFoundByNameHasNoParentIndex) {
    MPlug params = MFnDependencyNode(node).findPlug(MString("params"), false);
    EXPECT_FALSE(params.isNull());
    EXPECT_STREQ(params.name().asChar(), "body.block[-1].params");
    MStatus status;
    EXPECT_TRUE(params.elementByLogicalIndex(0, &status).isNull());
    EXPECT_FALSE(status);
    params.asMDataHandle(&status);
    EXPECT_FALSE(status);
    EXPECT_EQ(headless::openHandleCount(), 0u);
}

TEST_F(Plugs, ElementAndChildLeadToTheArray) {
    MFnDependencyNode fn(node);
    MPlug block = fn.findPlug(MString("block"), false);
    const MObject params = fn.attribute(MString("params"));
    EXPECT_TRUE(block.child(params).isNull()); // of the array itself there is no child
    EXPECT_TRUE(headless::compoundElements(node, "block").empty());
    MPlug element = block.elementByLogicalIndex(7);
    EXPECT_EQ(headless::compoundElements(node, "block"),
              std::vector<unsigned int>{7}); // it was made and stays
    EXPECT_EQ(block.numElements(), 1u);
    EXPECT_EQ(element.logicalIndex(), 7u);
    EXPECT_TRUE(element.child(block.attribute()).isNull());
    EXPECT_TRUE(element.child(2u).isNull());
    EXPECT_TRUE(element.child(1u).attribute() == fn.attribute(MString("blockWeights")));
    MPlug array = element.child(params);
    EXPECT_STREQ(array.name().asChar(), "body.block[7].params");
    EXPECT_TRUE(array.isArray() && !array.isCompound());
    MPlug value = array.elementByLogicalIndex(3);
    EXPECT_STREQ(value.name().asChar(), "body.block[7].params[3]");
    EXPECT_EQ(headless::floatElements(path("params", 7)), (Elements{{3, 0.0f}}));
    EXPECT_TRUE(value.isElement() && !value.isArray());
    EXPECT_TRUE(value.elementByLogicalIndex(0).isNull());
}

TEST_F(Plugs, NothingReachesTheSceneBeforeThePlugIsSet) {
    ASSERT_TRUE(headless::setFloatElements(path(), {0.5f, 0.25f}));
    MPlug plug = arrayPlug();
    MDataHandle handle = plug.asMDataHandle();
    MArrayDataHandle array(handle);
    EXPECT_EQ(array.elementCount(), 2u);
    MArrayDataBuilder builder = array.builder();
    EXPECT_EQ(builder.elementCount(), 2u);
    MDataHandle element = builder.addElement(1u);
    element.setFloat(9.0f);
    builder.addElement(4u);
    EXPECT_EQ(array.elementCount(), 2u);
    EXPECT_TRUE(array.set(builder));
    EXPECT_EQ(array.elementCount(), 3u);
    EXPECT_EQ(headless::floatElements(path()), (Elements{{0, 0.5f}, {1, 0.25f}}));
    EXPECT_TRUE(plug.setMDataHandle(handle));
    EXPECT_EQ(headless::floatElements(path()), (Elements{{0, 0.5f}, {1, 9.0f}, {4, 0.0f}}));
    EXPECT_TRUE(headless::floatElements(path("blockWeights")).empty());
    EXPECT_EQ(plug.elementByLogicalIndex(1).asFloat(), 9.0f);
    EXPECT_EQ(headless::openHandleCount(), 1u);
    plug.destructHandle(handle);
    EXPECT_EQ(headless::openHandleCount(), 0u);
    EXPECT_EQ(headless::misuseCount(), 0u) << headless::firstMisuse();
}

TEST_F(Plugs, HandleOfOneElementWritesThatElement) {
    ASSERT_TRUE(headless::setFloatElements(path(), {0.5f, 0.25f}));
    MPlug value = arrayPlug().elementByLogicalIndex(1);
    MDataHandle handle = value.asMDataHandle();
    handle.setFloat(3.0f);
    EXPECT_EQ(value.asFloat(), 0.25f);
    EXPECT_TRUE(value.setMDataHandle(handle));
    EXPECT_EQ(headless::floatElements(path()), (Elements{{0, 0.5f}, {1, 3.0f}}));
    MStatus status;
    MArrayDataHandle(handle, &status);
    EXPECT_FALSE(status);
    EXPECT_FALSE(arrayPlug().setMDataHandle(handle)); // one number is no array
    value.destructHandle(handle);
    EXPECT_EQ(headless::misuseCount(), 0u) << headless::firstMisuse();
}

TEST_F(Plugs, EndedHandleAndAllMadeFromItDoNothingAndCount) {
    MPlug plug = arrayPlug();
    MDataHandle handle = plug.asMDataHandle();
    MDataHandle copy(handle);
    MArrayDataHandle array(handle);
    MArrayDataBuilder builder = array.builder();
    MDataHandle element = builder.addElement(0u);
    plug.destructHandle(handle);
    EXPECT_EQ(headless::misuseCount(), 0u);
    element.setFloat(1.0f);
    builder.addElement(1u);
    EXPECT_EQ(builder.elementCount(), 0u);
    array.builder();
    EXPECT_FALSE(array.set(builder));
    EXPECT_EQ(array.elementCount(), 0u);
    MArrayDataHandle again(copy);
    EXPECT_FALSE(plug.setMDataHandle(copy));
    EXPECT_EQ(headless::misuseCount(), 8u);
    plug.destructHandle(copy);
    EXPECT_EQ(headless::misuseCount(), 9u);
    EXPECT_EQ(headless::firstMisuse(), "MDataHandle::setFloat without a value or after its end");
    EXPECT_EQ(headless::openHandleCount(), 0u);
    EXPECT_TRUE(headless::floatElements(path()).empty());
}

TEST_F(Plugs, HandlesWithoutAValueCountToo) {
    MDataHandle none;
    none.setFloat(1.0f);
    MPlug plug = arrayPlug();
    plug.destructHandle(none);
    EXPECT_FALSE(plug.setMDataHandle(none));
    EXPECT_EQ(headless::misuseCount(), 3u);
    MDataHandle whole = plug.asMDataHandle();
    whole.setFloat(1.0f);
    EXPECT_EQ(headless::misuseCount(), 4u);
    arrayPlug("blockWeights").destructHandle(whole);
    EXPECT_EQ(headless::misuseCount(), 5u);
    headless::resetMisuse();
    EXPECT_EQ(headless::misuseCount(), 0u);
    EXPECT_EQ(headless::firstMisuse(), "");
}

TEST_F(Plugs, HandleThatNobodyEndedStaysCounted) {
    {
        MPlug plug = arrayPlug();
        MDataHandle handle = plug.asMDataHandle();
        MDataHandle assigned;
        assigned = handle;
    }
    EXPECT_EQ(headless::openHandleCount(), 1u);
}

TEST_F(Plugs, DeletedNodeLeavesPlugsThatNameNothing) {
    MPlug plug = arrayPlug();
    MDataHandle handle = plug.asMDataHandle();
    const MObject attribute = plug.attribute();
    headless::deleteNode(node);
    EXPECT_FALSE(headless::isAlive(attribute));
    EXPECT_TRUE(plug.isNull());
    MStatus status;
    EXPECT_TRUE(plug.attribute(&status).isNull());
    EXPECT_FALSE(status);
    EXPECT_EQ(plug.name().length(), 0u);
    EXPECT_EQ(plug.numElements(), 0u);
    EXPECT_TRUE(plug.elementByLogicalIndex(0).isNull());
    EXPECT_FALSE(plug.setMDataHandle(handle));
    plug.asMDataHandle(&status);
    EXPECT_FALSE(status);
    EXPECT_TRUE(MPlug().isNull());
    EXPECT_FALSE(headless::setFloatElements(path(), {1.0f}));
}

TEST_F(Plugs, ArraysAreSparse) {
    MPlug plug = arrayPlug();
    MDataHandle handle = plug.asMDataHandle();
    MArrayDataHandle array(handle);
    MArrayDataBuilder builder = array.builder();
    for (unsigned int i : {4000000000u, 0u, 255u, 256u}) {
        MDataHandle element = builder.addElement(i);
        element.setFloat(static_cast<float>(i));
    }
    array.set(builder);
    plug.setMDataHandle(handle);
    plug.destructHandle(handle);
    EXPECT_EQ(headless::floatElements(path()),
              (Elements{{0, 0.0f}, {255, 255.0f}, {256, 256.0f}, {4000000000u, 4000000000.0f}}));
}

TEST_F(Plugs, JournalListsWhatWasWrittenSinceTheMark) {
    ASSERT_TRUE(headless::setFloatElements(path(), {0.5f, 0.25f, 0.125f}));
    const auto write = [&](unsigned int index, float value) {
        MPlug plug = arrayPlug();
        MDataHandle handle = plug.asMDataHandle();
        MArrayDataHandle array(handle);
        MArrayDataBuilder builder = array.builder();
        MDataHandle element = builder.addElement(index);
        element.setFloat(value);
        array.set(builder);
        plug.setMDataHandle(handle);
        plug.destructHandle(handle);
    };
    write(0, 4.0f);
    EXPECT_TRUE(headless::writeJournal().empty());
    headless::startWriteJournal();
    write(2, 5.0f);
    write(1, 0.25f); // the value it has already
    const std::vector<headless::WrittenElement> written = headless::writeJournal();
    ASSERT_EQ(written.size(), 2u);
    EXPECT_TRUE(written[0].node == node);
    EXPECT_EQ(written[0].compound + "/" + written[0].child, "block/params");
    EXPECT_EQ(written[0].index, 2u);
    EXPECT_EQ(written[0].element, 2u);
    EXPECT_EQ(written[0].value, 5.0f);
    EXPECT_EQ(written[0].kind, headless::WriteKind::handle);
    EXPECT_EQ(written[1].element, 1u);
    headless::startWriteJournal();
    EXPECT_TRUE(headless::writeJournal().empty());
    write(0, 1.0f);
    headless::stopWriteJournal();
    EXPECT_TRUE(headless::writeJournal().empty());
}

TEST_F(Plugs, ElementsCanBeGivenOneByOneInAnyOrder) {
    ASSERT_TRUE(headless::setFloatElements(path(), {0.5f, 0.25f, 0.125f}));
    ASSERT_TRUE(headless::setSparseFloatElements(path(), {{900, 1.0f}, {1, 2.0f}, {900, 3.0f}}));
    EXPECT_EQ(headless::floatElements(path()), (Elements{{1, 2.0f}, {900, 3.0f}}));
    ASSERT_TRUE(headless::setSparseFloatElements(path(), {}));
    EXPECT_EQ(headless::floatElements(path()), Elements{});
    EXPECT_FALSE(headless::setSparseFloatElements(path("gone"), {{0, 1.0f}}));
}

TEST_F(Plugs, AttributeNamesAreUniqueOnANode) {
    EXPECT_FALSE(headless::addCompoundArray(node, "block", {"a"}));
    EXPECT_FALSE(headless::addCompoundArray(node, "other", {"params"}));
    EXPECT_FALSE(headless::addCompoundArray(node, "other", {"a", "a"}));
    EXPECT_FALSE(headless::addCompoundArray(node, "other", {"other"}));
    EXPECT_FALSE(headless::addCompoundArray(node, "", {"a"}));
    EXPECT_FALSE(headless::addCompoundArray(MObject(), "other", {"a"}));
    EXPECT_TRUE(headless::addCompoundArray(node, "other", {"a"}));
    EXPECT_TRUE(headless::setFloatElements({node, "other", 0, "a"}, {1.0f}));
    EXPECT_FALSE(headless::setFloatElements({node, "other", 0, "params"}, {1.0f}));
}

TEST_F(Plugs, CallsFromASecondThreadAreCounted) {
    MPlug plug = arrayPlug();
    MDataHandle handle = plug.asMDataHandle();
    MArrayDataHandle array(handle);
    MArrayDataBuilder builder = array.builder();
    headless::resetThreadCheck();
    builder.addElement(0u);
    std::thread([&] { builder.addElement(1u); }).join();
    EXPECT_EQ(headless::foreignCallCount(), 1u);
    EXPECT_EQ(headless::firstForeignCall(), "MArrayDataBuilder::addElement");
    plug.destructHandle(handle);
    headless::resetThreadCheck();
}

} // namespace
