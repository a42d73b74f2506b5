// SPDX-License-Identifier: Apache-2.0
// Nodes of the headless scene as seen through MObject and MFnDependencyNode, alive, renamed, deleted and
// null.
#include "scene/scene.h"

#include <maya/MFnDependencyNode.h>
#include <maya/MObject.h>
#include <maya/MStatus.h>
#include <maya/MString.h>

#include <gtest/gtest.h>
#include <string>

namespace {

class DependencyNode : public testing::Test {
protected:
    void SetUp() override { headless::clearScene(); }
    void TearDown() override { headless::clearScene(); }

    static std::string nameOf(const MObject& node) {
        MFnDependencyNode fn(node);
        return fn.name().asChar();
    }
};

TEST_F(DependencyNode, GivesItsNameAndTypeName) {
    MObject node = headless::createNode("talvisora", "rig:body");
    MStatus status(MS::kFailure);
    MFnDependencyNode fn(node, &status);
    EXPECT_TRUE(status);
    status = MS::kFailure;
    EXPECT_STREQ(fn.name(&status).asChar(), "rig:body");
    EXPECT_TRUE(status);
    status = MS::kFailure;
    EXPECT_STREQ(fn.typeName(&status).asChar(), "talvisora");
    EXPECT_TRUE(status);
}

TEST_F(DependencyNode, HasTheKindsOfAPluginNode) {
    const MObject node = headless::createNode("talvisora", "body");
    EXPECT_FALSE(node.isNull());
    EXPECT_EQ(node.apiType(), MFn::kPluginDependNode);
    EXPECT_STREQ(node.apiTypeStr(), "kPluginDependNode");
    for (MFn::Type type : {MFn::kBase, MFn::kNamedObject, MFn::kDependencyNode, MFn::kPluginDependNode}) {
        EXPECT_TRUE(node.hasFn(type)) << type;
    }
    for (MFn::Type type : {MFn::kInvalid, MFn::kDagNode, MFn::kTransform, MFn::kMesh, MFn::kComponent}) {
        EXPECT_FALSE(node.hasFn(type)) << type;
    }
}

TEST_F(DependencyNode, NullObjectHasNoNameAndAttachesNowhere) {
    MObject null;
    EXPECT_TRUE(null.isNull());
    EXPECT_TRUE(null == MObject::kNullObj);
    EXPECT_EQ(null.apiType(), MFn::kInvalid);
    EXPECT_STREQ(null.apiTypeStr(), "kInvalid");
    EXPECT_FALSE(null.hasFn(MFn::kBase));
    MStatus status;
    MFnDependencyNode fn(null, &status);
    EXPECT_FALSE(status);
    status.clear();
    EXPECT_EQ(fn.name(&status).length(), 0u);
    EXPECT_FALSE(status);
    status.clear();
    EXPECT_EQ(fn.typeName(&status).length(), 0u);
    EXPECT_FALSE(status);
    status.clear();
    EXPECT_TRUE(fn.object(&status).isNull());
    EXPECT_FALSE(status);
    EXPECT_EQ(MFnDependencyNode(null).name().length(), 0u); // the status may be left out
}

TEST_F(DependencyNode, HandleThatOutlivedItsNodeFindsNothing) {
    const MObject node = headless::createNode("talvisora", "body");
    MFnDependencyNode attachedBefore(node);
    EXPECT_TRUE(headless::isAlive(node));
    EXPECT_TRUE(headless::deleteNode(node));
    EXPECT_FALSE(headless::isAlive(node));
    EXPECT_FALSE(headless::deleteNode(node));
    EXPECT_EQ(headless::renameNode(node, "other"), "");

    // A node made later, even of the same name, is another one.
    const MObject later = headless::createNode("talvisora", "body");
    EXPECT_TRUE(node != later);
    EXPECT_FALSE(node.isNull());
    EXPECT_EQ(node.apiType(), MFn::kInvalid);
    EXPECT_FALSE(node.hasFn(MFn::kDependencyNode));
    EXPECT_EQ(nameOf(node), "");
    MStatus status;
    EXPECT_EQ(attachedBefore.name(&status).length(), 0u);
    EXPECT_FALSE(status);
    EXPECT_TRUE(attachedBefore.object().isNull());
    EXPECT_EQ(nameOf(later), "body");
}

TEST_F(DependencyNode, AttachedFunctionSetSeesARename) {
    const MObject node = headless::createNode("talvisora", "body");
    MFnDependencyNode fn(node);
    EXPECT_EQ(headless::renameNode(node, "torso"), "torso");
    EXPECT_STREQ(fn.name().asChar(), "torso");
    EXPECT_TRUE(headless::findNode("torso") == node);
    EXPECT_TRUE(headless::findNode("body").isNull());
    EXPECT_EQ(headless::renameNode(node, "torso"), "torso");
}

TEST_F(DependencyNode, NamesStayUnique) {
    const MObject first = headless::createNode("talvisora", "body");
    const MObject second = headless::createNode("talvisora", "body");
    const MObject third = headless::createNode("talvisora", "body");
    EXPECT_EQ(nameOf(first), "body");
    EXPECT_EQ(nameOf(second), "body1");
    EXPECT_EQ(nameOf(third), "body2");
    EXPECT_TRUE(headless::deleteNode(second));
    EXPECT_EQ(headless::renameNode(third, "body"), "body1");
    EXPECT_EQ(nameOf(headless::createNode("talvisora", "")), "talvisora1");
}

TEST_F(DependencyNode, NameIsKeptByteForByte) {
    const std::string name("a b\0\xC3\xA4'\"", 8);
    const MObject node = headless::createNode("talvisora", name);
    const MString shown = MFnDependencyNode(node).name();
    int length = 0;
    const char* bytes = shown.asChar(length);
    EXPECT_EQ(std::string(bytes, static_cast<std::size_t>(length)), name);
}

TEST_F(DependencyNode, CopiesOfAHandleAreTheSameObject) {
    const MObject node = headless::createNode("talvisora", "body");
    const MObject other = headless::createNode("talvisora", "tail");
    {
        MObject copy(node);
        EXPECT_TRUE(copy == node);
        copy = other;
        EXPECT_TRUE(copy == other);
        EXPECT_TRUE(copy != node);
    }
    EXPECT_EQ(nameOf(other), "tail"); // the end of a handle is not the end of its node
}

TEST_F(DependencyNode, SetObjectAttachesAnewAndAnUnsuitableOneDetaches) {
    MObject body = headless::createNode("talvisora", "body");
    const MObject tail = headless::createNode("talvisora", "tail");
    MFnDependencyNode fn;
    EXPECT_TRUE(fn.object().isNull());
    EXPECT_TRUE(fn.setObject(body));
    EXPECT_STREQ(fn.name().asChar(), "body");
    EXPECT_TRUE(fn.setObject(tail));
    EXPECT_TRUE(fn.object() == tail);
    EXPECT_FALSE(fn.setObject(MObject()));
    EXPECT_EQ(fn.name().length(), 0u);
    EXPECT_TRUE(MObject::kNullObj.isNull());
}

TEST_F(DependencyNode, KnowsWhatItCanAttachTo) {
    const MObject node = headless::createNode("talvisora", "body");
    MFnDependencyNode fn;
    EXPECT_EQ(fn.type(), MFn::kDependencyNode);
    EXPECT_TRUE(fn.hasObj(MFn::kDependencyNode));
    EXPECT_TRUE(fn.hasObj(MFn::kNamedObject));
    EXPECT_FALSE(fn.hasObj(MFn::kMesh));
    EXPECT_TRUE(fn.hasObj(node));
    EXPECT_FALSE(fn.hasObj(MObject::kNullObj));
}

TEST_F(DependencyNode, ClearedSceneLeavesOnlyOutlivedHandles) {
    const MObject node = headless::createNode("talvisora", "body");
    headless::clearScene();
    EXPECT_FALSE(headless::isAlive(node));
    EXPECT_EQ(nameOf(node), "");
    EXPECT_TRUE(headless::findNode("body").isNull());
}

} // namespace
