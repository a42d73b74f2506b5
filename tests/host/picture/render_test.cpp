// SPDX-License-Identifier: Apache-2.0
// What a picture must show, from closed forms: a square that fills the middle, depth order, both sides,
// projected places, framing, and the same bytes every time.
#include "host/picture/render.h"

#include "host/host_error.h"

#include <cmath>
#include <cstdlib>

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

constexpr Rgb kRed{220, 20, 20}, kBlue{20, 20, 220};

// A square of side 2·half that faces +z at depth z, counter-clockwise from there.
void addSquare(std::vector<OutputMesh>& meshes, std::vector<Vec3d>& points, double half, double z,
               const Vec3d& middle = {}) {
    const auto first = static_cast<std::uint32_t>(points.size());
    for (const auto& corner :
         {Vec3d{-half, -half, z}, Vec3d{half, -half, z}, Vec3d{half, half, z}, Vec3d{-half, half, z}})
        points.push_back(corner + middle);
    OutputMesh mesh;
    mesh.pointOfVertex = {first, first + 1, first + 2, first + 3};
    mesh.faceCounts = {4};
    mesh.faceVertices = {0, 1, 2, 3};
    meshes.push_back(mesh);
}

RenderOptions plain(int size) {
    RenderOptions options;
    options.width = options.height = size;
    options.shadow = false;
    return options;
}

bool isRed(const Rgb& c) {
    return c[0] > 100 && c[0] > 3 * c[1] && c[0] > 3 * c[2];
}
bool isBlue(const Rgb& c) {
    return c[2] > 100 && c[2] > 3 * c[0] && c[2] > 3 * c[1];
}

const View kStraight{0.0, 0.0, {0.0, 1.0, 0.0}};

TEST(Render, SquareFillsTheMiddleAndBackgroundTheRest) {
    std::vector<OutputMesh> meshes;
    std::vector<Vec3d> points;
    addSquare(meshes, points, 1.0, 0.0);
    const Camera camera = makeCamera(points, kStraight, 1.0);
    const Image image = renderMeshes(meshes, points, camera, plain(100), std::vector<Rgb>(4, kRed));
    ASSERT_EQ(image.width, 100);
    ASSERT_EQ(image.height, 100);
    EXPECT_TRUE(isRed(image.at(50, 50)));
    // The square takes 92 % of the picture: its edge lies at 4 and 96 pixels.
    for (const int edge : {1, 2, 97, 98}) {
        EXPECT_EQ(image.at(edge, 50), plain(1).background);
        EXPECT_EQ(image.at(50, edge), plain(1).background);
    }
    for (const int inside : {5, 94}) {
        EXPECT_TRUE(isRed(image.at(inside, 50)));
        EXPECT_TRUE(isRed(image.at(50, inside)));
    }
}

TEST(Render, SharedEdgesOfTrianglesLeaveNoGap) {
    std::vector<OutputMesh> meshes;
    std::vector<Vec3d> points;
    addSquare(meshes, points, 1.0, 0.0);
    const Camera camera = makeCamera(points, {17.0, 9.0, {0.0, 1.0, 0.0}}, 1.0);
    const Image image = renderMeshes(meshes, points, camera, plain(200), std::vector<Rgb>(4, kRed));
    for (int y = 60; y < 140; ++y) {
        for (int x = 60; x < 140; ++x) ASSERT_TRUE(isRed(image.at(x, y))) << x << " " << y;
    }
}

TEST(Render, NearerHidesFartherInEitherOrder) {
    for (const bool nearFirst : {true, false}) {
        std::vector<OutputMesh> meshes;
        std::vector<Vec3d> points;
        addSquare(meshes, points, nearFirst ? 0.5 : 1.0, nearFirst ? 0.4 : -0.4);
        addSquare(meshes, points, nearFirst ? 1.0 : 0.5, nearFirst ? -0.4 : 0.4);
        std::vector<Rgb> colours(8, kRed);
        for (std::size_t i = nearFirst ? 4 : 0; i < (nearFirst ? 8u : 4u); ++i) colours[i] = kBlue;
        const Image image =
            renderMeshes(meshes, points, makeCamera(points, kStraight, 1.0), plain(64), colours);
        EXPECT_TRUE(isRed(image.at(32, 32))) << "the small near square";
        EXPECT_TRUE(isBlue(image.at(8, 32))) << "the large far square beside it";
    }
}

