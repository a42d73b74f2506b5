// SPDX-License-Identifier: Apache-2.0
// Files are read back with a glTF library that the writer does not use, and played by hand: rest plus the
// weighted targets must give the frames.
#include "host/writers/glb_writer.h"

#include "host/writers/sample_meshes.h"
#include "host/writers/temp_folder.h"

#include <cmath>
#include <cstring>

#include <gtest/gtest.h>
#include <tiny_gltf.h>

namespace talvisora::host {
namespace {

std::vector<Vec3d> frameOf(int f) {
    std::vector<Vec3d> points = samplePoints();
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i].z += 0.1 * f * points[i].x;
        points[i].y -= 0.01 * f * f * static_cast<double>(i);
    }
    return points;
}

tinygltf::Model load(const std::string& path) {
    tinygltf::TinyGLTF loader;
    tinygltf::Model model;
    std::string error, warning;
    EXPECT_TRUE(loader.LoadBinaryFromFile(&model, &error, &warning, path)) << error;
    EXPECT_EQ(error + warning, "");
    return model;
}

// The floats of an accessor, checked against the buffer's bounds.
std::vector<float> floatsOf(const tinygltf::Model& model, int index) {
    const tinygltf::Accessor& accessor = model.accessors.at(static_cast<std::size_t>(index));
    EXPECT_EQ(accessor.componentType, TINYGLTF_COMPONENT_TYPE_FLOAT);
    const tinygltf::BufferView& view = model.bufferViews.at(static_cast<std::size_t>(accessor.bufferView));
    const std::vector<unsigned char>& data = model.buffers.at(static_cast<std::size_t>(view.buffer)).data;
    const std::size_t components =
        static_cast<std::size_t>(tinygltf::GetNumComponentsInType(static_cast<std::uint32_t>(accessor.type)));
    const std::size_t stride = static_cast<std::size_t>(accessor.ByteStride(view));
    std::vector<float> values(accessor.count * components);
    EXPECT_LE(accessor.byteOffset + (accessor.count - 1) * stride + components * 4, view.byteLength);
    EXPECT_LE(view.byteOffset + view.byteLength, data.size());
    for (std::size_t i = 0; i < accessor.count; ++i)
        std::memcpy(&values[i * components], &data.at(view.byteOffset + accessor.byteOffset + i * stride),
                    components * 4);
    return values;
}

void expectBounds(const tinygltf::Model& model, int index) {
    const tinygltf::Accessor& accessor = model.accessors.at(static_cast<std::size_t>(index));
    const std::vector<float> values = floatsOf(model, index);
    const std::size_t components = accessor.minValues.size();
    ASSERT_GT(components, 0u);
    ASSERT_EQ(accessor.maxValues.size(), components);
    for (std::size_t c = 0; c < components; ++c) {
        float low = HUGE_VALF, high = -HUGE_VALF;
        for (std::size_t i = c; i < values.size(); i += components) {
            low = std::min(low, values[i]);
            high = std::max(high, values[i]);
        }
        EXPECT_EQ(static_cast<float>(accessor.minValues[c]), low);
        EXPECT_EQ(static_cast<float>(accessor.maxValues[c]), high);
    }
}

constexpr int kFrames = 4;

std::string writeSample(const TempFolder& folder, GlbOptions options, int frames = kFrames) {
    const std::string path = folder.file("a.glb");
    GlbWriter writer(path, sampleMeshes(), samplePoints(), static_cast<std::size_t>(frames), options);
    for (int f = 0; f < frames; ++f) writer.addFrame(frameOf(f));
    writer.close();
    return path;
}

