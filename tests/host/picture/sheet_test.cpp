// SPDX-License-Identifier: Apache-2.0
// Labels, sheets and PNG files. The font is checked by what must hold for letters: every one differs, stands
// where it is asked to, and grows with the height.
#include "host/picture/contact_sheet.h"
#include "host/picture/image.h"
#include "host/picture/text.h"

#include "host/picture/read_png.h"
#include "host/writers/temp_folder.h"

#include <set>

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

constexpr Rgb kWhite{255, 255, 255}, kBlack{0, 0, 0}, kGreen{0, 200, 0};

struct InkBox {
    int left = 1 << 20, right = -1, top = 1 << 20, bottom = -1, dark = 0;
};

InkBox inkOf(const Image& image) {
    InkBox box;
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            if (image.at(x, y)[0] > 128) continue;
            box.left = std::min(box.left, x), box.right = std::max(box.right, x);
            box.top = std::min(box.top, y), box.bottom = std::max(box.bottom, y);
            ++box.dark;
        }
    }
    return box;
}

Image drawn(const std::string& text, double height, int width = 60, int rows = 60) {
    Image image(width, rows, kWhite);
    drawText(image, 10.0, 10.0, text, height, kBlack);
    return image;
}

TEST(Text, EveryPrintableCharacterHasAShapeOfItsOwn) {
    std::set<std::vector<std::uint8_t>> shapes;
    for (char c = ' '; c <= '~'; ++c) {
        const Image image = drawn(std::string(1, c), 21.0);
        EXPECT_EQ(inkOf(image).dark == 0, c == ' ') << c;
        EXPECT_TRUE(shapes.insert(image.bytes).second) << c << " looks like another one";
    }
}

TEST(Text, CapitalsStandInTheGivenHeight) {
    for (const double height : {9.0, 14.0, 28.0}) {
        const InkBox box = inkOf(drawn("H", height));
        EXPECT_NEAR(box.top, 10, 1);
        EXPECT_NEAR(box.bottom, 10 + height - 1, 1);
        EXPECT_NEAR(box.left, 10, 1);
        EXPECT_NEAR(box.right, 10 + textWidth("H", height) - 1, 1);
    }
    EXPECT_NEAR(inkOf(drawn("p", 14.0)).bottom, 10 + 14 + 4 - 1, 1) << "two sevenths below";
}

TEST(Text, StrokesOfALetterAreWhereTheyBelong) {
    const Image image = drawn("L", 28.0);
    const InkBox box = inkOf(image);
    EXPECT_LT(image.at(box.left + 1, 20)[0], 128) << "upright";
    EXPECT_LT(image.at(box.right - 1, box.bottom - 1)[0], 128) << "foot";
    EXPECT_EQ(image.at(box.right - 1, 14), kWhite) << "nothing at the upper right";
}

TEST(Text, EdgesAreSmooth) {
    const Image image = drawn("O", 21.0);
    int grey = 0;
    for (std::size_t i = 0; i < image.bytes.size(); i += 3)
        grey += image.bytes[i] > 20 && image.bytes[i] < 235;
    EXPECT_GT(grey, 30);
}

TEST(Text, WhatIsNotPrintableBecomesAQuestionMark) {
    EXPECT_EQ(drawn("\n", 14.0).bytes, drawn("?", 14.0).bytes);
    EXPECT_EQ(drawn("\xff", 14.0).bytes, drawn("?", 14.0).bytes);
}

TEST(Text, PartsOutsideAreCutOff) {
    Image image(12, 12, kWhite);
    drawText(image, -5.0, -5.0, "HHHHHH", 30.0, kBlack);
    drawText(image, 1e6, 3.0, "H", 10.0, kBlack);
    drawText(image, 3.0, -1e6, "H", 10.0, kBlack);
    drawText(image, 0.0, 0.0, "H", 0.0, kBlack);
    EXPECT_GT(inkOf(image).dark, 0);
    Image none;
    drawText(none, 0.0, 0.0, "H", 10.0, kBlack);
    EXPECT_TRUE(none.bytes.empty());
}

TEST(Text, WidthCountsEveryLetter) {
    EXPECT_EQ(textWidth("", 14.0), 0);
    const double step = 14.0 / 6.92;
    EXPECT_NEAR(textWidth("abcd", 14.0) - textWidth("a", 14.0), 18.0 * step, 1.0);
}

TEST(ContactSheet, CellsLieInRowsAndColumns) {
    SheetStyle style;
    style.gap = 5;
    style.paper = kWhite;
    const SheetRow row{"", {{Image(30, 20, kGreen), ""}, {Image(40, 25, kBlack), ""}}};
    const Image sheet = layOutSheet({row, row}, style);
    EXPECT_EQ(sheet.width, 5 + 30 + 5 + 40 + 5);
    EXPECT_EQ(sheet.height, 5 + 25 + 5 + 25 + 5);
    for (const int top : {5, 35}) {
        EXPECT_EQ(sheet.at(5, top), kGreen);
        EXPECT_EQ(sheet.at(34, top + 19), kGreen);
        EXPECT_EQ(sheet.at(35, top), kWhite);
        EXPECT_EQ(sheet.at(40, top), kBlack);
        EXPECT_EQ(sheet.at(79, top + 24), kBlack);
        EXPECT_EQ(sheet.at(80, top), kWhite);
    }
    EXPECT_EQ(sheet.at(4, 10), kWhite);
}

