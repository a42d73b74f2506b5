// SPDX-License-Identifier: Apache-2.0
// The look-alike classes offer what Maya's reference lists and convert no more than that. What the type
// system can tell is asked here; what only a compiler run can tell is in refused_code_test.cpp.
#include <clew/clew.h>
#include <maya/MArrayDataBuilder.h>
#include <maya/MArrayDataHandle.h>
#include <maya/MDagPath.h>
#include <maya/MDataHandle.h>
#include <maya/MFloatArray.h>
#include <maya/MFloatPoint.h>
#include <maya/MFloatPointArray.h>
#include <maya/MFloatVector.h>
#include <maya/MFn.h>
#include <maya/MFnBase.h>
#include <maya/MFnDependencyNode.h>
#include <maya/MFnMesh.h>
#include <maya/MFnSingleIndexedComponent.h>
#include <maya/MGlobal.h>
#include <maya/MIntArray.h>
#include <maya/MMatrix.h>
#include <maya/MObject.h>
#include <maya/MOpenCLAutoPtr.h>
#include <maya/MPlug.h>
#include <maya/MPoint.h>
#include <maya/MPointArray.h>
#include <maya/MSelectionList.h>
#include <maya/MSpace.h>
#include <maya/MStatus.h>
#include <maya/MString.h>
#include <maya/MTypes.h>
#include <maya/MVector.h>

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <type_traits>
#include <vector>

namespace {

template <typename From, typename To>
constexpr bool converts = std::is_convertible_v<From, To>;

TEST(Conformance, VersionAndNamespaceAreThoseOf2024) {
    EXPECT_EQ(MAYA_API_VERSION, 20240000);
    EXPECT_EQ(MAYA_APP_VERSION, 2024);
    EXPECT_TRUE((std::is_same_v<MObject, Autodesk::Maya::OPENMAYA_MAJOR_NAMESPACE::MObject>));
    EXPECT_TRUE((std::is_same_v<MString, Autodesk::Maya::OpenMaya20240000::MString>));
    EXPECT_TRUE((std::is_same_v<MS, MStatus>));
    EXPECT_TRUE((std::is_same_v<int2, int[2]>));
}

TEST(Conformance, StringComesFromCTextOnly) {
    EXPECT_TRUE((converts<const char*, MString>));
    EXPECT_TRUE((converts<const wchar_t*, MString>));
    EXPECT_TRUE((std::is_constructible_v<MString, const char*, int>));
    EXPECT_TRUE((std::is_constructible_v<MString, const wchar_t*, int>));
    EXPECT_FALSE((std::is_constructible_v<MString, std::string>));
    EXPECT_FALSE((std::is_constructible_v<MString, std::string, int>));
    EXPECT_FALSE((std::is_constructible_v<MString, std::nullptr_t>));
    EXPECT_FALSE((std::is_constructible_v<MString, int>));
    EXPECT_FALSE((std::is_constructible_v<MString, double>));
    EXPECT_FALSE((std::is_constructible_v<MString, char>));
    EXPECT_FALSE((std::is_assignable_v<MString&, std::string>));
}

TEST(Conformance, StringBecomesNothingElse) {
    EXPECT_FALSE((std::is_constructible_v<std::string, MString>));
    EXPECT_FALSE((converts<MString, const char*>));
    EXPECT_FALSE((std::is_constructible_v<const char*, MString>));
    EXPECT_FALSE((std::is_constructible_v<bool, MString>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<const MString&>().length()), unsigned int>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<const MString&>().asChar()), const char*>));
}

TEST(Conformance, StatusConvertsFromItsCodesAndToBool) {
    EXPECT_TRUE((converts<MStatus::MStatusCode, MStatus>));
    EXPECT_TRUE((converts<MStatus, bool>));
    EXPECT_FALSE((std::is_constructible_v<MStatus, int>));
    EXPECT_FALSE((std::is_constructible_v<MStatus, bool>));
    EXPECT_FALSE((std::is_constructible_v<MStatus, const char*>));
    EXPECT_FALSE((converts<MStatus, MStatus::MStatusCode>));
}

TEST(Conformance, ObjectIsAPlainHandle) {
    EXPECT_TRUE(std::is_default_constructible_v<MObject>);
    EXPECT_TRUE(std::is_copy_constructible_v<MObject>);
    EXPECT_TRUE(std::is_copy_assignable_v<MObject>);
    EXPECT_FALSE(std::has_virtual_destructor_v<MObject>);
    EXPECT_FALSE((std::is_constructible_v<MObject, int>));
    EXPECT_FALSE((std::is_constructible_v<MObject, std::nullptr_t>));
    EXPECT_FALSE((std::is_constructible_v<MObject, void*>));
    EXPECT_FALSE((std::is_constructible_v<bool, MObject>));
    // Default of `MObject &` parameters, so it binds to one.
    EXPECT_TRUE((std::is_same_v<decltype((MObject::kNullObj)), MObject&>));
}