TEST(GlbWriter, RestAndTargetsGiveTheFramesInMetres) {
    TempFolder folder;
    GlbOptions options;
    options.metresPerUnit = 0.01;
    const tinygltf::Model model = load(writeSample(folder, options));
    ASSERT_EQ(model.meshes.size(), 2u);
    for (std::size_t m = 0; m < 2; ++m) {
        EXPECT_EQ(model.meshes[m].name, sampleMeshes()[m].name);
        ASSERT_EQ(model.meshes[m].primitives.size(), 1u);
        const tinygltf::Primitive& primitive = model.meshes[m].primitives[0];
        ASSERT_EQ(primitive.targets.size(), static_cast<std::size_t>(kFrames));
        expectBounds(model, primitive.attributes.at("POSITION"));
        const std::vector<float> rest = floatsOf(model, primitive.attributes.at("POSITION"));
        const std::vector<std::uint32_t> pointOfVertex = sampleMeshes()[m].pointOfVertex;
        ASSERT_EQ(rest.size(), pointOfVertex.size() * 3);
        for (int f = 0; f < kFrames; ++f) {
            const auto& target = primitive.targets[static_cast<std::size_t>(f)];
            expectBounds(model, target.at("POSITION"));
            const std::vector<float> delta = floatsOf(model, target.at("POSITION"));
            ASSERT_EQ(delta.size(), rest.size());
            for (std::size_t v = 0; v < pointOfVertex.size(); ++v) {
                const Vec3d expected = frameOf(f)[pointOfVertex[v]] * 0.01;
                // Two floats are added: half a unit in the last place of numbers up to 0.05 each.
                EXPECT_NEAR(rest[3 * v] + delta[3 * v], expected.x, 4e-9);
                EXPECT_NEAR(rest[3 * v + 1] + delta[3 * v + 1], expected.y, 4e-9);
                EXPECT_NEAR(rest[3 * v + 2] + delta[3 * v + 2], expected.z, 4e-9);
            }
        }
    }
}

TEST(GlbWriter, TrianglesAndTextureCoordinatesReadBack) {
    TempFolder folder;
    const tinygltf::Model model = load(writeSample(folder, {}));
    const tinygltf::Primitive& sheet = model.meshes[0].primitives[0];
    const tinygltf::Accessor& accessor = model.accessors.at(static_cast<std::size_t>(sheet.indices));
    ASSERT_EQ(accessor.componentType, TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT);
    ASSERT_EQ(accessor.count, 12u);
    const tinygltf::BufferView& view = model.bufferViews.at(static_cast<std::size_t>(accessor.bufferView));
    std::uint32_t indices[12];
    std::memcpy(indices, &model.buffers[0].data.at(view.byteOffset + accessor.byteOffset), sizeof indices);
    const std::uint32_t expected[12] = {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7};
    for (std::size_t i = 0; i < 12; ++i) EXPECT_EQ(indices[i], expected[i]);

    const std::vector<float> uvs = floatsOf(model, sheet.attributes.at("TEXCOORD_0"));
    ASSERT_EQ(uvs.size(), 16u);
    EXPECT_EQ(uvs[2 * 4], 0.25f);
    EXPECT_EQ(uvs[2 * 4 + 1], 1.0f - 0.1f) << "v runs downwards in glTF";
    EXPECT_EQ(model.meshes[1].primitives[0].attributes.count("TEXCOORD_0"), 0u);
}

TEST(GlbWriter, NormalsFollowTheFrames) {
    TempFolder folder;
    const tinygltf::Model model = load(writeSample(folder, {}));
    const tinygltf::Primitive& sheet = model.meshes[0].primitives[0];
    const std::vector<float> rest = floatsOf(model, sheet.attributes.at("NORMAL"));
    EXPECT_EQ(rest[2], 1.0f) << "vertex 0 lies on the level quad";
    std::vector<Vec3d> expected;
    smoothNormals(sampleMeshes(), frameOf(3), expected);
    const std::vector<float> delta = floatsOf(model, sheet.targets[3].at("NORMAL"));
    for (std::size_t v = 0; v < 8; ++v) {
        const Vec3d n = expected[sampleMeshes()[0].pointOfVertex[v]];
        EXPECT_NEAR(rest[3 * v] + delta[3 * v], n.x, 1e-6);
        EXPECT_NEAR(rest[3 * v + 2] + delta[3 * v + 2], n.z, 1e-6);
    }
    GlbOptions without;
    without.morphNormals = false;
    const tinygltf::Model plain = load(writeSample(folder, without));
    EXPECT_EQ(plain.meshes[0].primitives[0].targets[3].count("NORMAL"), 0u);
    EXPECT_EQ(plain.meshes[1].primitives[0].targets[3].count("POSITION"), 1u);
    expectBounds(plain, plain.meshes[1].primitives[0].targets[3].at("POSITION"));
}

