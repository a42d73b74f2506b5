// SPDX-License-Identifier: Apache-2.0
// Code that Maya's compiler run would refuse is refused here too. Each case stands beside its accepted form,
// so that a compiler call that fails for another reason is seen.
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

#if defined(__linux__)
#include <unistd.h>

namespace {

struct Pair {
    const char* name;
    const char* includes;
    const char* accepted; // inside a function, after the includes
    const char* refused;
};

bool compiles(const std::string& source) {
    const std::string file = testing::TempDir() + "refused_" + std::to_string(getpid()) + ".cpp";
    std::ofstream(file) << source;
    const std::string command = std::string("\"") + TALVISORA_CXX + "\" -std=c++17 -fsyntax-only -I\"" +
                                TALVISORA_SOURCE_DIR + "/headless\" -I\"" + TALVISORA_OPENCL_HEADERS +
                                "\" \"" + file + "\" >/dev/null 2>&1";
    const bool accepted = std::system(command.c_str()) == 0;
    std::remove(file.c_str());
    return accepted;
}

class RefusedCode : public testing::TestWithParam<Pair> {};

TEST_P(RefusedCode, CompilesOnlyInTheDocumentedForm) {
    const Pair& pair = GetParam();
    const std::string head = std::string(pair.includes) + "\n#include <string>\nvoid probe() {\n";
    EXPECT_TRUE(compiles(head + pair.accepted + "\n}\n")) << pair.accepted;
    EXPECT_FALSE(compiles(head + pair.refused + "\n}\n")) << pair.refused;
}

const Pair kPairs[] = {
    {"ForwardDeclaration", "#include <maya/MApiNamespace.h>", "MObject* o = nullptr; (void)o;",
     "} class MObject; void other() { MObject* o = nullptr; (void)o;"},
    {"StringFromNull", "#include <maya/MString.h>", "MString s(\"\");", "MString s(nullptr);"},
    {"StringFromZero", "#include <maya/MString.h>", "MString s(\"0\");", "MString s(0);"},
    {"StringAssignedZero", "#include <maya/MString.h>", "MString s; s = 0.0;", "MString s; s = 0;"},
    {"MessageFromStdString", "#include <maya/MGlobal.h>\n#include <maya/MString.h>",
     "std::string t; MGlobal::displayError(MString(t.c_str()));", "std::string t; MGlobal::displayError(t);"},
    {"MessageWithoutStringHeader", "#include <maya/MGlobal.h>",
     "}\n#include <maya/MString.h>\nvoid other() { MGlobal::displayError(\"x\");",
     "MGlobal::displayError(\"x\");"},
    {"StringToCText", "#include <maya/MString.h>", "MString s; const char* c = s.asChar(); (void)c;",
     "MString s; const char* c = s; (void)c;"},
    {"CTextEqualsString", "#include <maya/MString.h>", "MString s; bool b = s == \"x\"; (void)b;",
     "MString s; bool b = \"x\" == s; (void)b;"},
    {"StatusPrintedAsConstant", "#include <iostream>\n#include <maya/MStatus.h>",
     "MStatus s; std::ostream& o = std::cout; operator<<(o, s);",
     "const MStatus s; std::ostream& o = std::cout; operator<<(o, s);"},
    {"DrawTextWithFalseForNoSize",
     "#include <maya/MPoint.h>\n#include <maya/MString.h>\n#include <maya/MUIDrawManager.h>",
     "using D = MHWRender::MUIDrawManager; D* d = nullptr; d->text(MPoint(), MString(\"1\"), D::kLeft);",
     "using D = MHWRender::MUIDrawManager; D* d = nullptr; "
     "d->text(MPoint(), MString(\"1\"), D::kLeft, nullptr, false);"},
    {"DrawManagerMade", "#include <maya/MUIDrawManager.h>",
     "MHWRender::MUIDrawManager* d = nullptr; (void)d;", "MHWRender::MUIDrawManager d; (void)d;"},
    {"FunctionSetCopied", "#include <maya/MFnDependencyNode.h>", "MObject o; MFnDependencyNode a(o);",
     "MObject o; MFnDependencyNode a(o); MFnDependencyNode b(a);"},
    {"BufferFromRaw", "#include <maya/MOpenCLAutoPtr.h>",
     "cl_mem raw = nullptr; MAutoCLMem m(raw, MAutoCLMem::NoRef());",
     "cl_mem raw = nullptr; MAutoCLMem m(raw);"},
    {"BufferAssignedRaw", "#include <maya/MOpenCLAutoPtr.h>",
     "cl_mem raw = nullptr; MAutoCLMem m; m.attach(raw);", "cl_mem raw = nullptr; MAutoCLMem m; m = raw;"},
    {"HandleAsCondition", "#include <maya/MOpenCLAutoPtr.h>", "MAutoCLKernel k; if (!k) return;",
     "MAutoCLKernel k; if (k) return;"},
    {"HandleAsRawArgument", "#include <maya/MOpenCLAutoPtr.h>", "MAutoCLMem m; clReleaseMemObject(m.get());",
     "MAutoCLMem m; clReleaseMemObject(m);"},
    {"PointFromOneNumber", "#include <maya/MPoint.h>", "MPoint p(1.0, 2.0); (void)p;",
     "MPoint p(1.0); (void)p;"},
    {"VectorFromOneNumber", "#include <maya/MFloatVector.h>", "MFloatVector v(1.0f, 2.0f); (void)v;",
     "MFloatVector v(1.0f); (void)v;"},
    {"PlugWithoutNetworkedFlag", "#include <maya/MFnDependencyNode.h>\n#include <maya/MPlug.h>",
     "MFnDependencyNode f; MPlug p = f.findPlug(MString(\"block\"), false);",
     "MFnDependencyNode f; MPlug p = f.findPlug(MString(\"block\"));"},
    {"PlugByStdString", "#include <maya/MFnDependencyNode.h>\n#include <maya/MPlug.h>",
     "std::string n; MFnDependencyNode f; f.findPlug(MString(n.c_str()), false);",
     "std::string n; MFnDependencyNode f; f.findPlug(n, false);"},
    {"SelectionByStdString",
     "#include <maya/MSelectionList.h>\n#include <maya/MStatus.h>\n#include <maya/MString.h>",
     "std::string n; MSelectionList l; l.add(MString(n.c_str()));",
     "std::string n; MSelectionList l; l.add(n);"},
    {"CommandByStdString", "#include <maya/MGlobal.h>\n#include <maya/MStatus.h>\n#include <maya/MString.h>",
     "std::string t; MGlobal::executeCommand(MString(t.c_str()), false, true);",
     "std::string t; MGlobal::executeCommand(t, false, true);"},
    {"ArrayHandleWithoutHandle", "#include <maya/MArrayDataHandle.h>\n#include <maya/MDataHandle.h>",
     "MDataHandle h; MArrayDataHandle a(h);", "MArrayDataHandle a;"},
    {"ArrayHandleConverted", "#include <maya/MArrayDataHandle.h>\n#include <maya/MDataHandle.h>",
     "MDataHandle h; MArrayDataHandle a(h);", "MDataHandle h; MArrayDataHandle a = h;"},
    {"TemporaryBuilderSet",
     "#include <maya/MArrayDataBuilder.h>\n#include <maya/MArrayDataHandle.h>\n#include "
     "<maya/MDataHandle.h>\n"
     "#include <maya/MStatus.h>",
     "MDataHandle h; MArrayDataHandle a(h); MArrayDataBuilder b = a.builder(); a.set(b);",
     "MDataHandle h; MArrayDataHandle a(h); a.set(a.builder());"},
    {"TemporaryHandleWrittenBack",
     "#include <maya/MDataHandle.h>\n#include <maya/MPlug.h>\n#include <maya/MStatus.h>",
     "MPlug p; MDataHandle h = p.asMDataHandle(); p.setMDataHandle(h);",
     "MPlug p; p.setMDataHandle(p.asMDataHandle());"},
    {"EndOfHandleHasNoResult",
     "#include <maya/MDataHandle.h>\n#include <maya/MPlug.h>\n#include <maya/MStatus.h>",
     "MPlug p; MDataHandle h; p.destructHandle(h);",
     "MPlug p; MDataHandle h; MStatus s = p.destructHandle(h); (void)s;"},
    {"ConstantPlugDescends", "#include <maya/MPlug.h>", "MPlug p; MPlug e = p.elementByLogicalIndex(0u);",
     "const MPlug p; MPlug e = p.elementByLogicalIndex(0u);"},
    {"ConstantMeshQueried", "#include <maya/MFnMesh.h>", "MFnMesh m; int n = m.numVertices(); (void)n;",
     "const MFnMesh m; int n = m.numVertices(); (void)n;"},
    {"EdgeIntoPointer", "#include <maya/MFnMesh.h>\n#include <maya/MStatus.h>",
     "MFnMesh m; int2 e; m.getEdgeVertices(0, e);", "MFnMesh m; int* e = nullptr; m.getEdgeVertices(0, e);"},
    {"RayWithoutHitPoints",
     "#include <maya/MFloatArray.h>\n#include <maya/MFloatPoint.h>\n#include <maya/MFloatPointArray.h>\n"
     "#include <maya/MFloatVector.h>\n#include <maya/MFnMesh.h>",
     "MFnMesh m; MFloatPointArray h; MMeshIsectAccelParams a = MFnMesh::autoUniformGridParams(); "
     "m.allIntersections(MFloatPoint(), MFloatVector(), nullptr, nullptr, false, MSpace::kObject, 1.0f, "
     "false, "
     "&a, false, h, nullptr, nullptr, nullptr, nullptr, nullptr, 1e-6f);",
     "MFnMesh m; MMeshIsectAccelParams a = MFnMesh::autoUniformGridParams(); "
     "m.allIntersections(MFloatPoint(), MFloatVector(), nullptr, nullptr, false, MSpace::kObject, 1.0f, "
     "false, "
     "&a, false, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 1e-6f);"},
    {"AccelParamsByValue", "#include <maya/MFnMesh.h>\n#include <maya/MPoint.h>\n#include <maya/MStatus.h>",
     "MFnMesh m; MPoint q; MMeshIsectAccelParams a; m.getClosestPoint(MPoint(), q, MSpace::kObject, nullptr, "
     "&a);",
     "MFnMesh m; MPoint q; MMeshIsectAccelParams a; m.getClosestPoint(MPoint(), q, MSpace::kObject, nullptr, "
     "a);"},
    {"NamelessElementsAdded", "#include <maya/MFnSingleIndexedComponent.h>\n#include <maya/MIntArray.h>",
     "MFnSingleIndexedComponent f; MIntArray a; f.addElements(a);",
     "MFnSingleIndexedComponent f; f.addElements(MIntArray());"},
    {"FunctionSetFromPath", "#include <maya/MDagPath.h>\n#include <maya/MFnMesh.h>",
     "MDagPath d; MFnMesh m(d);", "MDagPath d; MFnDependencyNode m(d);"},
    {"VendorHeaderFirst", "", "}\n#include <clew/clew.h>\n#include <CL/cl.h>\nvoid other() {",
     "}\n#include <CL/cl.h>\n#include <clew/clew.h>\nvoid other() {"},
};

INSTANTIATE_TEST_SUITE_P(Forms, RefusedCode, testing::ValuesIn(kPairs),
                         [](const testing::TestParamInfo<Pair>& pairInfo) {
                             return std::string(pairInfo.param.name);
                         });

} // namespace

#endif