TEST(Conformance, TypeNumbersThatAreStableHaveTheirValues) {
    EXPECT_EQ(static_cast<int>(MFn::kInvalid), 0);
    EXPECT_EQ(static_cast<int>(MFn::kBase), 1);
    EXPECT_EQ(static_cast<int>(MFn::kNamedObject), 2);
    EXPECT_EQ(static_cast<int>(MFn::kDependencyNode), 4);
}

TEST(Conformance, FunctionSetTakesObjectsAndAnOptionalStatus) {
    using Fn = MFnDependencyNode;
    EXPECT_TRUE((std::is_base_of_v<MFnBase, Fn>));
    EXPECT_TRUE(std::is_default_constructible_v<Fn>);
    EXPECT_TRUE((std::is_constructible_v<Fn, MObject&>));
    EXPECT_TRUE((std::is_constructible_v<Fn, const MObject&>));
    EXPECT_TRUE((std::is_constructible_v<Fn, MObject>)); // a temporary
    EXPECT_TRUE((std::is_constructible_v<Fn, MObject&, MStatus*>));
    EXPECT_FALSE((std::is_constructible_v<Fn, MObject*>));
    EXPECT_FALSE((std::is_constructible_v<Fn, MObject&, MStatus&>));
    EXPECT_FALSE((std::is_constructible_v<Fn, const char*>));
    EXPECT_FALSE((std::is_constructible_v<Fn, MString>));
    EXPECT_FALSE(std::is_copy_constructible_v<Fn>);
    EXPECT_FALSE(std::is_default_constructible_v<MFnBase>);
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<const Fn&>().name()), MString>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<const Fn&>().name(nullptr)), MString>));
}

TEST(Conformance, MessagesTakeAStringAndAnswerNothing) {
    EXPECT_TRUE((std::is_same_v<decltype(&MGlobal::displayError), void (*)(const MString&)>));
    EXPECT_TRUE((std::is_same_v<decltype(&MGlobal::displayWarning), void (*)(const MString&)>));
    EXPECT_TRUE((std::is_same_v<decltype(&MGlobal::displayInfo), void (*)(const MString&)>));
    EXPECT_FALSE((std::is_invocable_v<decltype(&MGlobal::displayError), std::string>));
}

TEST(Conformance, GeometryValuesConvertAmongThemselvesOnly) {
    EXPECT_TRUE(
        (converts<MFloatPoint, MPoint> && converts<MVector, MPoint> && converts<MFloatVector, MPoint>));
    EXPECT_TRUE((converts<MPoint, MFloatVector> && converts<MFloatPoint, MFloatVector> &&
                 converts<MVector, MFloatVector>));
    EXPECT_FALSE((std::is_constructible_v<MPoint, double> || std::is_constructible_v<MVector, double>));
    EXPECT_FALSE((std::is_constructible_v<double*, MPoint> || std::is_constructible_v<bool, MVector>));
    EXPECT_TRUE(
        (std::is_same_v<decltype(MPoint::x), double> && std::is_same_v<decltype(MFloatPoint::w), float>));
    EXPECT_TRUE((std::is_same_v<decltype(MMatrix::matrix), double[4][4]>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<MPoint>() - std::declval<MPoint>()), MVector>));
}

TEST(Conformance, ArraysHandOutElementsAsMayaDoes) {
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<MIntArray&>()[0]), int&>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<const MIntArray&>()[0]), int>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<const MFloatArray&>()[0]), float>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<const MPointArray&>()[0]), const MPoint&>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<const MFloatPointArray&>().length()), unsigned int>));
    EXPECT_FALSE((std::is_constructible_v<MIntArray, std::vector<int>>));
    EXPECT_FALSE((std::is_constructible_v<MPointArray, MFloatPointArray>));
}

TEST(Conformance, SpacesHaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(MSpace::kInvalid), 0);
    EXPECT_EQ(static_cast<int>(MSpace::kPreTransform), 2);
    EXPECT_EQ(static_cast<int>(MSpace::kObject), 2);
    EXPECT_EQ(static_cast<int>(MSpace::kWorld), 4);
    EXPECT_EQ(static_cast<int>(MSpace::kLast), 5);
}