TEST(GlbWriter, AnimationShowsOneTargetPerKey) {
    TempFolder folder;
    GlbOptions options;
    options.framesPerSecond = 30.0;
    options.animationName = "Run";
    const tinygltf::Model model = load(writeSample(folder, options));
    ASSERT_EQ(model.animations.size(), 1u);
    const tinygltf::Animation& animation = model.animations[0];
    EXPECT_EQ(animation.name, "Run");
    ASSERT_EQ(animation.channels.size(), 2u);
    for (std::size_t m = 0; m < 2; ++m) {
        const tinygltf::AnimationChannel& channel = animation.channels[m];
        EXPECT_EQ(channel.target_path, "weights");
        EXPECT_EQ(model.nodes.at(static_cast<std::size_t>(channel.target_node)).mesh, static_cast<int>(m));
        const tinygltf::AnimationSampler& sampler =
            animation.samplers.at(static_cast<std::size_t>(channel.sampler));
        EXPECT_EQ(sampler.interpolation, "LINEAR");
        const std::vector<float> times = floatsOf(model, sampler.input);
        ASSERT_EQ(times.size(), static_cast<std::size_t>(kFrames));
        EXPECT_EQ(times.front(), 0.0f);
        EXPECT_EQ(times.back(), 0.1f) << "three frames of a thirtieth";
        expectBounds(model, sampler.input);
        const std::vector<float> weights = floatsOf(model, sampler.output);
        ASSERT_EQ(weights.size(), static_cast<std::size_t>(kFrames * kFrames));
        for (std::size_t w = 0; w < weights.size(); ++w)
            EXPECT_EQ(weights[w], w / kFrames == w % kFrames ? 1.0f : 0.0f);
    }
    options.stepped = true;
    EXPECT_EQ(load(writeSample(folder, options)).animations[0].samplers[0].interpolation, "STEP");
}

TEST(GlbWriter, UnevenFramesKeepTheirTimes) {
    TempFolder folder;
    GlbOptions options;
    options.keySeconds = {0.0, 0.25, 1.5, 2.0};
    const tinygltf::Model model = load(writeSample(folder, options));
    const int input = model.animations.at(0).samplers.at(0).input;
    EXPECT_EQ(floatsOf(model, input), (std::vector<float>{0.0f, 0.25f, 1.5f, 2.0f}));
    expectBounds(model, input);
}

TEST(GlbWriter, ZUpCharactersAreTurnedByTheRootNode) {
    TempFolder folder;
    GlbOptions options;
    EXPECT_TRUE(load(writeSample(folder, options)).nodes[0].rotation.empty());
    options.zUp = true;
    const std::vector<double> q = load(writeSample(folder, options)).nodes[0].rotation;
    ASSERT_EQ(q.size(), 4u);
    // Column y of the turn: what +z becomes must be +y. For a unit (x, 0, 0, w): z → (0, −2xw, w² − x²).
    EXPECT_NEAR(-2.0 * q[0] * q[3], 1.0, 1e-12);
    EXPECT_NEAR(q[3] * q[3] - q[0] * q[0], 0.0, 1e-12);
    EXPECT_EQ(q[1], 0.0);
    EXPECT_EQ(q[2], 0.0);
}

TEST(GlbWriter, ContainerHeaderHoldsTheLengths) {
    TempFolder folder;
    const std::string bytes = readText(writeSample(folder, {}));
    const auto at = [&](std::size_t offset) {
        std::uint32_t value = 0;
        for (std::size_t i = 4; i-- > 0;)
            value = value * 256 + static_cast<unsigned char>(bytes.at(offset + i));
        return value;
    };
    EXPECT_EQ(bytes.substr(0, 4), "glTF");
    EXPECT_EQ(at(4), 2u);
    EXPECT_EQ(at(8), bytes.size());
    const std::uint32_t json = at(12);
    EXPECT_EQ(bytes.substr(16, 4), "JSON");
    EXPECT_EQ(json % 4, 0u);
    EXPECT_EQ(bytes.substr(20 + json + 4, 4), std::string("BIN\0", 4));
    EXPECT_EQ(20 + json + 8 + at(20 + json), bytes.size());
    EXPECT_EQ(at(20 + json) % 4, 0u);
}

TEST(GlbWriter, NoFramesGiveTheRestMeshAlone) {
    TempFolder folder;
    const tinygltf::Model model = load(writeSample(folder, {}, 0));
    EXPECT_TRUE(model.animations.empty());
    EXPECT_TRUE(model.meshes[0].primitives[0].targets.empty());
}