TEST(Render, CrossingSquaresAreSortedPerPixel) {
    std::vector<OutputMesh> meshes;
    std::vector<Vec3d> points;
    addSquare(meshes, points, 1.0, 0.0);
    addSquare(meshes, points, 1.0, 0.0);
    for (std::size_t i = 0; i < 4; ++i) points[i].z = 0.5 * points[i].x;
    for (std::size_t i = 4; i < 8; ++i) points[i].z = -0.5 * points[i].x;
    std::vector<Rgb> colours(8, kRed);
    for (std::size_t i = 4; i < 8; ++i) colours[i] = kBlue;
    const Image image = renderMeshes(meshes, points, makeCamera(points, kStraight, 1.0), plain(64), colours);
    EXPECT_TRUE(isRed(image.at(50, 32)));
    EXPECT_TRUE(isBlue(image.at(14, 32)));
}

TEST(Render, BackSideIsDrawnAndLitLikeTheFront) {
    std::vector<OutputMesh> meshes;
    std::vector<Vec3d> points;
    addSquare(meshes, points, 1.0, 0.0);
    const Camera camera = makeCamera(points, kStraight, 1.0);
    const std::vector<Rgb> colours(4, kRed);
    for (const bool flat : {false, true}) {
        RenderOptions options = plain(40);
        options.flat = flat;
        const Image front = renderMeshes(meshes, points, camera, options, colours);
        std::vector<OutputMesh> turned = meshes;
        turned[0].faceVertices = {3, 2, 1, 0};
        const Image back = renderMeshes(turned, points, camera, options, colours);
        EXPECT_TRUE(isRed(back.at(20, 20)));
        for (std::size_t channel = 0; channel < 3; ++channel)
            EXPECT_NEAR(front.at(20, 20)[channel], back.at(20, 20)[channel], 1);
    }
}

TEST(Render, SameInputGivesTheSameBytes) {
    std::vector<OutputMesh> meshes;
    std::vector<Vec3d> points;
    addSquare(meshes, points, 1.0, 0.3);
    addSquare(meshes, points, 0.7, -0.2, {0.4, 0.1, 0.0});
    const Camera camera = makeCamera(points, threeQuarterView(), 1.0);
    RenderOptions options = plain(80);
    options.shadow = true;
    EXPECT_EQ(renderMeshes(meshes, points, camera, options).bytes,
              renderMeshes(meshes, points, camera, options).bytes);
}

TEST(Render, EdgesAreSmoothedBySamples) {
    std::vector<OutputMesh> meshes;
    std::vector<Vec3d> points;
    addSquare(meshes, points, 1.0, 0.0);
    const Camera camera = makeCamera(points, {0.0, 0.0, {0.0, 1.0, 0.0}}, 1.0);
    const double turn = 0.1;
    for (Vec3d& p : points)
        p = {p.x * std::cos(turn) - p.y * std::sin(turn), p.x * std::sin(turn) + p.y * std::cos(turn), p.z};
    const auto shades = [&](int samples) {
        RenderOptions options = plain(60);
        options.samples = samples;
        const Image image = renderMeshes(meshes, points, camera, options, std::vector<Rgb>(4, kRed));
        int between = 0;
        for (int y = 0; y < 60; ++y) {
            for (int x = 0; x < 60; ++x) {
                const Rgb c = image.at(x, y);
                between += c != options.background && !isRed(c);
            }
        }
        return between;
    };
    EXPECT_EQ(shades(1), 0);
    EXPECT_GT(shades(3), 40) << "pixels along four edges of some fifty";
}

TEST(Render, ColoursAreMixedBetweenPoints) {
    std::vector<OutputMesh> meshes;
    std::vector<Vec3d> points;
    addSquare(meshes, points, 1.0, 0.0);
    const Image image = renderMeshes(meshes, points, makeCamera(points, kStraight, 1.0), plain(64),
                                     {kRed, kBlue, kBlue, kRed});
    EXPECT_TRUE(isRed(image.at(5, 32)));
    EXPECT_TRUE(isBlue(image.at(58, 32)));
    EXPECT_NEAR(image.at(32, 32)[0], image.at(32, 32)[2], 12);
}

