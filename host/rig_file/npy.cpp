// SPDX-License-Identifier: Apache-2.0
// The header is a Python dictionary; of that language only the three entries that numpy writes are
// understood.
#include "host/rig_file/npy.h"

#include "host/host_error.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <type_traits>

namespace talvisora::host {

namespace {

constexpr std::string_view kMagic("\x93NUMPY", 6);
constexpr std::size_t kLongestHeader = 65536, kMostDimensions = 32, kAlignment = 64;

[[noreturn]] void refuse(const std::string& text) {
    throw HostError(ExitCode::kInput, text);
}

std::uint64_t littleEndian(std::string_view bytes) {
    std::uint64_t number = 0;
    for (std::size_t k = bytes.size(); k-- > 0;) number = number << 8 | static_cast<unsigned char>(bytes[k]);
    return number;
}

std::size_t sizeOf(NpyType type) {
    return type == NpyType::kFloat64 ? 8 : 4;
}

struct Header {
    NpyType type = NpyType::kFloat32;
    std::vector<std::uint64_t> shape;
};

class HeaderReader {
public:
    explicit HeaderReader(std::string_view text) : text_(text) {}

    Header read() {
        bool descr = false, order = false, shape = false;
        need('{');
        while (!take('}')) {
            const std::string_view key = quoted();
            need(':');
            if (key == "descr" && !descr) {
                descr = true;
                readType();
            } else if (key == "fortran_order" && !order) {
                order = true;
                if (takeWord("True")) refuse("its values are in Fortran order; save them in C order");
                if (!takeWord("False")) broken();
            } else if (key == "shape" && !shape) {
                shape = true;
                readShape();
            } else {
                broken();
            }
            if (!take(',')) {
                need('}');
                break;
            }
        }
        skipBlanks();
        if (!text_.empty() || !descr || !order || !shape) broken();
        return std::move(header_);
    }

private:
    [[noreturn]] static void broken() { refuse("its header is not one that numpy writes; save it again"); }
    void skipBlanks() {
        while (!text_.empty() && (text_[0] == ' ' || text_[0] == '\n')) text_.remove_prefix(1);
    }
    bool take(char c) {
        skipBlanks();
        if (text_.empty() || text_[0] != c) return false;
        text_.remove_prefix(1);
        return true;
    }
    void need(char c) {
        if (!take(c)) broken();
    }
    bool takeWord(std::string_view word) {
        skipBlanks();
        if (text_.substr(0, word.size()) != word) return false;
        text_.remove_prefix(word.size());
        return true;
    }
    std::string_view quoted() {
        skipBlanks();
        if (text_.empty() || (text_[0] != '\'' && text_[0] != '"')) broken();
        const std::size_t end = text_.find(text_[0], 1);
        if (end == std::string_view::npos) broken();
        const std::string_view inside = text_.substr(1, end - 1);
        text_.remove_prefix(end + 1);
        return inside;
    }
    void readType() {
        skipBlanks();
        if (!text_.empty() && text_[0] == '[')
            refuse("it is an array of records; save one of its fields as '<f4', '<f8' or '<i4'");
        const std::string_view type = quoted();
        for (const NpyType known : {NpyType::kFloat32, NpyType::kFloat64, NpyType::kInt32})
            if (type == npyTypeText(known)) {
                header_.type = known;
                return;
            }
        refuse("its values are of type '" + std::string(type.substr(0, 40)) +
               "'; save them as '<f4', '<f8' or '<i4'");
    }
    void readShape() {
        need('(');
        while (!take(')')) {
            skipBlanks();
            std::uint64_t size = 0;
            std::size_t digits = 0;
            for (; digits < text_.size() && text_[digits] >= '0' && text_[digits] <= '9'; ++digits) {
                if (digits == 18) refuse("its shape is larger than any file; save it again");
                size = size * 10 + static_cast<std::uint64_t>(text_[digits] - '0');
            }
            if (digits == 0 || header_.shape.size() == kMostDimensions) broken();
            text_.remove_prefix(digits);
            header_.shape.push_back(size);
            if (!take(',')) {
                need(')');
                if (header_.shape.size() == 1) broken(); // "(5)" is a number, "(5,)" a shape
                break;
            }
        }
    }

