// SPDX-License-Identifier: Apache-2.0
// Labels in pictures: a built-in font for printable ASCII. Glyphs are dots on a small grid that are joined to
// round strokes when drawn, so they stay smooth at any size.
#pragma once

#include "host/picture/image.h"

#include <string_view>

namespace talvisora::host {

/// Width in pixels of `text` at `height` (the height of a capital letter, in pixels).
int textWidth(std::string_view text, double height);

/// Draws `text` with its top left corner at (x, y); capitals are `height` pixels high, descenders reach two
/// sevenths below. What is not printable ASCII is drawn as '?'. Parts outside the picture are cut off.
void drawText(Image& image, double x, double y, std::string_view text, double height, Rgb colour);

} // namespace talvisora::host
