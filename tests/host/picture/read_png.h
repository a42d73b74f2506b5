// SPDX-License-Identifier: Apache-2.0
// PNG files back into pictures, with a reader that is not the writer's.
#pragma once

#include "host/picture/image.h"

#include <string>

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#if __has_include(<stb/stb_image.h>)
#include <stb/stb_image.h>
#else
#include <stb_image.h>
#endif
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace talvisora::host {

/// The picture in the bytes of a PNG file of three channels; an empty one when they are none.
inline Image readPng(const std::string& bytes) {
    Image image;
    int channels = 0;
    unsigned char* pixels =
        stbi_load_from_memory(reinterpret_cast<const unsigned char*>(bytes.data()),
                              static_cast<int>(bytes.size()), &image.width, &image.height, &channels, 0);
    if (!pixels || channels != 3) {
        stbi_image_free(pixels);
        return {};
    }
    image.bytes.assign(pixels, pixels + static_cast<std::size_t>(image.width) *
                                            static_cast<std::size_t>(image.height) * 3);
    stbi_image_free(pixels);
    return image;
}

} // namespace talvisora::host