TEST(GlbWriter, MeshesWithoutTrianglesAreLeftOut) {
    TempFolder folder;
    std::vector<OutputMesh> meshes = sampleMeshes();
    meshes.insert(meshes.begin(), OutputMesh{});
    meshes[0].pointOfVertex = {0, 1};
    meshes[0].faceCounts = {2};
    meshes[0].faceVertices = {0, 1};
    GlbWriter writer(folder.file("a.glb"), meshes, samplePoints(), 1, {});
    writer.addFrame(frameOf(1));
    writer.close();
    EXPECT_EQ(load(folder.file("a.glb")).meshes.size(), 2u);
    EXPECT_EQ(errorOf([&] { GlbWriter none(folder.file("b.glb"), {meshes[0]}, samplePoints(), 1, {}); }),
              "cannot write '" + folder.file("b.glb") + "': none of its meshes has a triangle");
}

TEST(GlbWriter, ReservedRoomHoldsTheLongestNumbers) {
    TempFolder folder;
    std::vector<Vec3d> points = samplePoints();
    for (Vec3d& p : points) p = p * -1.2345678901e-30 - Vec3d{1.17549435e-38, 3.3333333e-33, 1.234567e-35};
    GlbWriter writer(folder.file("a.glb"), sampleMeshes(), samplePoints(), 2, {});
    writer.addFrame(samplePoints());
    for (Vec3d& p : points) p = p + Vec3d{-1.2345678e30, -9.8765432e-30, -1.7654321e37};
    writer.addFrame(points);
    writer.close();
    const tinygltf::Model model = load(folder.file("a.glb"));
    expectBounds(model, model.meshes[0].primitives[0].targets[1].at("POSITION"));
}

TEST(GlbWriter, NamesThatAreNotUtf8DoNotStopIt) {
    TempFolder folder;
    std::vector<OutputMesh> meshes = sampleMeshes();
    meshes[0].name = "B\xe4r";
    meshes[1].name = "Bär \"x\"\n";
    GlbWriter writer(folder.file("a.glb"), meshes, samplePoints(), 0, {});
    writer.close();
    const tinygltf::Model model = load(folder.file("a.glb"));
    EXPECT_EQ(model.meshes[0].name, "B_r");
    EXPECT_EQ(model.meshes[1].name, "Bär \"x\"\n");
}

TEST(GlbWriter, PastFourGibibytesIsRefusedAtOnce) {
    TempFolder folder;
    const std::string path = folder.file("a.glb");
    OutputMesh mesh;
    mesh.pointOfVertex.assign(200000, 0);
    mesh.faceCounts = {3};
    mesh.faceVertices = {0, 1, 2};
    const auto attempt = [&](std::size_t frames) {
        return errorOf([&] { GlbWriter writer(path, {mesh}, {{}}, frames, {}); });
    };
    const std::string start = "cannot write '" + path + "': ";
    // 1000 frames of 200000 vertices with position and normal are 4.8e9 bytes.
    EXPECT_NE(attempt(1000).find(" MiB, a glTF binary ends at 4095; write fewer frames or a .pc2 file"),
              std::string::npos);
    EXPECT_EQ(attempt(~std::size_t{0}),
              start + "a glTF binary has room for 32000 frames at most; write fewer frames or a .pc2 file");
    EXPECT_TRUE(folder.names().empty());
}

TEST(GlbWriter, BadInputLeavesNoFile) {
    TempFolder folder;
    const std::string path = folder.file("a.glb");
    {
        GlbWriter writer(path, sampleMeshes(), samplePoints(), 2, {});
        std::vector<Vec3d> points = samplePoints();
        points[4].x = HUGE_VAL;
        EXPECT_NE(errorOf([&] { writer.addFrame(points); }).find("point 4 of frame 1"), std::string::npos);
        points.pop_back();
        EXPECT_NE(errorOf([&] { writer.addFrame(points); }).find("6 points instead of 7"), std::string::npos);
        writer.addFrame(samplePoints());
        EXPECT_NE(errorOf([&] { writer.close(); }).find("1 frame of the announced 2"), std::string::npos);
    }
    GlbOptions options;
    options.metresPerUnit = 0.0;
    EXPECT_NE(errorOf([&] { GlbWriter writer(path, sampleMeshes(), samplePoints(), 1, options); }), "");
    options = {};
    options.framesPerSecond = std::nan("");
    EXPECT_NE(errorOf([&] { GlbWriter writer(path, sampleMeshes(), samplePoints(), 1, options); }), "");
    options = {};
    options.keySeconds = {0.0, 1.0};
    EXPECT_NE(errorOf([&] { GlbWriter writer(path, sampleMeshes(), samplePoints(), 1, options); }), "");
    EXPECT_TRUE(folder.names().empty());
}

} // namespace
} // namespace talvisora::host
