// SPDX-License-Identifier: Apache-2.0
// Draw managers that write down what they are told, call by call with all arguments, for tests to compare and
// for hosts to paint. This header is the platform's own, not Maya's; module code never includes it.
#pragma once

#include "../headless_api.h"
#include <array>
#include <maya/MUIDrawManager.h>
#include <memory>
#include <string>
#include <vector>

namespace headless {

enum class DrawCallKind {
    beginDrawable,
    endDrawable,
    setColor,
    setPointSize,
    setLineWidth,
    line,
    point,
    text
};

/// One call. Members that the kind does not use keep their defaults.
struct DrawCall {
    DrawCallKind kind;
    int selectability = 0;                    ///< beginDrawable
    unsigned int selectionName = 0;           ///< beginDrawable
    std::array<float, 4> colour{};            ///< setColor: red, green, blue, alpha as they were given
    float size = 0.0f;                        ///< setPointSize, setLineWidth
    std::array<double, 4> from{}, to{};       ///< line; point and text: `from` alone. x, y, z, w as given
    std::string label;                        ///< text
    int alignment = 0;                        ///< text
    bool background = false, dynamic = false; ///< text: a background size or colour was given; dynamic
    bool inside = false; ///< the call lay between beginDrawable and endDrawable (both count as inside)
};

/// Hands out one draw manager and keeps what it was told. Threads: one recorder, one thread, as in Maya;
/// calls from a second thread are counted by scene/thread_check.h.
class HEADLESS_API DrawRecorder {
public:
    DrawRecorder();
    ~DrawRecorder();
    DrawRecorder(const DrawRecorder&) = delete;
    DrawRecorder& operator=(const DrawRecorder&) = delete;

    /// Valid as long as the recorder.
    Autodesk::Maya::OpenMaya20240000::MHWRender::MUIDrawManager& manager();

    /// All calls since the start or the last clear, oldest first.
    const std::vector<DrawCall>& calls() const;

    /// What Maya leaves undefined, one line each: calls outside a drawable, drawables inside drawables, an
    /// end without a begin, the older form of beginDrawable. A drawable left open is not among them.
    const std::vector<std::string>& misuses() const;

    /// Whether a drawable is open now.
    bool isOpen() const;

    void clear();

private:
    std::unique_ptr<DrawRecorderState> state_;
};

/// The calls as text, one line each: the call's name and its arguments; doubles with 17 significant digits,
/// floats with 9, in every locale with a point. "line 0 0 0 1  1 0 0 1", "text 0 0 0 1 \"12\" 0".
HEADLESS_API std::string toText(const std::vector<DrawCall>& calls);

} // namespace headless
