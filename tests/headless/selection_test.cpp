// SPDX-License-Identifier: Apache-2.0
// Selection lists, components and paths: by name, by object, and the active selection of the scene.
#include "mesh_shapes.h"
#include "scene/scene.h"

#include <maya/MDagPath.h>
#include <maya/MFnSingleIndexedComponent.h>
#include <maya/MGlobal.h>
#include <maya/MIntArray.h>
#include <maya/MObject.h>
#include <maya/MSelectionList.h>
#include <maya/MStatus.h>
#include <maya/MString.h>

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using headless::ComponentKind;

std::vector<int> valuesOf(const MIntArray& array) {
    return std::vector<int>(array.begin(), array.end());
}

class Selection : public testing::Test {
protected:
    void SetUp() override {
        headless::clearScene();
        const mesh_shapes::Shape cube = mesh_shapes::griddedCube(1);
        body = headless::createMesh("body", cube.points, cube.counts, cube.vertices);
        node = headless::createNode("talvisora", "deformer");
    }
    void TearDown() override { headless::clearScene(); }

    static std::vector<int> elementsOf(const MObject& component) {
        MFnSingleIndexedComponent fn(component);
        MIntArray elements(2, 77);
        fn.getElements(elements);
        return valuesOf(elements);
    }

    MObject body, node;
};

TEST_F(Selection, NameFindsItsNodeAndNothingElseAddsNothing) {
    MSelectionList list;
    EXPECT_TRUE(list.isEmpty());
    for (const char* absent : {"", "bod", "body2", "Body", "nothing*", "body.vtx[0]", "|deformer"}) {
        EXPECT_FALSE(list.add(MString(absent))) << absent;
        EXPECT_TRUE(list.isEmpty());
    }
    EXPECT_TRUE(list.add(MString("body")));
    EXPECT_TRUE(list.add(MString("|body")));
    ASSERT_EQ(list.length(), 2u);
    MObject found;
    EXPECT_TRUE(list.getDependNode(1, found));
    EXPECT_TRUE(found == body);
    EXPECT_FALSE(list.getDependNode(2, found));
    EXPECT_TRUE(found.isNull());
}

TEST_F(Selection, WildcardsAddEveryMatchInOrderOfNames) {
    const MObject arm = headless::createTransform("arm");
    MSelectionList list;
    EXPECT_TRUE(list.add(MString("*o*")));
    EXPECT_TRUE(list.add(MString("?rm")));
    ASSERT_EQ(list.length(), 3u);
    const MObject expected[] = {body, node, arm};
    for (unsigned int i = 0; i < 3; ++i) {
        MObject found;
        EXPECT_TRUE(list.getDependNode(i, found));
        EXPECT_TRUE(found == expected[i]) << i;
    }
    EXPECT_TRUE(list.clear());
    EXPECT_TRUE(list.isEmpty());
}

TEST_F(Selection, ItemThatIsNotPlacedHasNoPath) {
    headless::setActiveSelection({{node, ComponentKind::vertices, {1, 2}}, {body, ComponentKind::none, {}}});
    MSelectionList list;
    EXPECT_TRUE(MGlobal::getActiveSelectionList(list));
    ASSERT_EQ(list.length(), 2u);
    MDagPath path;
    MObject component;
    EXPECT_FALSE(list.getDagPath(0, path, component));
    EXPECT_TRUE(component.isNull());
    EXPECT_FALSE(path.isValid());
    EXPECT_TRUE(list.getDagPath(1, path, component));
    EXPECT_TRUE(component.isNull());
    EXPECT_TRUE(path.node() == body);
    EXPECT_STREQ(path.fullPathName().asChar(), "|body");
    EXPECT_FALSE(list.getDagPath(2, path, component));
}

TEST_F(Selection, ComponentsGiveSortedIndicesWhateverTheirKind) {
    const struct {
        ComponentKind kind;
        MFn::Type type;
    } kinds[] = {{ComponentKind::vertices, MFn::kMeshVertComponent},
                 {ComponentKind::edges, MFn::kMeshEdgeComponent},
                 {ComponentKind::faces, MFn::kMeshPolygonComponent}};
    for (const auto& kind : kinds) {
        headless::setActiveSelection({{body, kind.kind, {5, 1, 5, 900, 1}}});
        MSelectionList list;
        MGlobal::getActiveSelectionList(list);
        MDagPath path;
        MObject component;
        ASSERT_TRUE(list.getDagPath(0, path, component));
        EXPECT_EQ(component.apiType(), kind.type);
        EXPECT_EQ(elementsOf(component), (std::vector<int>{1, 5, 900}));
    }
}

