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
    {"VendorHeaderFirst", "", "}\n#include <clew/clew.h>\n#include <CL/cl.h>\nvoid other() {",
     "}\n#include <CL/cl.h>\n#include <clew/clew.h>\nvoid other() {"},
};

INSTANTIATE_TEST_SUITE_P(Forms, RefusedCode, testing::ValuesIn(kPairs),
                         [](const testing::TestParamInfo<Pair>& pairInfo) {
                             return std::string(pairInfo.param.name);
                         });

} // namespace

#endif
