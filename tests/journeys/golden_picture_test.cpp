// SPDX-License-Identifier: Apache-2.0
// Pictures against those in tests/pictures, which were drawn once and looked at. Compared with a tolerance:
// another compiler may round a pixel of an edge differently, but not move a line.
#include "host/gltf_writer.h"
#include "journeys/run_grhost.h"

#include <cstdlib>

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wsign-compare"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#endif
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#if __has_include(<stb/stb_image.h>)
#include <stb/stb_image.h>
#else
#include <stb_image.h>
#endif
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace talvisora::journeys {
namespace {

struct Pixels {
    int width = 0, height = 0;
    std::vector<unsigned char> bytes; ///< red, green, blue
};

Pixels readPixels(const std::string& path) {
    Pixels pixels;
    int channels = 0;
    unsigned char* data = stbi_load(path.c_str(), &pixels.width, &pixels.height, &channels, 3);
    EXPECT_NE(data, nullptr) << path;
    if (!data) return pixels;
    const std::size_t size = std::size_t(pixels.width) * std::size_t(pixels.height) * 3;
    pixels.bytes.assign(data, data + size);
    stbi_image_free(data);
    return pixels;
}

// The share of pixels in which some channel differs by more than 32 of 255; 1 when the sizes differ.
double differing(const Pixels& a, const Pixels& b) {
    if (a.width != b.width || a.height != b.height || a.bytes.empty()) return 1.0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < a.bytes.size(); i += 3) {
        bool far = false;
        for (std::size_t c = i; c < i + 3; ++c) far = far || std::abs(int(a.bytes[c]) - int(b.bytes[c])) > 32;
        count += far ? 1 : 0;
    }
    return double(count) / (double(a.bytes.size()) / 3.0);
}

constexpr double kSame = 0.002; ///< share of pixels that rounding may move: some dozens on edges

class GoldenPicture : public Journey {
protected:
    Pixels drawn(std::vector<std::string> arguments, const std::string& name) {
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, 0) << ran.err;
        return readPixels(path(name));
    }
    static Pixels golden(const std::string& name) {
        return readPixels(std::string(TALVISORA_SOURCE_DIR) + "/tests/pictures/" + name);
    }
};

TEST_F(GoldenPicture, ARigOverItsBarLooksAsItDid) {
    write("bar.gltf", gltf_writer::makeBar({}).text());
    const auto draw = [&](const std::string& view) {
        return drawn({"draw", path("bar.gltf"), "-o", path("bar.png"), "--size", "320x240", "--view", view,
                      "--labels", "index"},
                     "bar.png");
    };
    const Pixels kept = golden("draw_bar.png");
    EXPECT_LE(differing(draw("40,20"), kept), kSame);
    EXPECT_GT(differing(draw("44,20"), kept), 4 * kSame) << "four degrees aside is another picture";
}

TEST_F(GoldenPicture, TheTwistedLimbsLookAsTheyDid) {
    const auto draw = [&](const std::string& limb) {
        return drawn({"quality", "--only", limb, "--last", "2", "--width", "120", "--picture", path("q.png")},
                     "q.png");
    };
    const Pixels kept = golden("quality_twist.png");
    EXPECT_LE(differing(draw("twist"), kept), kSame);
    EXPECT_GT(differing(draw("helper"), kept), 10 * kSame) << "another rig is another picture";
}

} // namespace
} // namespace talvisora::journeys
