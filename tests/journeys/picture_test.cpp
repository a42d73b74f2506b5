// SPDX-License-Identifier: Apache-2.0
// Pictures of rigs as a rigger asks for them: the demo's quadruped through every verb that has --picture, and
// a bar whose colours are known because its weights were written by hand.
#include "host/gltf_writer.h"
#include "host/picture/ramp.h"
#include "host/picture/read_png.h"
#include "host/picture/render.h"
#include "journeys/run_grhost.h"

#include <algorithm>
#include <cmath>

namespace talvisora::journeys {
namespace {

using host::Image;
using host::Rgb;

class Picture : public Journey {
protected:
    // Runs and reads the sheet back; `says` must name it.
    Image sheetOf(std::vector<std::string> arguments, const std::string& name = "sheet.png") const {
        arguments.insert(arguments.end(), {"--picture", path(name)});
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, 0) << ran.err;
        EXPECT_NE(ran.out.find("wrote " + path(name) + "\n"), std::string::npos) << ran.out;
        return host::readPng(fileText(path(name)));
    }
};

// Shares of the pixels: the ramp's two ends, half lit, and the grey of what is not touched.
struct Shares {
    double light = 0.0, dark = 0.0, grey = 0.0;
};
Shares sharesOf(const Image& image) {
    Shares shares;
    const double one = image.width > 0 ? 1.0 / (double(image.width) * image.height) : 0.0;
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            const Rgb c = image.at(x, y);
            shares.light += c[0] > 150 && c[1] > 130 && c[2] < 80 ? one : 0.0;
            shares.dark += c[0] < 90 && c[1] < 60 && c[2] > 50 ? one : 0.0;
            const auto [low, high] = std::minmax_element(c.begin(), c.end());
            shares.grey += *high < 190 && *low > 110 && *high - *low < 16 ? one : 0.0;
        }
    }
    return shares;
}

TEST_F(Picture, ShowsTheQuadrupedInEveryVerbThatWritesARig) {
    if (!fs::exists(kBull)) FAIL() << kBull << " is not there; install assimp-testmodels";
    const std::string rig = path("bull.rig.json"), other = path("other.rig.json");
    const std::vector<std::vector<std::string>> lines = {
        {"bind", kBull, "-o", rig},
        {"mirror", rig, "-o", rig},
        {"transfer", rig, kBull, "-o", other},
        {"params", rig, "-o", other, "--block", "Tail01"},
        {"weights", rig, "-o", other, "--block", "Tail01", "--smooth", "2"},
    };
    for (const std::vector<std::string>& line : lines) {
        std::vector<std::string> arguments = line;
        arguments.insert(arguments.end(), {"--size", "150x120"});
        const Image sheet = sheetOf(arguments);
        ASSERT_GT(sheet.width, 0) << line[0];
        // Eleven blocks in rows of five, two views each.
        EXPECT_NEAR(sheet.width, 5 * (302 + 12) + 12, 1) << line[0];
        EXPECT_GT(sheet.height, 3 * 120) << line[0];
        const Shares shares = sharesOf(sheet);
        EXPECT_GT(shares.light, 0.003) << line[0] << ": no block has a weight or parameter near 1";
        EXPECT_GT(shares.dark, 0.002) << line[0];
        EXPECT_GT(shares.grey, 0.08) << line[0] << ": most blocks leave most of the animal alone";
    }
}

TEST_F(Picture, ShowsWhatIsLeftBehindBrightly) {
    write("bar.gltf", gltf_writer::makeBar({}).text());
    ASSERT_EQ(run({"bind", path("bar.gltf"), "-o", path("bar.rig.json"), "--quiet"}).exitCode, 0);
    Json rig = Json::parse(fileText(path("bar.rig.json")));
    std::vector<double> weights(rig.at("mesh").at("points").get<std::size_t>(), 1.0);
    for (std::size_t p = 0; p < weights.size() / 2; ++p) weights[p] = 0.0;
    rig["blocks"][0]["blockWeights"] = weights;
    write("bar.rig.json", rig.dump());
    const Ran ran =
        run({"check", path("bar.rig.json"), "--picture", path("left.png"), "--show", "left-behind"});
    EXPECT_EQ(ran.exitCode, 6) << ran.err;
    const Shares shares = sharesOf(host::readPng(fileText(path("left.png"))));
    EXPECT_GT(shares.light, 0.01) << "half of the bar, which is thin";
    EXPECT_GT(shares.grey, 0.01) << "the other half";
}

