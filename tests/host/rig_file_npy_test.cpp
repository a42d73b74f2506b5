// SPDX-License-Identifier: Apache-2.0
// The .npy bytes below were written by numpy itself, or are such bytes with one thing broken.
#include "host/rig_file/npy.h"

#include "host/rig_file_fixture.h"

#include <cmath>

namespace rig_files {
namespace {

// The header padded to a multiple of 64 bytes, as numpy does.
std::string header(const std::string& dictionary, char major = 1) {
    std::string text = dictionary;
    const std::size_t before = major == 1 ? 10 : 12;
    while ((before + text.size() + 1) % 64 != 0) text += ' ';
    text += '\n';
    std::string bytes = std::string("\x93NUMPY", 6) + major + '\0';
    bytes += static_cast<char>(text.size() & 0xff);
    bytes += static_cast<char>(text.size() >> 8);
    if (major != 1) bytes += std::string(2, '\0');
    return bytes + text;
}

const std::string kThree = "{'descr': '<f4', 'fortran_order': False, 'shape': (3,), }";
const std::string kThreeFloats("\x00\x00\x00\x00\x00\x00\x80?\x00\x00\x00@", 12); // 0, 1, 2

std::string fault(const std::string& bytes) {
    try {
        parseNpy(bytes);
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, ExitCode::kInput);
        return error.what();
    }
    return {};
}

TEST(Npy, WritesTheBytesThatNumpyWrites) {
    const std::string bytes = npyBytes({0.0f, 1.0f, 2.0f});
    // numpy.save of numpy.array([0, 1, 2], '<f4')
    EXPECT_EQ(bytes.substr(0, 10), std::string("\x93NUMPY\x01\x00v\x00", 10));
    EXPECT_EQ(bytes.substr(10), kThree + std::string(60, ' ') + "\n" + kThreeFloats);
    EXPECT_EQ(npyBytes({}).size(), 128u);
}

TEST(Npy, ReadsTheThreeTypesBothVersionsAndAnyShape) {
    const NpyArray f4 = parseNpy(header(kThree) + kThreeFloats);
    EXPECT_EQ(f4.type, NpyType::kFloat32);
    EXPECT_EQ(f4.shape, std::vector<std::uint64_t>{3});
    EXPECT_EQ(f4.values, (std::vector<double>{0, 1, 2}));

    const NpyArray f8 =
        parseNpy(header("{'descr': '<f8', 'fortran_order': False, 'shape': (2,), }") +
                 std::string("\x00\x00\x00\x00\x00\x00\xf0?\x9a\x99\x99\x99\x99\x99\xb9?", 16));
    EXPECT_EQ(f8.type, NpyType::kFloat64);
    EXPECT_EQ(f8.values, (std::vector<double>{1.0, 0.1}));

    const NpyArray i4 = parseNpy(header("{'descr': '<i4', 'fortran_order': False, 'shape': (1, 2), }", 2) +
                                 std::string("\xff\xff\xff\xff\x00\x01\x00\x00", 8));
    EXPECT_EQ(i4.type, NpyType::kInt32);
    EXPECT_EQ(i4.shape, (std::vector<std::uint64_t>{1, 2}));
    EXPECT_EQ(i4.values, (std::vector<double>{-1, 256}));

    // Any order of the keys, no comma at the end, a single number, no number at all.
    EXPECT_EQ(parseNpy(header("{'shape': (), 'fortran_order': False, 'descr': '<i4'}") +
                       std::string("\x07\x00\x00\x00", 4))
                  .values,
              std::vector<double>{7});
    EXPECT_TRUE(
        parseNpy(header("{'descr': '<f4', 'fortran_order': False, 'shape': (0, 5), }")).values.empty());
}

TEST(Npy, ReadsBackWhatItWritesBitForBit) {
    const std::vector<float> values = {0.1f, -0.0f, 1e-45f, 3.4e38f, 1.0f / 3.0f};
    const NpyArray read = parseNpy(npyBytes(values));
    ASSERT_EQ(read.values.size(), values.size());
    for (std::size_t k = 0; k < values.size(); ++k) {
        EXPECT_EQ(static_cast<float>(read.values[k]), values[k]);
        EXPECT_EQ(std::signbit(read.values[k]), std::signbit(values[k]));
    }
}

TEST(Npy, RefusesEveryBrokenFileByName) {
    const std::string good = header(kThree) + kThreeFloats;
    EXPECT_EQ(fault(good), "");
    EXPECT_EQ(fault(""), "it is not a .npy file; save it with numpy.save");
    EXPECT_EQ(fault("PK\x03\x04 something else"), "it is not a .npy file; save it with numpy.save");
    std::string version = good;
    version[6] = 3;
    EXPECT_EQ(fault(version),
              "it is a .npy file of version 3.0; 1.0 and 2.0 are read, save it with numpy.save");
    EXPECT_EQ(fault(good.substr(0, good.size() - 1)),
              "its shape needs 12 bytes of values, it has 11; save it again");
    EXPECT_EQ(fault(good + "x"), "its shape needs 12 bytes of values, it has 13; save it again");
    const auto faultOf = [](const std::string& dictionary) {
        return fault(header(dictionary) + kThreeFloats);
    };
    EXPECT_EQ(faultOf("{'descr': '>f4', 'fortran_order': False, 'shape': (3,), }"),
              "its values are of type '>f4'; save them as '<f4', '<f8' or '<i4'");
    EXPECT_EQ(faultOf("{'descr': '|O', 'fortran_order': False, 'shape': (3,), }"),
              "its values are of type '|O'; save them as '<f4', '<f8' or '<i4'");
    EXPECT_EQ(faultOf("{'descr': [('a', '<f4')], 'fortran_order': False, 'shape': (3,), }"),
              "it is an array of records; save one of its fields as '<f4', '<f8' or '<i4'");
    EXPECT_EQ(faultOf("{'descr': '<f4', 'fortran_order': True, 'shape': (3,), }"),
              "its values are in Fortran order; save them in C order");
    for (const char* dictionary :
         {"", "{", "{}", "{'descr': '<f4'", "{'descr': '<f4', 'fortran_order': False, }",
          "{'descr': '<f4', 'fortran_order': False, 'shape': (3), }",
          "{'descr': '<f4', 'fortran_order': False, 'shape': (-3,), }",
          "{'descr': '<f4', 'fortran_order': False, 'shape': (3,,), }",
          "{'descr': '<f4', 'fortran_order': False, 'shape': (3,), 'more': 1}",
          "{'descr': '<f4', 'descr': '<f4', 'fortran_order': False, 'shape': (3,), }",
          "{'descr': '<f4', 'fortran_order': 0, 'shape': (3,), }",
          "{'descr': '<f4', 'fortran_order': False, 'shape': (3,), } + exit()"})
        EXPECT_EQ(faultOf(dictionary), "its header is not one that numpy writes; save it again")
            << dictionary;
}

TEST(Npy, HostileSizesAreRefusedBeforeAnythingIsAllocated) {
    const auto shaped = [](const std::string& shape) {
        return fault(header("{'descr': '<f8', 'fortran_order': False, 'shape': (" + shape + "), }"));
    };
    EXPECT_EQ(shaped("1000000000000000,"),
              "its shape needs 8000000000000000 bytes of values, it has 0; save it again");
    EXPECT_EQ(shaped("4294967296, 4294967296"), "its shape is larger than any file; save it again");
    EXPECT_EQ(shaped("99999999999999999999999,"), "its shape is larger than any file; save it again");
    std::string dimensions;
    for (int k = 0; k < 40; ++k) dimensions += "1, ";
    EXPECT_EQ(shaped(dimensions), "its header is not one that numpy writes; save it again");
    // A header that claims more than there is, in both versions.
    EXPECT_EQ(fault(std::string("\x93NUMPY\x01\x00\xff\xff{'descr'", 18)),
              "it ends inside its header; save it again");
    EXPECT_EQ(fault(std::string("\x93NUMPY\x02\x00\xff\xff\xff\xff{", 13)),
              "its header is longer than any that numpy writes; save it again");
    EXPECT_EQ(fault(std::string("\x93NUMPY\x02\x00\x01\x00", 10)),
              "it ends inside its header; save it again");
}

TEST(Npy, EveryCutAndEveryFlippedByteIsReadOrRefused) {
    const std::string good = header(kThree) + kThreeFloats;
    for (std::size_t size = 0; size < good.size(); ++size) EXPECT_NE(fault(good.substr(0, size)), "") << size;
    std::size_t refused = 0;
    for (std::size_t at = 0; at < good.size(); ++at)
        for (const char c : {'\0', '\xff', '9', '(', '\''}) {
            std::string bytes = good;
            bytes[at] = c;
            refused += fault(bytes).empty() ? 0 : 1;
        }
    EXPECT_GT(refused, 400u); // values and blanks may change
}

} // namespace
} // namespace rig_files