TEST(Render, ShadowDarkensTheGroundOnly) {
    std::vector<OutputMesh> meshes;
    std::vector<Vec3d> points;
    // A plate that hovers low over the ground, and one far below the picture's middle to set the ground.
    addSquare(meshes, points, 1.0, 0.0);
    for (Vec3d& p : points) p = {p.x, p.z + 0.05, -p.y};
    addSquare(meshes, points, 0.05, 0.0, {0.0, 0.05, 0.0});
    const Camera camera = makeCamera(points, {30.0, 30.0, {0.0, 1.0, 0.0}}, 1.0);
    RenderOptions with = plain(80), without = plain(80);
    with.shadow = true;
    const Image shaded = renderMeshes(meshes, points, camera, with),
                bare = renderMeshes(meshes, points, camera, without);
    int darker = 0;
    for (int y = 0; y < 80; ++y) {
        for (int x = 0; x < 80; ++x) {
            if (bare.at(x, y) != with.background) {
                // Pixels of the outline may hold some ground.
                continue;
            }
            darker += shaded.at(x, y)[0] < with.background[0] - 10;
            EXPECT_LE(shaded.at(x, y)[0], with.background[0]);
        }
    }
    EXPECT_GT(darker, 20);
    EXPECT_EQ(shaded.at(40, 40), bare.at(40, 40)) << "the plate itself";
    EXPECT_EQ(shaded.at(2, 2), with.background) << "far from it";
}

TEST(Render, ZUpShowsTheSamePictureAsYUp) {
    std::vector<OutputMesh> meshes;
    std::vector<Vec3d> points;
    addSquare(meshes, points, 1.0, 0.3);
    addSquare(meshes, points, 0.7, -0.2, {0.4, 0.1, 0.0});
    std::vector<Vec3d> turned = points;
    for (Vec3d& p : turned) p = {p.x, -p.z, p.y};
    const Image yUp = renderMeshes(meshes, points, makeCamera(points, threeQuarterView(), 1.0), plain(60));
    const Image zUp =
        renderMeshes(meshes, turned, makeCamera(turned, threeQuarterView({0.0, 0.0, 1.0}), 1.0), plain(60));
    ASSERT_EQ(yUp.bytes.size(), zUp.bytes.size());
    for (std::size_t i = 0; i < yUp.bytes.size(); ++i) ASSERT_NEAR(yUp.bytes[i], zUp.bytes[i], 2) << i;
}

TEST(Render, PointsThatAreNotFiniteAreLeftOut) {
    std::vector<OutputMesh> meshes;
    std::vector<Vec3d> points;
    addSquare(meshes, points, 1.0, 0.0);
    addSquare(meshes, points, 0.5, 0.5);
    points[5].x = std::nan("");
    points[6].y = HUGE_VAL;
    RenderOptions options = plain(50);
    options.shadow = true;
    const Image image = renderMeshes(meshes, points, makeCamera(points, kStraight, 1.0), options);
    EXPECT_NE(image.at(25, 25), options.background);
}

TEST(Render, PointsBehindOrAtTheEyeAreLeftOut) {
    std::vector<OutputMesh> meshes;
    std::vector<Vec3d> points;
    addSquare(meshes, points, 1.0, 0.0);
    const Camera camera = makeCamera(points, kStraight, 1.0);
    addSquare(meshes, points, 1e9, camera.eye.z + 1.0);
    addSquare(meshes, points, 1e6, camera.eye.z - camera.nearest * 1.0001);
    addSquare(meshes, points, 1.0, camera.eye.z);
    const Image image = renderMeshes({meshes[0], meshes[1], meshes[3]}, points, camera, plain(20));
    EXPECT_EQ(image.bytes, renderMeshes({meshes[0]}, points, camera, plain(20)).bytes);
    EXPECT_NO_THROW(renderMeshes(meshes, points, camera, plain(20)))
        << "a square that projects far past the picture";
}

TEST(Render, ImpossibleSizesAndMeshesAreRefused) {
    std::vector<OutputMesh> meshes;
    std::vector<Vec3d> points;
    addSquare(meshes, points, 1.0, 0.0);
    const Camera camera = makeCamera(points, kStraight, 1.0);
    for (const int size : {0, -5, 100000, 2147483647})
        EXPECT_THROW(renderMeshes(meshes, points, camera, plain(size)), HostError) << size;
    RenderOptions options = plain(10);
    for (const int samples : {0, -1, 5}) {
        options.samples = samples;
        EXPECT_THROW(renderMeshes(meshes, points, camera, options), HostError) << samples;
    }
    EXPECT_THROW(renderMeshes(meshes, points, camera, plain(10), std::vector<Rgb>(3)), HostError);
    meshes[0].pointOfVertex[0] = 4;
    EXPECT_THROW(renderMeshes(meshes, points, camera, plain(10)), HostError);
}