TEST(ContactSheet, TitlesStandAboveAndLabelsBelow) {
    SheetStyle style;
    style.paper = kWhite;
    style.ink = kBlack;
    const Image bare = layOutSheet({{"", {{Image(200, 50, kGreen), ""}}}}, style);
    const Image full = layOutSheet({{"talvisora", {{Image(200, 50, kGreen), "frame 12"}}}}, style);
    EXPECT_EQ(full.width, bare.width);
    ASSERT_GT(full.height, bare.height + 20);
    int pictureTop = 0;
    while (full.at(100, pictureTop) != kGreen) ++pictureTop;
    int above = 0, below = 0;
    for (int y = 0; y < full.height; ++y) {
        for (int x = 0; x < full.width; ++x) {
            const Rgb c = full.at(x, y);
            if (c[0] > 100 || c[1] > 100) continue;
            (y < pictureTop ? above : below) += 1;
            EXPECT_TRUE(y < pictureTop || y >= pictureTop + 50) << "text lies over the picture";
        }
    }
    EXPECT_GT(above, 50);
    EXPECT_GT(below, 50);
}

TEST(ContactSheet, UnevenAndEmptyRowsAreLaidOut) {
    const SheetRow two{"a title that is much wider than the cells under it",
                       {{Image(10, 10, kGreen), "x"}, {Image(5, 30, kGreen), ""}}};
    const SheetRow one{"", {{Image(), "a long label over a small cell"}}};
    const Image sheet = layOutSheet({two, {}, one});
    EXPECT_GT(sheet.width, textWidth(two.title, 11));
    const Image none = layOutSheet({});
    EXPECT_GT(none.width, 0);
    EXPECT_GT(none.height, 0);
}

// PNG, as far as a test needs it: the header's fields, and that the file ends as it must.
TEST(Png, HeaderNamesTheSizeAndTheFileIsWhole) {
    TempFolder folder;
    writePng(folder.file("a.png"), Image(300, 2, kGreen));
    const std::string bytes = readText(folder.file("a.png"));
    EXPECT_EQ(bytes.substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_EQ(bytes.substr(12, 4), "IHDR");
    EXPECT_EQ(bytes.substr(16, 8), std::string("\0\0\x01\x2c\0\0\0\x02", 8));
    EXPECT_EQ(bytes.substr(24, 2), std::string("\x08\x02", 2)) << "eight bits, red green blue";
    EXPECT_EQ(bytes.substr(bytes.size() - 8, 4), "IEND");
}

TEST(Png, PixelsReadBack) {
    TempFolder folder;
    Image image(17, 9, kWhite);
    for (int y = 0; y < 9; ++y) {
        for (int x = 0; x < 17; ++x)
            image.set(x, y,
                      {static_cast<std::uint8_t>(x * 15), static_cast<std::uint8_t>(y * 28),
                       static_cast<std::uint8_t>(x ^ y)});
    }
    writePng(folder.file("a.png"), image);
    const Image back = readPng(readText(folder.file("a.png")));
    EXPECT_EQ(back.width, 17);
    EXPECT_EQ(back.height, 9);
    EXPECT_EQ(back.bytes, image.bytes);
}

TEST(Png, FailureLeavesNothing) {
    TempFolder folder;
    EXPECT_NE(errorOf([&] { writePng(folder.file("a.png"), Image()); }), "");
    EXPECT_NE(errorOf([&] { writePng(folder.file("none/a.png"), Image(2, 2, kGreen)); }), "");
    EXPECT_TRUE(folder.names().empty());
}

TEST(Image, PasteCutsOffWhatIsOutside) {
    Image image(4, 4, kWhite);
    image.paste(Image(3, 3, kGreen), -1, 2);
    image.paste(Image(3, 3, kBlack), 3, -2);
    image.paste(Image(3, 3, kBlack), 4, 0);
    image.paste(Image(3, 3, kBlack), -3, 0);
    EXPECT_EQ(image.at(0, 2), kGreen);
    EXPECT_EQ(image.at(1, 3), kGreen);
    EXPECT_EQ(image.at(2, 2), kWhite);
    EXPECT_EQ(image.at(3, 0), kBlack);
    EXPECT_EQ(image.at(3, 1), kWhite);
}

TEST(Image, BlendMixesByCoverage) {
    Image image(1, 1, kWhite);
    image.blend(0, 0, kBlack, 0.25f);
    EXPECT_EQ(image.at(0, 0), (Rgb{191, 191, 191}));
    image.blend(0, 0, kGreen, 7.0f);
    EXPECT_EQ(image.at(0, 0), kGreen);
    image.blend(1, 0, kBlack, 1.0f);
    image.blend(0, -1, kBlack, 1.0f);
    EXPECT_EQ(image.at(0, 0), kGreen);
}

} // namespace
} // namespace talvisora::host
