// SPDX-License-Identifier: Apache-2.0
// Colours, the draw manager, and the recorder behind it.
#include "array_storage.h"
#include "object_access.h"
#include "scene/draw_log.h"

#include <charconv>
#include <limits>
#include <maya/MColor.h>
#include <maya/MPoint.h>
#include <maya/MString.h>

namespace headless {

/// What a manager and its recorder share.
struct DrawRecorderState {
    std::unique_ptr<MHWRender::MUIDrawManager> manager;
    std::vector<DrawCall> calls;
    std::vector<std::string> misuses;
    bool open = false;

    void misuse(const std::string& what) {
        misuses.push_back("call " + std::to_string(calls.size()) + ": " + what);
    }
    /// Appends a call that belongs into a drawable.
    DrawCall& add(DrawCallKind kind, const char* name) {
        noteApiCall(name);
        if (!open) misuse(std::string(name) + " outside a drawable");
        return append(kind);
    }
    DrawCall& append(DrawCallKind kind) {
        DrawCall call;
        call.kind = kind;
        call.inside = open;
        calls.push_back(call);
        return calls.back();
    }
    void begin(int selectability, unsigned int name) {
        noteApiCall("MUIDrawManager::beginDrawable");
        if (open) misuse("MUIDrawManager::beginDrawable inside a drawable");
        open = true;
        DrawCall& call = append(DrawCallKind::beginDrawable);
        call.selectability = selectability;
        call.selectionName = name;
    }
};

namespace {

std::array<double, 4> four(const MPoint& p) {
    return {p.x, p.y, p.z, p.w};
}

// Shortest text of at most `digits` significant digits, as printf's %g in the "C" locale.
std::string number(double value, int digits) {
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits);
    return {text, end.ptr};
}

std::string place(const std::array<double, 4>& p) {
    std::string text;
    for (std::size_t k = 0; k < 4; ++k) text += (k ? " " : "") + number(p[k], 17);
    return text;
}

std::string line(const DrawCall& call) {
    switch (call.kind) {
    case DrawCallKind::beginDrawable:
        return "beginDrawable " + std::to_string(call.selectability) + " " +
               std::to_string(call.selectionName);
    case DrawCallKind::endDrawable:
        return "endDrawable";
    case DrawCallKind::setColor: {
        std::string text = "setColor";
        for (const float c : call.colour) text += " " + number(static_cast<double>(c), 9);
        return text;
    }
    case DrawCallKind::setPointSize:
        return "setPointSize " + number(static_cast<double>(call.size), 9);
    case DrawCallKind::setLineWidth:
        return "setLineWidth " + number(static_cast<double>(call.size), 9);
    case DrawCallKind::line:
        return "line " + place(call.from) + "  " + place(call.to);
    case DrawCallKind::point:
        return "point " + place(call.from);
    case DrawCallKind::text:
        return "text " + place(call.from) + " \"" + call.label + "\" " + std::to_string(call.alignment) +
               (call.background ? " background" : "") + (call.dynamic ? " dynamic" : "");
    }
    return "?";
}

} // namespace

DrawRecorder::DrawRecorder() : state_(new DrawRecorderState) {
    state_->manager.reset(new MHWRender::MUIDrawManager(*state_));
}

DrawRecorder::~DrawRecorder() = default;

MHWRender::MUIDrawManager& DrawRecorder::manager() {
    return *state_->manager;
}

const std::vector<DrawCall>& DrawRecorder::calls() const {
    return state_->calls;
}

const std::vector<std::string>& DrawRecorder::misuses() const {
    return state_->misuses;
}

bool DrawRecorder::isOpen() const {
    return state_->open;
}

void DrawRecorder::clear() {
    state_->calls.clear();
    state_->misuses.clear();
    state_->open = false;
}

std::string toText(const std::vector<DrawCall>& calls) {
    std::string text;
    for (const DrawCall& call : calls) text += line(call) + "\n";
    return text;
}

} // namespace headless

namespace Autodesk::Maya::OpenMaya20240000 {

MColor::MColor() : r(0.0f), g(0.0f), b(0.0f), a(1.0f) {}
MColor::MColor(const MColor& other) = default;
MColor::MColor(float rr, float gg, float bb, float aa) : r(rr), g(gg), b(bb), a(aa) {}
MColor::MColor(const float d[3]) : r(d[0]), g(d[1]), b(d[2]), a(1.0f) {}
MColor::MColor(float alpha) : r(0.0f), g(0.0f), b(0.0f), a(alpha) {}
MColor& MColor::operator=(const MColor& other) = default;

float MColor::operator()(unsigned int i) const {
    if (i > 3) {
        headless::noteMisuse("colour index past the end");
        return std::numeric_limits<float>::quiet_NaN();
    }
    const float channels[4] = {r, g, b, a};
    return channels[i];
}

float MColor::operator[](unsigned int i) const {
    return (*this)(i);
}

bool MColor::operator==(const MColor& other) const {
    return r == other.r && g == other.g && b == other.b && a == other.a;
}

bool MColor::operator!=(const MColor& other) const {
    return !(*this == other);
}

namespace MHWRender {

using headless::DrawCall;
using headless::DrawCallKind;

MUIDrawManager::MUIDrawManager(headless::DrawRecorderState& recorderState) : state(&recorderState) {}

void MUIDrawManager::beginDrawable(Selectability selectability, unsigned int selectionName) {
    state->begin(selectability, selectionName);
}

void MUIDrawManager::beginDrawable(unsigned int name, bool nameIsPickable) {
    state->misuse("the older form of MUIDrawManager::beginDrawable");
    state->begin(nameIsPickable ? kSelectable : kNonSelectable, name);
}

void MUIDrawManager::endDrawable() {
    headless::noteApiCall("MUIDrawManager::endDrawable");
    if (!state->open) state->misuse("MUIDrawManager::endDrawable without a drawable");
    state->append(DrawCallKind::endDrawable);
    state->open = false;
}

void MUIDrawManager::setColor(const MColor& color) {
    state->add(DrawCallKind::setColor, "MUIDrawManager::setColor").colour = {color.r, color.g, color.b,
                                                                             color.a};
}

void MUIDrawManager::setPointSize(float value) {
    state->add(DrawCallKind::setPointSize, "MUIDrawManager::setPointSize").size = value;
}

void MUIDrawManager::setLineWidth(float value) {
    state->add(DrawCallKind::setLineWidth, "MUIDrawManager::setLineWidth").size = value;
}

void MUIDrawManager::line(const MPoint& startPoint, const MPoint& endPoint) {
    DrawCall& call = state->add(DrawCallKind::line, "MUIDrawManager::line");
    call.from = headless::four(startPoint);
    call.to = headless::four(endPoint);
}

void MUIDrawManager::point(const MPoint& point) {
    state->add(DrawCallKind::point, "MUIDrawManager::point").from = headless::four(point);
}

void MUIDrawManager::text(const MPoint& position, const MString& text, TextAlignment alignment,
                          const int* backgroundSize, const MColor* backgroundColor, bool dynamic) {
    DrawCall& call = state->add(DrawCallKind::text, "MUIDrawManager::text");
    call.from = headless::four(position);
    call.label = text.asChar();
    call.alignment = alignment;
    call.background = backgroundSize || backgroundColor;
    call.dynamic = dynamic;
}

} // namespace MHWRender
} // namespace Autodesk::Maya::OpenMaya20240000
