// SPDX-License-Identifier: Apache-2.0
// A header brings in no class that its declarations do not need whole, so that a missing include in the
// module shows up here as it would with Maya's own headers. This file includes no other API header on
// purpose.
#include <maya/MDataHandle.h>
#include <maya/MGlobal.h>
#include <maya/MObject.h>
#include <maya/MPlug.h>
#include <maya/MSelectionList.h>
#include <maya/MStatus.h>

#include <gtest/gtest.h>
#include <type_traits>

namespace {

template <typename T, typename = void>
struct IsWhole : std::false_type {};
template <typename T>
struct IsWhole<T, std::void_t<decltype(sizeof(T))>> : std::true_type {};

TEST(Includes, MessagesObjectsAndStatusDoNotBringOtherClasses) {
    EXPECT_TRUE(IsWhole<MGlobal>::value);
    EXPECT_TRUE(IsWhole<MObject>::value);
    EXPECT_TRUE(IsWhole<MStatus>::value);
    EXPECT_FALSE(IsWhole<MString>::value);
    EXPECT_FALSE(IsWhole<MFnBase>::value);
    EXPECT_FALSE(IsWhole<MFnDependencyNode>::value);
    EXPECT_FALSE(IsWhole<MAutoCLMem>::value);
}

TEST(Includes, PlugsAndSelectionsDoNotBringWhatTheyOnlyName) {
    EXPECT_TRUE(IsWhole<MPlug>::value);
    EXPECT_TRUE(IsWhole<MSelectionList>::value);
    EXPECT_TRUE(IsWhole<MDataHandle>::value);
    EXPECT_FALSE(IsWhole<MArrayDataHandle>::value);
    EXPECT_FALSE(IsWhole<MArrayDataBuilder>::value);
    EXPECT_FALSE(IsWhole<MDagPath>::value);
    EXPECT_FALSE(IsWhole<MFnMesh>::value);
    EXPECT_FALSE(IsWhole<MPoint>::value);
    EXPECT_FALSE(IsWhole<MIntArray>::value);
}

} // namespace