TEST(Conformance, DataHandlesComeFromNowhereElse) {
    EXPECT_FALSE(std::is_default_constructible_v<MArrayDataHandle>);
    EXPECT_FALSE(std::is_default_constructible_v<MArrayDataBuilder>);
    EXPECT_TRUE((std::is_constructible_v<MArrayDataHandle, const MDataHandle&, MStatus*>));
    EXPECT_FALSE((converts<MDataHandle, MArrayDataHandle>));
    EXPECT_FALSE((std::is_constructible_v<MArrayDataBuilder, MArrayDataHandle>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<MDataHandle&>().setFloat(0.0f)), void>));
}

TEST(Conformance, FunctionSetsStandInTheirFamily) {
    EXPECT_TRUE((std::is_base_of_v<MFnDagNode, MFnMesh> && std::is_base_of_v<MFnDependencyNode, MFnDagNode>));
    EXPECT_TRUE((std::is_base_of_v<MFnComponent, MFnSingleIndexedComponent> &&
                 std::is_base_of_v<MFnBase, MFnComponent>));
    EXPECT_FALSE((std::is_base_of_v<MFnDependencyNode, MFnComponent>));
    EXPECT_TRUE(std::has_virtual_destructor_v<MPlug> && std::has_virtual_destructor_v<MDagPath>);
    EXPECT_TRUE((std::is_constructible_v<MFnMesh, const MDagPath&, MStatus*>));
    EXPECT_FALSE((std::is_constructible_v<MFnMesh, MString>));
}

template <typename Handle>
class HandleConformance : public testing::Test {};
using Handles = testing::Types<MAutoCLKernel, MAutoCLMem, MAutoCLEvent>;
TYPED_TEST_SUITE(HandleConformance, Handles);

TYPED_TEST(HandleConformance, TakesARawHandleOnlyWithTheNoRefMark) {
    using Raw = decltype(std::declval<const TypeParam&>().get());
    EXPECT_TRUE((std::is_constructible_v<TypeParam, Raw, typename TypeParam::NoRef>));
    EXPECT_FALSE((std::is_constructible_v<TypeParam, Raw>));
    EXPECT_FALSE((std::is_constructible_v<TypeParam, std::nullptr_t>));
    EXPECT_FALSE((std::is_constructible_v<TypeParam, Raw, bool>));
    EXPECT_FALSE((std::is_assignable_v<TypeParam&, Raw>));
}

TYPED_TEST(HandleConformance, ConvertsToNothing) {
    using Raw = decltype(std::declval<const TypeParam&>().get());
    EXPECT_FALSE((std::is_constructible_v<bool, TypeParam>));
    EXPECT_FALSE((std::is_constructible_v<Raw, TypeParam>));
    EXPECT_FALSE((std::is_constructible_v<void*, TypeParam>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<const TypeParam&>().getReadOnlyRef()), const Raw*>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<TypeParam&>().getReferenceForAssignment()), Raw*>));
}

TEST(Conformance, HandlesOfDifferentKindsDoNotMix) {
    EXPECT_FALSE((std::is_constructible_v<MAutoCLMem, MAutoCLKernel>));
    EXPECT_FALSE((std::is_constructible_v<MAutoCLMem, cl_mem, MAutoCLKernel::NoRef>));
    EXPECT_FALSE((std::is_assignable_v<MAutoCLEvent&, MAutoCLMem>));
}

TEST(Conformance, OpenCLTypesAndConstantsAreThoseOfTheStandard) {
    EXPECT_TRUE((std::is_same_v<cl_mem, struct _cl_mem*>));
    EXPECT_TRUE((std::is_same_v<cl_kernel, struct _cl_kernel*>));
    EXPECT_TRUE((std::is_same_v<cl_event, struct _cl_event*>));
    EXPECT_TRUE((std::is_same_v<cl_int, std::int32_t>));
    EXPECT_TRUE((std::is_same_v<cl_uint, std::uint32_t>));
    EXPECT_EQ(sizeof(cl_mem_flags), 8u);
    EXPECT_EQ(CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR, 36);
    EXPECT_EQ(CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR, 33);
    EXPECT_EQ(CL_KERNEL_WORK_GROUP_SIZE, 0x11B0);
}

TEST(Conformance, OpenCLNamesAreVariablesThatCanBeReplaced) {
    EXPECT_TRUE((std::is_same_v<decltype((clSetKernelArg)),
                                cl_int(CL_API_CALL*&)(cl_kernel, cl_uint, std::size_t, const void*)>));
    EXPECT_TRUE(
        (std::is_same_v<decltype((clCreateBuffer)),
                        cl_mem(CL_API_CALL*&)(cl_context, cl_mem_flags, std::size_t, void*, cl_int*)>));
    EXPECT_TRUE((std::is_same_v<decltype(&clewErrorString), const char* (*)(cl_int)>));
}

} // namespace
