// SPDX-License-Identifier: Apache-2.0
// Arrays of numbers in numpy's file format: what numpy.save writes and numpy.load reads. Written:
// version 1.0,
// '<f4', one dimension. Read: versions 1.0 and 2.0, '<f4', '<f8' or '<i4', C order, any shape.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace talvisora::host {

enum class NpyType { kFloat32, kFloat64, kInt32 };

/// "<f4", "<f8" or "<i4".
const char* npyTypeText(NpyType type);

struct NpyArray {
    NpyType type = NpyType::kFloat32;
    std::vector<std::uint64_t> shape; ///< empty for a single number
    std::vector<double> values;       ///< in C order, widened without loss
};

/// Reads a whole file's bytes. HostError kInput with what is wrong, without the file's name: not such an
/// array, another type or order, more or fewer bytes than the shape says. Nothing is allocated that the bytes
/// do not back.
NpyArray parseNpy(std::string_view bytes);

/// The same from disk; also refuses what is no regular file.
NpyArray readNpy(const std::string& path);

/// The bytes of a one-dimensional '<f4' array.
std::string npyBytes(const std::vector<float>& values);

/// A whole regular file. HostError kInput, without the file's name: missing, a folder, unreadable.
std::string readRegularFile(const std::string& path);

} // namespace talvisora::host
