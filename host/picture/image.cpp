// SPDX-License-Identifier: Apache-2.0
// Pixels and PNG. The only file that sees the PNG library's implementation.
#include "host/picture/image.h"

#include "host/writers/atomic_file.h"

#include <algorithm>

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#if __has_include(<stb/stb_image_write.h>)
#include <stb/stb_image_write.h>
#else
#include <stb_image_write.h>
#endif
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace talvisora::host {

namespace {

std::size_t offsetOf(const Image& image, int x, int y) {
    return (static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) +
            static_cast<std::size_t>(x)) *
           3;
}

// Called back by C code, which must not see an exception: the bytes are only collected here.
void collect(void* target, void* data, int size) {
    auto* bytes = static_cast<std::vector<std::uint8_t>*>(target);
    const auto* first = static_cast<const std::uint8_t*>(data);
    try {
        bytes->insert(bytes->end(), first, first + size);
    } catch (...) {
        bytes->clear();
    }
}

} // namespace

Image::Image(int w, int h, Rgb fill) : width(std::max(w, 0)), height(std::max(h, 0)) {
    bytes.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
    for (std::size_t i = 0; i < bytes.size(); i += 3) std::copy(fill.begin(), fill.end(), &bytes[i]);
}

Rgb Image::at(int x, int y) const {
    const std::size_t offset = offsetOf(*this, x, y);
    return {bytes[offset], bytes[offset + 1], bytes[offset + 2]};
}

void Image::set(int x, int y, Rgb colour) {
    std::copy(colour.begin(), colour.end(), &bytes[offsetOf(*this, x, y)]);
}

void Image::blend(int x, int y, Rgb colour, float coverage) {
    if (x < 0 || y < 0 || x >= width || y >= height) return;
    const float share = std::clamp(coverage, 0.0f, 1.0f);
    std::uint8_t* pixel = &bytes[offsetOf(*this, x, y)];
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const float mixed =
            static_cast<float>(pixel[channel]) * (1.0f - share) + static_cast<float>(colour[channel]) * share;
        pixel[channel] = static_cast<std::uint8_t>(mixed + 0.5f);
    }
}

void Image::paste(const Image& other, int x, int y) {
    const int left = std::max(x, 0), right = std::min(x + other.width, width);
    if (left >= right) return;
    for (int row = std::max(y, 0); row < std::min(y + other.height, height); ++row) {
        const std::uint8_t* source = &other.bytes[offsetOf(other, left - x, row - y)];
        std::copy(source, source + static_cast<std::size_t>(right - left) * 3,
                  &bytes[offsetOf(*this, left, row)]);
    }
}

void writePng(const std::string& path, const Image& image) {
    AtomicFile file(path);
    if (image.width == 0 || image.height == 0)
        throw HostError(ExitCode::kOutput, "cannot write '" + path + "': the picture is empty");
    std::vector<std::uint8_t> png;
    if (!stbi_write_png_to_func(collect, &png, image.width, image.height, 3, image.bytes.data(),
                                image.width * 3) ||
        png.empty())
        throw HostError(ExitCode::kOutput,
                        "cannot write '" + path + "': no memory for the picture; make it smaller");
    file.write(png.data(), png.size());
    file.commit();
}

} // namespace talvisora::host
