// SPDX-License-Identifier: Apache-2.0
// What a page is told: places of all frames as 16-bit steps in one box, colours and values as bytes, all in
// base64 inside one JSON text.
#pragma once

#include "host/picture/render.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace talvisora::host {

/// The usual alphabet, with the padding.
std::string base64(const void* data, std::size_t size);
template <class T>
std::string base64(const std::vector<T>& list) {
    return base64(list.data(), list.size() * sizeof(T));
}

/// Places as floats, x y z after another.
using Places = std::vector<float>;
void append(Places& places, const std::vector<Vec3d>& points);

/// Coordinates as steps of a 65535th of the box: a place is off by half a step at most.
class Quantiser {
public:
    explicit Quantiser(const Bounds& bounds);
    std::vector<std::uint16_t> steps(const Places& places) const;
    const std::array<double, 3>& low() const { return low_; }
    const std::array<double, 3>& step() const { return step_; }

private:
    std::array<double, 3> low_{}, step_{};
};

/// Values in [0, most] as whole numbers from 0 to the type's largest; what is no number becomes the largest.
std::vector<std::uint8_t> toBytes(const std::vector<float>& values);
std::vector<std::uint16_t> toWords(const std::vector<float>& values, double most);

/// Lines of all frames; every frame has as many as the fullest one, the missing ones without length.
class LineFrames {
public:
    /// `ends`: two per line; `colours`: three bytes per end.
    void addFrame(const std::vector<Vec3d>& ends, const std::vector<std::uint8_t>& colours);
    std::size_t count() const; ///< lines per frame
    Places places() const;
    std::vector<std::uint8_t> colours() const; ///< of the fullest frame
    Bounds bounds() const { return bounds_; }

private:
    std::vector<std::vector<Vec3d>> frames_;
    std::vector<std::uint8_t> colours_;
    Bounds bounds_;
};

/// The page with the JSON text in its place for data; nothing in the text can end that place early. Empty
/// when the page has no such place.
std::string fillPage(std::string_view page, std::string_view json);

} // namespace talvisora::host
