// SPDX-License-Identifier: Apache-2.0
// `grhost view`: what is written into the page is held against the point cache of the same frames; the page
// itself is opened in a headless browser, where there is one, and asked what it has drawn.
#include "host/gltf_writer.h"
#include "host/picture/read_png.h"
#include "journeys/run_grhost.h"

#include <cmath>
#include <cstring>

namespace talvisora::journeys {
namespace {

const std::string kEmptyPage =
    "<html><script id=\"data\" type=\"application/json\"></script><p>after</p></html>";

std::string decode64(const std::string& text) {
    std::string bytes;
    std::uint32_t bits = 0;
    int have = 0;
    const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (const char c : text) {
        const std::size_t value = letters.find(c);
        if (value == std::string::npos) break;
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        have += 6;
        if (have < 8) continue;
        have -= 8;
        bytes += static_cast<char>(bits >> have & 0xFF);
    }
    return bytes;
}

template <class T>
T valueAt(const std::string& bytes, std::size_t offset) {
    T value{};
    if (offset + sizeof value <= bytes.size()) std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

std::string findBrowser() {
    for (const char* name : {"chromium-headless-shell", "chromium", "google-chrome"})
        if (std::system((std::string("command -v ") + name + " > /dev/null").c_str()) == 0) return name;
    return {};
}

class View : public Journey {
protected:
    static constexpr std::size_t kPoints = 28; // seven rings of four

    void SetUp() override {
        Journey::SetUp();
        gltf_writer::Document bar = gltf_writer::makeBar({});
        const float half = std::sqrt(0.5f);
        gltf_writer::animate(bar, "</script><b>bend", 2, "rotation", {0.0f, 1.0f},
                             {0, 0, 0, 1, 0, 0, half, half}, 4);
        write("bar.gltf", bar.text());
        write("empty.html", kEmptyPage);
    }

    Json view(std::vector<std::string> more, const std::string& out = "out.html") {
        more.insert(more.begin(), {"view", path("bar.gltf"), "-o", path(out), "--json", "--quiet"});
        const Ran ran = run(more);
        EXPECT_EQ(ran.exitCode, 0) << ran.err;
        return ran.out.empty() ? Json() : Json::parse(ran.out);
    }
    Json dataOf(const std::string& page) {
        const std::string head = "type=\"application/json\">";
        const std::size_t start = page.find(head) + head.size(), end = page.find("</script>", start);
        return Json::parse(page.substr(start, end - start));
    }
    // A point of a frame of `grhost deform`, in centimetres: the file's unit is the metre.
    double cached(std::size_t sample, std::size_t point, std::size_t axis) {
        if (cache_.empty()) {
            EXPECT_EQ(run({"deform", path("bar.gltf"), "-o", path("bar.pc2"), "--quiet"}).exitCode, 0);
            cache_ = fileText(path("bar.pc2"));
        }
        return 100.0 *
               static_cast<double>(valueAt<float>(cache_, 32 + 12 * (sample * kPoints + point) + 4 * axis));
    }

    struct Opened {
        std::string document, talk;
    };
    // Opens the page; `more` are options of the browser.
    Opened open(const std::string& address, const std::string& more) {
        const std::string line = "timeout 100 " + findBrowser() +
                                 " --no-sandbox --disable-gpu-sandbox --enable-unsafe-swiftshader "
                                 "--hide-scrollbars --host-resolver-rules='MAP * ~NOTFOUND' "
                                 "--enable-logging=stderr --window-size=900,500 "
                                 "--virtual-time-budget=5000 --user-data-dir='" +
                                 path("profile") + "' " + more + " 'file://" + address + "' > '" +
                                 path("dom") + "' 2> '" + path("talk") + "'";
        EXPECT_EQ(std::system(line.c_str()), 0) << fileText(path("talk"));
        return {fileText(path("dom")), fileText(path("talk"))};
    }
    // What the page said on the console, apart from the graphics driver's remarks on speed.
    static std::string console(const std::string& talk) {
        std::string said;
        std::istringstream lines(talk);
        for (std::string line; std::getline(lines, line);)
            if (line.find("CONSOLE") != std::string::npos && line.find("GL Driver Message") == line.npos)
                said += line + "\n";
        return said;
    }
    // Why the page cannot be opened here; empty: it can.
    static std::string cannotOpen() {
        if (!fs::exists(fs::path(TALVISORA_BIN_DIR) / "grhost_view.html"))
            return "the build made no page for grhost view (npm or the network was missing)";
        if (findBrowser().empty()) return "no headless browser; install chromium-headless-shell";
        return {};
    }

private:
    std::string cache_;
};

TEST_F(View, PageHoldsTheFramesOfThePointCache) {
    const Json report = view({"--page", path("empty.html"), "--frames", "1,9,25"});
    EXPECT_EQ(report.at("frames"), 3);
    const Json data = dataOf(fileText(path("out.html")));
    EXPECT_EQ(data.at("frames"), Json::array({1, 9, 25}));
    ASSERT_EQ(data.at("points"), kPoints);
    ASSERT_EQ(data.at("ways").size(), 3u);
    EXPECT_EQ(data.at("ways")[0].at("name"), "talvisora");
    const std::string places = decode64(data.at("ways")[0].at("places"));
    ASSERT_EQ(places.size(), 3 * kPoints * 3 * 2);
    const std::vector<std::size_t> samples{0, 8, 24};
    for (std::size_t f = 0; f < 3; ++f) {
        for (std::size_t k = 0; k < kPoints * 3; ++k) {
            const double step = data.at("step")[k % 3], low = data.at("low")[k % 3];
            const double place = low + step * valueAt<std::uint16_t>(places, 2 * (f * kPoints * 3 + k));
            // half a step, and single precision on either side
            EXPECT_NEAR(place, cached(samples[f], k / 3, k % 3), 0.51 * step + 2e-4) << f << ", " << k;
        }
    }
}

// Joint 2 turns about z with its end joint; ring 6 hangs on joint 2 alone, so it turns rigidly with it in
// both ordinary ways: a quarter turn about (0, 1) takes (±25, 300) to (-200, 100 ± 25) in centimetres, when
// the turn is complete. Frame 25 is that moment.
TEST_F(View, OrdinarySkinningStandsBesideIt) {
    view({"--page", path("empty.html"), "--frames", "25"});
    const Json data = dataOf(fileText(path("out.html")));
    for (const std::size_t way : {1u, 2u}) {
        EXPECT_EQ(data.at("ways")[way].at("name"), way == 1 ? "linear blend" : "dual quaternions");
        const std::string places = decode64(data.at("ways")[way].at("places"));
        const auto coordinate = [&](std::size_t point, std::size_t axis) {
            return data.at("low")[axis].get<double>() +
                   data.at("step")[axis].get<double>() *
                       valueAt<std::uint16_t>(places, 2 * (3 * point + axis));
        };
        for (std::size_t corner = 24; corner < 28; ++corner) {
            EXPECT_NEAR(coordinate(corner, 0), -200.0, 0.02) << way;
            EXPECT_NEAR(std::fabs(coordinate(corner, 1) - 100.0), 25.0, 0.02) << way;
        }
    }
}

TEST_F(View, NoNameEndsThePlaceForData) {
    view({"--page", path("empty.html"), "--frames", "1"});
    const std::string page = fileText(path("out.html"));
    EXPECT_EQ(dataOf(page).at("clip"), "</script><b>bend");
    EXPECT_EQ(page.find("</script>"), page.rfind("</script>"));
    EXPECT_NE(page.find("</script><p>after</p></html>"), std::string::npos);
}

TEST_F(View, MistakesAreOneLineAndLeaveNoFile) {
    struct Case {
        int exitCode;
        std::string said;
        std::vector<std::string> options;
    };
    const std::string out = path("o.html"), empty = path("empty.html");
    const std::vector<Case> cases = {
        {3,
         "nothing.html: the page to fill is not there; it is built with npm: install nodejs and npm",
         {"-o", out, "--page", path("nothing.html")}},
        {3, "no page of grhost view; build it again", {"-o", out, "--page", path("bar.gltf")}},
        {2, "the same file as the page to fill; give it a name of its own", {"-o", empty, "--page", empty}},
        {2, "a .html expected", {"-o", path("o.txt"), "--page", empty}},
        {2, "--fps must be a positive number", {"-o", out, "--page", empty, "--fps", "0"}},
        {2, "--character goes with a rig file", {"-o", out, "--page", empty, "--character", "x"}},
        {3, "frame", {"-o", out, "--page", empty, "--frames", "900"}},
        {4, "no_such_folder", {"-o", path("no_such_folder/o.html"), "--page", empty}},
    };
    for (const Case& mistake : cases) {
        std::vector<std::string> arguments{"view", path("bar.gltf")};
        arguments.insert(arguments.end(), mistake.options.begin(), mistake.options.end());
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, mistake.exitCode) << ran.err;
        EXPECT_NE(ran.err.find(mistake.said), std::string::npos) << ran.err;
        EXPECT_EQ(std::count(ran.err.begin(), ran.err.end(), '\n'), 1) << ran.err;
        EXPECT_FALSE(fs::exists(out));
    }
}

// An entry of its own, where the build made a page and a browser is there.
class ViewInBrowser : public View {
protected:
    void SetUp() override {
        View::SetUp();
        ASSERT_EQ(cannotOpen(), "");
    }
};

TEST_F(ViewInBrowser, BrowserDrawsTheFrameAskedForWithoutComplaint) {
    view({});
    for (const std::size_t frame : {5u, 21u}) {
        const Opened opened =
            open(path("out.html") + "#frame=" + std::to_string(frame) + "&probe=0,13,27&curves=1&axes=1",
                 "--dump-dom");
        EXPECT_EQ(console(opened.talk), "");
        const std::string head = "id=\"state\" type=\"application/json\">";
        const std::size_t start = opened.document.find(head);
        ASSERT_NE(start, std::string::npos);
        const std::size_t end = opened.document.find("</script>", start);
        const Json state =
            Json::parse(opened.document.substr(start + head.size(), end - start - head.size()));
        EXPECT_EQ(state.at("frame"), frame);
        ASSERT_EQ(state.at("ways").size(), 3u);
        const Json& own = state.at("ways").at("talvisora");
        const std::vector<std::size_t> probed{0, 13, 27};
        for (std::size_t k = 0; k < probed.size(); ++k)
            for (std::size_t axis = 0; axis < 3; ++axis) // the box is 350 cm at most: half a step is 0.003
                EXPECT_NEAR(own.at("points")[k][axis].get<double>(), cached(frame - 1, probed[k], axis),
                            0.004);
        for (const auto& way : state.at("ways").items())
            EXPECT_GT(way.value().at("drawnShare").get<double>(), 0.005) << way.key();
    }
}

// The check above can fail: a page with broken data complains, and that is seen.
TEST_F(ViewInBrowser, BrowserComplainsAboutAPageWithoutData) {
    const std::string page = (fs::path(TALVISORA_BIN_DIR) / "grhost_view.html").string();
    const Opened opened = open(page, "--dump-dom");
    EXPECT_NE(console(opened.talk).find("this page has no character"), std::string::npos) << opened.talk;
}

// A person's hands, in the browser's virtual time: it runs timers, but no animation frames beyond the first,
// so these become timers.
const char* const kHands = R"js(<script>
window.requestAnimationFrame = (f) => setTimeout(() => f(performance.now()), 16);
const $$ = (id) => document.getElementById(id), told = {};
const note = (name) => { told[name] = JSON.parse($$("state").textContent); delete told[name].ways; };
const pointer = (type, x) => $$("canvas").dispatchEvent(new PointerEvent(type, { pointerId: 1, pointerType: "mouse",
  button: 0, buttons: type === "pointerup" ? 0 : 1, clientX: x, clientY: 150, pageX: x, pageY: 150, bubbles: true }));
const steps = [
  [1000, () => note("playing")],
  [1500, () => { note("later"); $$("play").click(); }],
  [1600, () => note("stopped")],
  [2000, () => { note("still"); $$("scrub").value = 6; $$("scrub").dispatchEvent(new Event("input")); }],
  [2100, () => { note("scrubbed"); dispatchEvent(new KeyboardEvent("keydown", { key: "ArrowLeft" })); }],
  [2200, () => { note("back"); $$("colour").value = 1; $$("colour").dispatchEvent(new Event("change")); }],
  [2300, () => { note("coloured"); $$("canvas").setPointerCapture = $$("canvas").releasePointerCapture = () => {};
    pointer("pointerdown", 300); pointer("pointermove", 350); pointer("pointermove", 420); pointer("pointerup", 420); }],
  [2500, () => { note("orbited"); document.documentElement.dataset.told = btoa(JSON.stringify(told)); }],
];
for (const [at, act] of steps) setTimeout(act, at);
</script>)js";

TEST_F(ViewInBrowser, PlaysStopsScrubsColoursAndOrbits) {
    view({});
    std::string page = fileText(path("out.html"));
    page.insert(page.find("<head>") + 6, kHands);
    write("hands.html", page);
    const Opened opened = open(path("hands.html"), "--dump-dom");
    EXPECT_EQ(console(opened.talk), "");
    const std::string head = "data-told=\"";
    const std::size_t start = opened.document.find(head);
    ASSERT_NE(start, std::string::npos) << opened.talk;
    const Json told = Json::parse(decode64(opened.document.substr(start + head.size())));
    const auto frame = [&](const char* when) { return told.at(when).at("frame").get<int>(); };
    // Half a second at 24 frames per second, round a clip of 25.
    EXPECT_NEAR((frame("later") - frame("playing") + 25) % 25, 12, 2);
    EXPECT_EQ(frame("stopped"), frame("still"));
    EXPECT_EQ(frame("scrubbed"), 7) << "places count from 0, frames from 1";
    EXPECT_EQ(frame("back"), 6);
    EXPECT_EQ(told.at("back").at("colour"), "none");
    EXPECT_EQ(told.at("coloured").at("colour"), "weights");
    EXPECT_EQ(told.at("coloured").at("eye"), told.at("playing").at("eye"));
    EXPECT_NE(told.at("orbited").at("eye"), told.at("coloured").at("eye"));
    EXPECT_EQ(frame("orbited"), 6);
}

TEST_F(ViewInBrowser, ScreenshotShowsTheCharacterMoving) {
    view({});
    std::vector<std::string> shots;
    for (const char* frame : {"1", "25"}) {
        const std::string png = path(std::string("shot") + frame + ".png");
        open(path("out.html") + "#ways=talvisora&frame=" + frame, "--screenshot='" + png + "'");
        const host::Image shot = host::readPng(fileText(png));
        ASSERT_EQ(shot.width, 900);
        int skin = 0;
        for (int y = 0; y < 380; ++y) // above the panel
            for (int x = 0; x < shot.width; ++x) {
                const host::Rgb c =
                    shot.at(x, y); // the surface's hue, in any light: red over green over blue
                skin += c[0] > c[1] + 8 && c[1] > c[2] + 8;
            }
        EXPECT_GT(skin, 900 * 380 / 100) << "at least a hundredth of the picture";
        shots.push_back(std::string(shot.bytes.begin(), shot.bytes.begin() + 900 * 380 * 3));
    }
    EXPECT_NE(shots[0], shots[1]);
}

} // namespace
} // namespace talvisora::journeys
