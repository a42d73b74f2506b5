// SPDX-License-Identifier: Apache-2.0
// What a draw callback is handed to draw with. Here nothing is shown: every call is written down, and
// scene/draw_log.h hands the managers out and the calls back.
#pragma once

#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace headless {
class DrawRecorder;
struct DrawRecorderState;
} // namespace headless

namespace Autodesk::Maya::OpenMaya20240000::MHWRender {

/// Drawing, setters included, belongs between beginDrawable and endDrawable; both reset the state. A manager
/// is valid inside the callback that was handed it: it must not be kept. Colours, points and texts are
/// copied.
class HEADLESS_API MUIDrawManager {
public:
    enum Selectability { kNonSelectable = 0, kSelectable = 1, kAutomatic = 2 };
    enum TextAlignment { kLeft = 0, kCenter = 1, kRight = 2 };

    void beginDrawable(Selectability selectability = kAutomatic, unsigned int selectionName = 0);
    /// The older form. It is here so that a call with two plain numbers is the mistake that it may be in
    /// Maya: recorded as an open drawable, and as misuse.
    void beginDrawable(unsigned int name, bool nameIsPickable);
    void endDrawable();

    void setColor(const MColor& color);
    void setPointSize(float value);
    void setLineWidth(float value);

    void line(const MPoint& startPoint, const MPoint& endPoint);
    void point(const MPoint& point);
    /// Null sizes and colours mean no background.
    void text(const MPoint& position, const MString& text, TextAlignment alignment = kLeft,
              const int* backgroundSize = nullptr, const MColor* backgroundColor = nullptr,
              bool dynamic = false);

private:
    friend class headless::DrawRecorder;
    explicit MUIDrawManager(headless::DrawRecorderState& recorderState);
    MUIDrawManager(const MUIDrawManager&) = delete;
    MUIDrawManager& operator=(const MUIDrawManager&) = delete;

    headless::DrawRecorderState* state;
};

} // namespace Autodesk::Maya::OpenMaya20240000::MHWRender
