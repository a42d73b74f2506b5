// SPDX-License-Identifier: Apache-2.0
// The bar writes to terminals only; what it writes there is read from a file that it is told to treat as one.
#include "host/progress.h"

#include "host/writers/temp_folder.h"

#include <cstdio>

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

// What `work` leaves in a fresh file that it gets as its stream.
template <typename Work>
std::string writtenBy(Work work) {
    TempFolder folder;
    const std::string path = folder.file("out");
    std::FILE* stream = std::fopen(path.c_str(), "wb");
    work(stream);
    std::fclose(stream);
    return readText(path);
}

void runAll(Progress& progress) {
    for (int i = 0; i < 5; ++i) progress.advance();
    progress.finish();
}

TEST(Progress, IsSilentWhenItIsNotATerminal) {
    EXPECT_EQ(writtenBy([](std::FILE* stream) {
                  Progress progress("frames", 5, false, stream);
                  EXPECT_FALSE(progress.shown());
                  runAll(progress);
              }),
              "");
}

TEST(Progress, IsSilentWhenQuiet) {
    EXPECT_EQ(writtenBy([](std::FILE* stream) {
                  Progress progress("frames", 5, true, stream, Progress::Show::kAlways);
                  runAll(progress);
              }),
              "");
}

TEST(Progress, EndsWithAFullBarAndOneNewline) {
    const std::string text = writtenBy([](std::FILE* stream) {
        Progress progress("frames", 5, false, stream, Progress::Show::kAlways);
        runAll(progress);
        progress.finish();
        progress.advance();
    });
    EXPECT_EQ(text.find("\rframes [........................] 0/5"), 0u);
    const std::size_t last = text.rfind('\r');
    EXPECT_EQ(text.compare(last, 38, "\rframes [########################] 5/5"), 0) << text;
    EXPECT_NE(text.find("/s  in 0:01", last), std::string::npos) << text;
    EXPECT_EQ(text.find('\n'), text.size() - 1);
}

TEST(Progress, LineIsFinishedWhenTheWorkBreaksOff) {
    const std::string text = writtenBy([](std::FILE* stream) {
        Progress progress("frames", 4, false, stream, Progress::Show::kAlways);
        progress.advance();
    });
    EXPECT_NE(text.find("[######..................] 1/4"), std::string::npos) << text;
    EXPECT_NE(text.find(" left"), std::string::npos);
    EXPECT_EQ(text.back(), '\n');
}

TEST(Progress, TooManyStepsStayFull) {
    const std::string text = writtenBy([](std::FILE* stream) {
        Progress progress("frames", 3, false, stream, Progress::Show::kAlways);
        progress.advance(2);
        progress.advance(~std::size_t{0});
        progress.finish();
    });
    EXPECT_NE(text.find("] 3/3"), std::string::npos) << text;
}

TEST(Progress, NoStepsAtAllAreFine) {
    const std::string text = writtenBy([](std::FILE* stream) {
        Progress progress("frames", 0, false, stream, Progress::Show::kAlways);
        progress.finish();
    });
    EXPECT_NE(text.find("] 0/0"), std::string::npos) << text;
}

TEST(Progress, DrawsSeldom) {
    const std::string text = writtenBy([](std::FILE* stream) {
        Progress progress("frames", 100000, false, stream, Progress::Show::kAlways);
        for (int i = 0; i < 100000; ++i) progress.advance();
        progress.finish();
    });
    EXPECT_LT(text.size(), 4000u) << "a line per tenth of a second, not per step";
}

} // namespace
} // namespace talvisora::host