// Where a point lands, in shares of the picture: −1 … 1 from left to right and from bottom to top.
std::array<double, 2> place(const Camera& camera, const Vec3d& p, double aspect) {
    const Vec3d offset = p - camera.eye;
    const double depth = dot(offset, camera.forward);
    return {camera.focal * dot(offset, camera.right) / depth / aspect,
            camera.focal * dot(offset, camera.up) / depth};
}

TEST(Camera, ShowsEveryPointAndTouchesTheMargin) {
    std::vector<Vec3d> points;
    for (int i = 0; i < 200; ++i)
        points.push_back({std::sin(i * 1.7) * 3.0 + 10.0, std::sin(i * 2.3), std::cos(i * 0.9) * 0.5});
    double lowest = HUGE_VAL;
    for (const Vec3d& p : points) lowest = std::min(lowest, p.y);
    for (const double aspect : {0.5, 1.0, 2.5}) {
        for (const double yaw : {0.0, 60.0, 135.0, 270.0}) {
            const Camera camera = makeCamera(points, {yaw, 15.0, {0.0, 1.0, 0.0}}, aspect);
            double left = 1.0, right = -1.0, bottom = 1.0, top = -1.0;
            for (const Vec3d& p : points) {
                const auto at = place(camera, p, aspect);
                left = std::min(left, at[0]), right = std::max(right, at[0]);
                bottom = std::min(bottom, at[1]), top = std::max(top, at[1]);
            }
            EXPECT_NEAR(std::max({-left, right, -bottom, top}), 0.92, 1e-9);
            const bool acrossDecides = right - left > top - bottom;
            EXPECT_NEAR(acrossDecides ? left + right : bottom + top, 0.0, 1e-9)
                << "the tight axis is centred";
            EXPECT_EQ(camera.ground, lowest);
        }
    }
}

TEST(Camera, YawAndPitchAreAsNamed) {
    const std::vector<Vec3d> points{{-1, -1, -1}, {1, 1, 1}};
    const Camera front = makeCamera(points, {0.0, 0.0, {0.0, 1.0, 0.0}}, 1.0);
    EXPECT_GT(front.eye.z, 1.0);
    EXPECT_NEAR(front.right.x, 1.0, 1e-12);
    const Camera left = makeCamera(points, {90.0, 0.0, {0.0, 1.0, 0.0}}, 1.0);
    EXPECT_GT(left.eye.x, 1.0);
    const Camera raised = makeCamera(points, {0.0, 30.0, {0.0, 1.0, 0.0}}, 1.0);
    EXPECT_NEAR(-raised.forward.y, 0.5, 1e-12) << "looks down by 30 degrees";
    const Camera zUp = makeCamera(points, {0.0, 0.0, {0.0, 0.0, 1.0}}, 1.0);
    EXPECT_LT(zUp.eye.y, -1.0);
    EXPECT_NEAR(zUp.up.z, 1.0, 1e-12);
}

TEST(Camera, DegenerateInputGivesAUsableCamera) {
    const Vec3d huge{1e300, 1e300, 1e300};
    const std::vector<std::vector<Vec3d>> cases{
        {},     {{5, 5, 5}},  {{1, 2, 3}, {1, 2, 3}}, {{std::nan(""), 0, 0}}, {{0, 0, -1}, {0, 0, 1}},
        {huge}, {huge, -huge}};
    for (std::size_t c = 0; c < cases.size(); ++c) {
        for (const double aspect : {1.0, 0.0, -1.0, std::nan("")}) {
            const Camera camera = makeCamera(cases[c], {0.0, 90.0, {0.0, 1.0, 0.0}}, aspect);
            EXPECT_TRUE(isFinite(camera.eye) && isFinite(camera.right) && isFinite(camera.up)) << c;
            EXPECT_GT(camera.nearest, 0.0) << c;
            EXPECT_NEAR(length(camera.right), 1.0, 1e-9) << c;
        }
    }
}

TEST(Bounds, HoldsFinitePointsOnly) {
    Bounds bounds;
    EXPECT_TRUE(bounds.empty());
    bounds.add({{1, 5, 3}, {std::nan(""), 0, 0}, {0, 9, 4}, {0, HUGE_VAL, 0}});
    EXPECT_EQ(bounds.low, (Vec3d{0, 5, 3}));
    EXPECT_EQ(bounds.high, (Vec3d{1, 9, 4}));
}

} // namespace
} // namespace talvisora::host
