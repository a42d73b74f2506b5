// SPDX-License-Identifier: Apache-2.0
// The program's contract with whoever launches it: name, entry, arguments, records, and the helper functions,
// which are tried out through small kernels appended to the text.
#include <algorithm>
#include <regex>

#include "device/program_test.h"
#include "fixtures/golden.h"
#include "reference/literal_curve.h"

namespace talvisora {
namespace {

using namespace fixtures;

std::string squeezed(const std::string& text) {
    return std::regex_replace(std::regex_replace(text, std::regex("//[^\n]*"), ""), std::regex("\\s+"), " ");
}

TEST(ProgramText, HasItsNameAndItsEntry) {
    EXPECT_STREQ(kProgramName, "talvisora__CL_program_23925");
    EXPECT_STREQ(kProgramEntry, "run");
    EXPECT_EQ(programText(), programText());
}

TEST(ProgramText, IsTheThreeFilesOneAfterTheOther) {
    std::string joined;
    for (const char* name : {"curve.cl", "records.cl", "run.cl"}) {
        std::ifstream file(std::string(TALVISORA_SOURCE_DIR) + "/deformers/talvisora/kernels/" + name,
                           std::ios::binary);
        ASSERT_TRUE(file) << name;
        joined.append(std::istreambuf_iterator<char>(file), {});
    }
    EXPECT_EQ(programText(), joined);
}

TEST(ProgramText, TakesThe22ArgumentsInTheirOrder) {
    const std::string text = squeezed(programText());
    const std::string head = "kernel void run(";
    const std::size_t at = text.find(head);
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(text.substr(at + head.size(), text.find(')', at) - at - head.size()),
              "global const float* INPUT_POSITIONS, global float* OUTPUT_POSITIONS, const int NUM_ELEMENTS, "
              "global const float* WEIGHTS, const float ENVELOPE, const float16 attr_geoMatrix, "
              "global const float* attr_weightMaps, const float16 attr_geoMatrixInverse, "
              "const int attr_MAX_CV_MATRICES, const int attr_bsize, "
              "constant struct BlockInfo* attr_blockInfo, global const int* attr_ordersStart, "
              "global const int* attr_ordersEnd, global const float* attr_blockWeightsArray, "
              "global const float* attr_paramsArray, global const float16* attr_cvMatricesArray, "
              "global const float16* attr_cvBaseMatricesArray, "
              "global const float16* attr_cvBaseMatricesInverseArray, global const float* attr_knots, "
              "global float3* attr_cvsdata, global const struct Tweak* attr_tweaksArray, "
              "global const struct TweakVectors* attr_tweaksVectorsArray");
}

TEST(ProgramText, HoldsHelpersThenRecordsThenTheKernel) {
    const std::string text = programText();
    std::size_t last = 0;
    for (const char* name : {"float3 pointMultMat(", "float vectorsAngle(", "uint NURBS_findSpan(",
                             "void NURBS_basisFunction(", "float3 NURBS_evaluate(", "struct BlockInfo {",
                             "struct Tweak {", "struct TweakVectors {", "kernel void run("}) {
        const std::size_t at = text.find(name);
        ASSERT_NE(at, std::string::npos) << name;
        EXPECT_GT(at, last) << name;
        last = at;
    }
}

// A literal without its suffix is a double where the device has them, and an error where it has none.
TEST(ProgramText, HasNoDoubleAnywhere) {
    const std::string text = squeezed(programText());
    EXPECT_EQ(text.find("double"), std::string::npos);
    const std::regex number("[^A-Za-z0-9_.][0-9]+(\\.[0-9]*(e-?[0-9]+)?|e-?[0-9]+)(?![0-9]*f)[^0-9f]");
    EXPECT_FALSE(std::regex_search(text, number));
    EXPECT_TRUE(std::regex_search(std::string("x = 0.5;"), number)); // the search does find one
}

class ProgramHelpers : public ProgramTest {
protected:
    /// Runs `body`, the inside of a kernel with `in` and `out`, appended to the program; answers `out`.
    std::vector<float> ask(const std::string& body, const std::vector<float>& in, std::size_t answers) {
        const device::Kernel kernel = device().compile(
            std::string(programText()) + "\nkernel void ask(global const float* in, global float* out) {" +
                body + "}",
            "ask");
        const device::Buffer from = device().create(in), to = device().create(std::vector<float>(answers));
        cl_mem a = from.get(), b = to.get();
        device::check(clSetKernelArg(kernel.get(), 0, sizeof a, &a), "clSetKernelArg");
        device::check(clSetKernelArg(kernel.get(), 1, sizeof b, &b), "clSetKernelArg");
        device().launch(kernel, 1, 1);
        return device().read<float>(to, answers);
    }
};

TEST_F(ProgramHelpers, RecordsHaveTheHostsSizesAndOffsets) {
    const auto sizes =
        ask("out[0] = sizeof(struct BlockInfo); out[1] = sizeof(struct Tweak); out[2] = sizeof(struct "
            "TweakVectors);"
            "out[3] = sizeof(float3); private struct TweakVectors v; private struct Tweak t; private struct "
            "BlockInfo b;"
            "out[4] = (char*)&v.zAxis - (char*)&v; out[5] = (char*)&v.angleWeight - (char*)&v;"
            "out[6] = (char*)&t.slideOrthoNextOut - (char*)&t; out[7] = (char*)&b.simple - (char*)&b;"
            "out[8] = (char*)&v.planeNormal - (char*)&v; out[9] = (char*)&t.bulge - (char*)&t;",
            {}, 10);
    EXPECT_EQ(sizes, (std::vector<float>{12, 56, 112, 16, 80, 96, 52, 8, 48, 8}));
    EXPECT_EQ(sizeof(BlockInfo), 12u);
    EXPECT_EQ(sizeof(Tweak), 56u);
    EXPECT_EQ(sizeof(TweakVectors), 112u);
}

TEST_F(ProgramHelpers, VectorsAngleOfAZeroVectorIsZero) {
    const auto angles =
        ask("out[0] = vectorsAngle((float3)(0.0f), (float3)(1.0f, 2.0f, 3.0f));"
            "out[1] = vectorsAngle((float3)(1.0f, 0.0f, 0.0f), (float3)(0.0f, 0.0f, 2.0f));"
            "out[2] = vectorsAngle((float3)(0.03f, 0.0f, 0.0f), (float3)(0.0f, 0.03f, 0.0f));"
            "out[3] = vectorsAngle((float3)(0.04f, 0.0f, 0.0f), (float3)(0.0f, 0.04f, 0.0f));",
            {}, 4);
    EXPECT_EQ(angles[0], 0.0f);
    EXPECT_FLOAT_EQ(angles[1], 1.5707964f);
    EXPECT_EQ(angles[2], 0.0f); // lengths multiply to 0.0009
    EXPECT_FLOAT_EQ(angles[3], 1.5707964f);
}

TEST_F(ProgramHelpers, PointsAreDividedByTheirFourthComponent) {
    std::vector<float> in = {1, 2, 3, 0.5f, 4, 5, 6, 0.25f, 7, 8, 10, 0, 1, 2, 3, 2};
    const std::string body =
        "const float3 q = pointMultMat((float3)(1.0f, 2.0f, 4.0f), vload16(0, in)); vstore3(q, 0, out);";
    // By hand: (1 + 8 + 28 + 1, 2 + 10 + 32 + 2, 3 + 12 + 40 + 3) / (0.5 + 0.5 + 0 + 2).
    const auto divided = ask(body, in, 3);
    EXPECT_FLOAT_EQ(divided[0], 38.0f / 3);
    EXPECT_FLOAT_EQ(divided[1], 46.0f / 3);
    EXPECT_FLOAT_EQ(divided[2], 58.0f / 3);
    in[3] = in[7] = 0.0f;
    in[15] = 1.0f;
    EXPECT_EQ(ask(body, in, 3), (std::vector<float>{38, 46, 58}));
}

// Halving must find what scanning finds, on every knot, on both sides of it, and for what is no number.
TEST_F(ProgramHelpers, TheSpanIsTheOneThatAScanFinds) {
    for (int count : {4, 5, 7, 13, 28, 30}) {
        SCOPED_TRACE(count);
        const auto knots = literal::clampedKnots(count);
        std::vector<float> asked = {-1.0f, 2.0f, NAN, INFINITY, -INFINITY, -0.0f, 0.1f, 0.987f};
        for (float k : knots)
            for (float u : {k, std::nextafter(k, -9.0f), std::nextafter(k, 9.0f)}) asked.push_back(u);
        std::vector<float> in = knots;
        in.insert(in.end(), asked.begin(), asked.end());
        const std::string nb = std::to_string(knots.size());
        const auto spans = ask("for (int i = 0; i < " + std::to_string(asked.size()) +
                                   "; ++i) out[i] = NURBS_findSpan(in, " + nb + ", 3, in[" + nb + " + i]);",
                               in, asked.size());
        for (std::size_t i = 0; i < asked.size(); ++i)
            EXPECT_EQ(spans[i], static_cast<float>(literal::findSpan(
                                    knots.data(), static_cast<unsigned>(knots.size()), 3, asked[i])))
                << asked[i];
    }
}

// The figures were computed with a rounding after every operation; a device may fuse two of them.
TEST_F(ProgramHelpers, BasisAndCurvePointsAreTheIndependentOnes) {
    const Json file = golden("curve.expected.json");
    const auto knots = numbers<float>(file.at("expect").at("knots"));
    std::vector<float> in = knots;
    const auto controlPoints = points(file.at("input").at("controlPoints"));
    const std::string nb = std::to_string(knots.size()), count = std::to_string(controlPoints.size());
    for (float x : narrowed(controlPoints)) in.push_back(x);
    const Json& queries = file.at("expect").at("queries");
    for (const Json& query : queries) in.push_back(query.at("u").get<float>());
    // The curve function takes its control points from global memory, sixteen bytes each: the tail of `out`.
    const std::string q = std::to_string(queries.size()), polygon = std::to_string(8 * queries.size());
    const auto answers = ask("global float3* cvs = (global float3*)(out + " + polygon +
                                 ");"
                                 "for (int k = 0; k < " +
                                 count + "; ++k) cvs[k] = vload3(k, in + " + nb +
                                 ");"
                                 "for (int i = 0; i < " +
                                 q +
                                 "; ++i) {"
                                 "  const float u = in[" +
                                 nb + " + 3 * " + count +
                                 " + i]; float N[8];"
                                 "  NURBS_basisFunction(in, 3, NURBS_findSpan(in, " +
                                 nb +
                                 ", 3, u), u, N);"
                                 "  for (int k = 0; k < 4; ++k) out[8 * i + k] = N[k];"
                                 "  vstore3(NURBS_evaluate(cvs, in, 3, " +
                                 nb + ", u), 0, out + 8 * i + 4); }",
                             in, 8 * queries.size() + 4 * controlPoints.size());
    for (std::size_t i = 0; i < queries.size(); ++i) {
        const auto basis = numbers<float>(queries[i].at("basisKernel"));
        const Vec3d point = vec3(queries[i].at("pointKernel"));
        SCOPED_TRACE(queries[i].at("u").get<float>());
        for (std::size_t k = 0; k < 4; ++k)
            EXPECT_NEAR(answers[8 * i + k], basis[k], 0x1p-22 * std::max(1.0f, std::fabs(basis[k])));
        const Vec3d own{answers[8 * i + 4], answers[8 * i + 5], answers[8 * i + 6]};
        EXPECT_LE(largestDifference({own}, {point}),
                  0x1p-20 * std::max(largestCoordinate({point}), largestCoordinate(controlPoints)));
    }
}

TEST_F(ProgramHelpers, TheKernelRefusesWrongSizesAndATwentyThirdArgument) {
    cl_uint count = 0;
    device::check(clGetKernelInfo(kernel().get(), CL_KERNEL_NUM_ARGS, sizeof count, &count, nullptr),
                  "clGetKernelInfo");
    EXPECT_EQ(count, 22u);
    const std::vector<unsigned> byValue4 = {2, 4, 8, 9}, byValue64 = {5, 7};
    const float zeros[16] = {};
    for (unsigned index = 0; index < 22; ++index) {
        const bool four = std::count(byValue4.begin(), byValue4.end(), index) > 0;
        const bool matrix = std::count(byValue64.begin(), byValue64.end(), index) > 0;
        const std::size_t right = four ? 4 : matrix ? 64 : sizeof(cl_mem);
        cl_mem none = nullptr;
        const void* value = four || matrix ? static_cast<const void*>(zeros) : &none;
        EXPECT_EQ(clSetKernelArg(kernel().get(), index, right, value), CL_SUCCESS) << index;
        EXPECT_EQ(clSetKernelArg(kernel().get(), index, right == 4 ? 8 : 4, value), CL_INVALID_ARG_SIZE)
            << index;
    }
    EXPECT_EQ(clSetKernelArg(kernel().get(), 22, 4, zeros), CL_INVALID_ARG_INDEX);
}

} // namespace
} // namespace talvisora