// The bar stands along y with seven rings of four points; every ring gets one weight, so the colour at a
// height is known. The picture of one view is found in the sheet by its place: a title, then the picture.
TEST_F(Picture, HasTheRampsColourOfTheWeightAtEveryHeight) {
    write("bar.gltf", gltf_writer::makeBar({}).text());
    ASSERT_EQ(run({"bind", path("bar.gltf"), "-o", path("bar.rig.json"), "--quiet"}).exitCode, 0);
    Json rig = Json::parse(fileText(path("bar.rig.json")));
    std::vector<double> weights(28);
    for (std::size_t p = 0; p < weights.size(); ++p) weights[p] = (1.0 + double(p / 4)) / 7.0;
    rig["blocks"][0]["blockWeights"] = weights;
    write("bar.rig.json", rig.dump());
    const Ran ran = run(
        {"check", path("bar.rig.json"), "--picture", path("%b.png"), "--view", "front", "--size", "200x400"});
    EXPECT_EQ(ran.exitCode, 6) << ran.err;
    const std::string block = rig["blocks"][0]["name"];
    EXPECT_TRUE(fs::exists(path("findings.png")));
    const Image sheet = host::readPng(fileText(path(block + ".png")));
    ASSERT_GT(sheet.width, 0);
    // Up the middle of the picture: green grows from the dark end to the light one, blue falls at last.
    const Rgb background = host::RenderOptions().background;
    int x = 0, top = 0, bottom = 0;
    for (int y = 0; y < sheet.height && x == 0; ++y)
        for (int column = 0, runLength = 0; column < sheet.width; ++column) {
            runLength = sheet.at(column, y) == background ? runLength + 1 : 0;
            if (runLength == 200) x = column - 99, top = y;
        }
    ASSERT_GT(x, 0) << "no picture of 200 pixels' width";
    bottom = top + 399;
    while (sheet.at(x, top) == background) ++top;
    while (sheet.at(x, bottom) == background) --bottom;
    ASSERT_GT(bottom - top, 200) << "the bar fills the picture's height";
    for (int k = 1; k < 20; ++k) {
        const double share = k / 20.0; // from the lower end; ring 0 has 1/7, ring 6 has 1
        const int y = bottom - static_cast<int>(std::lround(share * (bottom - top)));
        const Rgb seen = sheet.at(x, y), full = host::rampColour((1.0 + 6.0 * share) / 7.0);
        // Half of the light is even, the rest shades: up to a factor between 0.6 and 1.2 in shown brightness
        // it is the ramp's colour.
        double dots = 0.0, squares = 0.0, miss = 0.0;
        for (std::size_t c = 0; c < 3; ++c) dots += seen[c] * full[c], squares += full[c] * full[c];
        const double factor = dots / squares;
        for (std::size_t c = 0; c < 3; ++c) miss = std::max(miss, std::abs(seen[c] - factor * full[c]));
        EXPECT_GT(factor, 0.6) << share;
        EXPECT_LT(factor, 1.2) << share;
        EXPECT_LT(miss, 16.0) << share;
    }
}

TEST_F(Picture, RefusesInOneLineBeforeAnythingIsWritten) {
    write("bar.gltf", gltf_writer::makeBar({}).text());
    ASSERT_EQ(run({"bind", path("bar.gltf"), "-o", path("bar.rig.json"), "--quiet"}).exitCode, 0);
    const std::string rig = path("bar.rig.json"), out = path("o.rig.json"), png = path("p.png");
    const std::vector<std::vector<std::string>> verbs = {{"bind", path("bar.gltf"), "-o", out},
                                                         {"mirror", rig, "-o", out},
                                                         {"check", rig},
                                                         {"transfer", rig, path("bar.gltf"), "-o", out},
                                                         {"params", rig, "-o", out},
                                                         {"weights", rig, "-o", out}};
    struct Case {
        int exitCode;
        std::string part;
        std::vector<std::string> options;
    };
    fs::create_hard_link(rig, path("twin.png"));
    const std::vector<Case> cases = {
        {2, "use the extension .png", {"--picture", path("p.jpg")}},
        {4, "no_such_folder", {"--picture", path("no_such_folder/p.png")}},
        {2, "--view under", {"--picture", png, "--view", "under"}},
        {2, "--size 10x10", {"--picture", png, "--size", "10x10"}},
        {2, "weights, params or left-behind", {"--picture", png, "--show", "colours"}},
        {2, "--picture", {"--show", "params"}},
        {2, "%b stands for the block", {"--picture", path("%b/p.png")}},
    };
    const auto before = listing();
    for (const std::vector<std::string>& verb : verbs) {
        for (const Case& c : cases) {
            std::vector<std::string> arguments = verb;
            arguments.insert(arguments.end(), c.options.begin(), c.options.end());
            const Ran ran = run(arguments);
            EXPECT_EQ(ran.exitCode, c.exitCode) << verb[0] << ": " << ran.err;
            EXPECT_EQ(std::count(ran.err.begin(), ran.err.end(), '\n'), 1) << ran.err;
            EXPECT_NE(ran.err.find(c.part), std::string::npos) << verb[0] << ": " << ran.err;
            EXPECT_EQ(listing(), before) << verb[0];
        }
    }
    for (const std::size_t v : {1u, 2u, 4u}) { // the rig file under another name
        std::vector<std::string> arguments = verbs[v];
        arguments.insert(arguments.end(), {"--picture", path("twin.png")});
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, 2) << ran.err;
        EXPECT_NE(ran.err.find("the same file as --rig"), std::string::npos) << ran.err;
    }
}

} // namespace
} // namespace talvisora::journeys