TEST_F(Selection, ComponentOfAnotherKindDoesNotAttach) {
    headless::setActiveSelection({{body, ComponentKind::other, {1, 2}}});
    MSelectionList list;
    MGlobal::getActiveSelectionList(list);
    MDagPath path;
    MObject component;
    ASSERT_TRUE(list.getDagPath(0, path, component));
    EXPECT_FALSE(component.isNull());
    MStatus status;
    MFnSingleIndexedComponent fn(component, &status);
    EXPECT_FALSE(status);
    MIntArray elements(3, 5);
    EXPECT_FALSE(fn.getElements(elements));
    EXPECT_EQ(elements.length(), 0u);
}

TEST_F(Selection, ActiveSelectionIsACopyAndKeepsOnlyWhatExists) {
    headless::setActiveSelection({{MObject(), ComponentKind::none, {}}, {body, ComponentKind::none, {}}});
    MSelectionList list;
    list.add(node);
    MGlobal::getActiveSelectionList(list);
    EXPECT_EQ(list.length(), 1u);
    list.clear();
    MSelectionList again;
    MGlobal::getActiveSelectionList(again);
    EXPECT_EQ(again.length(), 1u);
    headless::deleteNode(body);
    MObject found = node;
    EXPECT_FALSE(again.getDependNode(0, found));
    EXPECT_TRUE(found.isNull());
    headless::setActiveSelection({});
    MGlobal::getActiveSelectionList(again);
    EXPECT_TRUE(again.isEmpty());
}

TEST_F(Selection, LeftOutComponentIsNotWritten) {
    headless::setActiveSelection({{body, ComponentKind::vertices, {1}}});
    MSelectionList list;
    MGlobal::getActiveSelectionList(list);
    MDagPath path;
    EXPECT_TRUE(list.getDagPath(0, path));
    EXPECT_TRUE(MObject::kNullObj.isNull());
    EXPECT_TRUE(path.node() == body);
}

TEST_F(Selection, ObjectsAreMergedOnRequestOnly) {
    MSelectionList list;
    EXPECT_TRUE(list.add(body));
    EXPECT_TRUE(list.add(body, true));
    EXPECT_EQ(list.length(), 1u);
    EXPECT_TRUE(list.add(body));
    EXPECT_EQ(list.length(), 2u);
    EXPECT_FALSE(list.add(MObject()));
    MDagPath path;
    ASSERT_TRUE(MDagPath::getAPathTo(body, path));
    MFnSingleIndexedComponent fn;
    const MObject component = fn.create(MFn::kMeshVertComponent);
    EXPECT_FALSE(list.add(component)); // a part is no node
    EXPECT_TRUE(list.add(path, component));
    EXPECT_FALSE(list.add(path, node));
    MSelectionList copy(list);
    copy.clear();
    ASSERT_EQ(list.length(), 3u);
    MObject found;
    EXPECT_TRUE(list.getDagPath(2, path, found));
    EXPECT_TRUE(found == component);
}

TEST_F(Selection, ComponentGrowsSortedAndWithoutDoubles) {
    MFnSingleIndexedComponent fn;
    MStatus status(MS::kFailure);
    MObject component = fn.create(MFn::kMeshEdgeComponent, &status);
    EXPECT_TRUE(status);
    EXPECT_TRUE(fn.isEmpty());
    EXPECT_EQ(fn.componentType(), MFn::kMeshEdgeComponent);
    EXPECT_TRUE(fn.addElement(9));
    const int more[] = {4, 9, 2};
    MIntArray array(more, 3);
    EXPECT_TRUE(fn.addElements(array));
    EXPECT_TRUE(fn.addElement(2));
    EXPECT_EQ(fn.elementCount(), 3);
    EXPECT_EQ(elementsOf(component), (std::vector<int>{2, 4, 9}));
    for (MFn::Type type : {MFn::kComponent, MFn::kMesh, MFn::kInvalid}) {
        EXPECT_TRUE(fn.create(type, &status).isNull());
        EXPECT_FALSE(status);
        EXPECT_FALSE(fn.addElement(1));
    }
}

TEST_F(Selection, PathNeedsAPlacedNode) {
    MDagPath path;
    EXPECT_FALSE(path.isValid());
    EXPECT_TRUE(path.node().isNull());
    EXPECT_FALSE(MDagPath::getAPathTo(node, path));
    EXPECT_FALSE(MDagPath::getAPathTo(MObject(), path));
    EXPECT_TRUE(MDagPath::getAPathTo(body, path));
    EXPECT_EQ(path.apiType(), MFn::kMesh);
    EXPECT_TRUE(path.hasFn(MFn::kDagNode));
    headless::deleteNode(body);
    EXPECT_FALSE(path.isValid());
}

} // namespace
