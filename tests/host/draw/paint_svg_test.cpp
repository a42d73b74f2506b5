// SPDX-License-Identifier: Apache-2.0
// Names from files, in SVG: whatever they hold, the document stays one that an XML reader takes.
#include "host/draw/paint.h"

#include <gtest/gtest.h>

#include <string>

namespace talvisora::host {
namespace {

std::string titled(const std::string& title) {
    PaintStyle style;
    style.title = title;
    return paintSvg(Image(8, 8, {255, 255, 255}), DepthMap({}, {}, Camera(), 8, 8), {}, {}, FlatDrawing(),
                    style);
}

TEST(PaintSvg, MarkupInNamesIsText) {
    EXPECT_NE(titled("a<b>&\"]]>").find("a&lt;b&gt;&amp;&quot;]]&gt;"), std::string::npos);
}

TEST(PaintSvg, CharactersOfEveryLengthStayAsTheyAre) {
    const std::string name = "e \xc3\xa9 \xe2\x82\xac \xf0\x9f\x90\x82 .";
    EXPECT_NE(titled(name).find(name), std::string::npos);
}

TEST(PaintSvg, BytesThatAreNoCharactersBecomeQuestionMarks) {
    // a stray byte, a cut sequence, a longer form than needed, a surrogate, a number past the last, none at
    // all
    const std::string wrong[] = {"\xff",         "\xe2\x82",         "\xc0\xaf",
                                 "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xef\xbf\xbf"};
    for (const std::string& bytes : wrong)
        EXPECT_NE(titled("[" + bytes + "]").find("[" + std::string(bytes.size(), '?') + "]"),
                  std::string::npos);
    EXPECT_NE(titled("[\x01]").find("[?]"), std::string::npos);
}

} // namespace
} // namespace talvisora::host