    std::string_view text_;
    Header header_;
};

template <class Stored>
void widen(std::string_view bytes, std::vector<double>& values) {
    using Bits = std::conditional_t<sizeof(Stored) == 8, std::uint64_t, std::uint32_t>;
    values.reserve(bytes.size() / sizeof(Stored));
    for (std::size_t at = 0; at < bytes.size(); at += sizeof(Stored)) {
        const Bits bits = static_cast<Bits>(littleEndian(bytes.substr(at, sizeof(Stored))));
        Stored stored;
        std::memcpy(&stored, &bits, sizeof stored);
        values.push_back(static_cast<double>(stored));
    }
}

} // namespace

const char* npyTypeText(NpyType type) {
    return type == NpyType::kFloat32 ? "<f4" : type == NpyType::kFloat64 ? "<f8" : "<i4";
}

NpyArray parseNpy(std::string_view bytes) {
    if (bytes.size() < 10 || bytes.substr(0, kMagic.size()) != kMagic)
        refuse("it is not a .npy file; save it with numpy.save");
    const int major = static_cast<unsigned char>(bytes[6]), minor = static_cast<unsigned char>(bytes[7]);
    if ((major != 1 && major != 2) || minor != 0)
        refuse("it is a .npy file of version " + std::to_string(major) + "." + std::to_string(minor) +
               "; 1.0 and 2.0 are read, save it with numpy.save");
    const std::size_t lengthBytes = major == 1 ? 2 : 4, start = 8 + lengthBytes;
    if (bytes.size() < start) refuse("it ends inside its header; save it again");
    const std::uint64_t length = littleEndian(bytes.substr(8, lengthBytes));
    if (length > kLongestHeader) refuse("its header is longer than any that numpy writes; save it again");
    if (length > bytes.size() - start) refuse("it ends inside its header; save it again");

    const Header header = HeaderReader(bytes.substr(start, static_cast<std::size_t>(length))).read();
    const std::string_view data = bytes.substr(start + static_cast<std::size_t>(length));
    std::uint64_t count = 1;
    for (const std::uint64_t size : header.shape) {
        if (size != 0 && count > std::numeric_limits<std::uint64_t>::max() / 16 / size)
            refuse("its shape is larger than any file; save it again");
        count *= size;
    }
    const std::uint64_t expected = count * sizeOf(header.type);
    if (data.size() != expected)
        refuse("its shape needs " + std::to_string(expected) + " bytes of values, it has " +
               std::to_string(data.size()) + "; save it again");

    NpyArray array;
    array.type = header.type;
    array.shape = header.shape;
    if (header.type == NpyType::kFloat32)
        widen<float>(data, array.values);
    else if (header.type == NpyType::kFloat64)
        widen<double>(data, array.values);
    else
        widen<std::int32_t>(data, array.values);
    return array;
}

std::string readRegularFile(const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) refuse("there is no such file; check the path");
    if (status.type() == fs::file_type::directory) refuse("it is a folder; name a file in it");
    if (fs::exists(status) && !fs::is_regular_file(status))
        refuse("it is not a regular file; copy what it gives into one");
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file)
        refuse(std::string("it cannot be opened (") + std::strerror(errno) + "); check its permissions");
    std::string bytes;
    const std::uintmax_t size = fs::file_size(path, error);
    if (!error) bytes.reserve(static_cast<std::size_t>(size));
    bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (file.bad()) refuse("reading it failed; its disk may have a fault");
    return bytes;
}

NpyArray readNpy(const std::string& path) {
    return parseNpy(readRegularFile(path));
}

std::string npyBytes(const std::vector<float>& values) {
    std::string header =
        "{'descr': '<f4', 'fortran_order': False, 'shape': (" + std::to_string(values.size()) + ",), }";
    const std::size_t before = kMagic.size() + 4; // magic, version, length
    header.append(kAlignment - 1 - (before + header.size()) % kAlignment, ' ');
    header += '\n';

    std::string bytes(kMagic);
    bytes += '\x01';
    bytes += '\0';
    bytes += static_cast<char>(header.size() & 0xff);
    bytes += static_cast<char>(header.size() >> 8);
    bytes += header;
    bytes.reserve(bytes.size() + 4 * values.size());
    for (const float value : values) {
        std::uint32_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(bits >> shift & 0xff);
    }
    return bytes;
}

} // namespace talvisora::host
