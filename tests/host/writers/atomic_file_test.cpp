// SPDX-License-Identifier: Apache-2.0
// Files appear whole or not at all. Tests may run as root, so folders that cannot be written are made with a
// regular file in the path, and a full disk with /dev/full and a limit of the file size.
#include "host/writers/atomic_file.h"

#include "host/writers/temp_folder.h"

#include <gtest/gtest.h>

#ifndef _WIN32
#include <csignal>
#include <sys/resource.h>
#endif

namespace talvisora::host {
namespace {

using Names = std::vector<std::string>;

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(AtomicFile, TargetAppearsOnlyWithCommit) {
    TempFolder folder;
    const std::string path = folder.file("a.bin");
    AtomicFile file(path);
    file.write("one ");
    file.write("two", 3);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(file.bytesWritten(), 7u);
    file.commit();
    EXPECT_EQ(readText(path), "one two");
    EXPECT_EQ(folder.names(), Names{"a.bin"});
}

TEST(AtomicFile, DroppedFileLeavesNothingAndKeepsTheOldOne) {
    TempFolder folder;
    const std::string path = folder.file("a.bin");
    writeText(path, "old");
    {
        AtomicFile file(path);
        file.write("new");
        EXPECT_EQ(folder.names().size(), 2u) << "the temporary lies beside the target";
    }
    EXPECT_EQ(readText(path), "old");
    EXPECT_EQ(folder.names(), Names{"a.bin"});
}

TEST(AtomicFile, CommitReplacesTheOldFile) {
    TempFolder folder;
    writeText(folder.file("a.bin"), "old and longer");
    AtomicFile file(folder.file("a.bin"));
    file.write("new");
    file.commit();
    EXPECT_EQ(readText(folder.file("a.bin")), "new");
}

TEST(AtomicFile, OverwriteChangesEarlierBytesOnly) {
    TempFolder folder;
    AtomicFile file(folder.file("a.bin"));
    file.write("0123456789");
    file.overwrite(2, "ab", 2);
    file.write("end");
    EXPECT_EQ(file.bytesWritten(), 13u);
    file.commit();
    EXPECT_EQ(readText(folder.file("a.bin")), "01ab456789end");
}

TEST(AtomicFile, OverwriteBeyondTheEndIsRefused) {
    TempFolder folder;
    AtomicFile file(folder.file("a.bin"));
    file.write("0123");
    EXPECT_TRUE(contains(errorOf([&] { file.overwrite(3, "ab", 2); }), "a.bin"));
    EXPECT_TRUE(folder.names().empty());
}

TEST(AtomicFile, MissingFolderNamesPathReasonAndCure) {
    TempFolder folder;
    const std::string path = folder.file("none/a.bin");
    EXPECT_EQ(errorOf([&] { AtomicFile file(path); }),
              "cannot write '" + path + "': No such file or directory; create the folder '" +
                  folder.file("none") + "' first");
    EXPECT_TRUE(folder.names().empty());
}

TEST(AtomicFile, FileInPlaceOfAFolderIsRefused) {
    TempFolder folder;
    writeText(folder.file("plain"), "text");
    const std::string path = folder.file("plain/a.bin");
    EXPECT_EQ(errorOf([&] { AtomicFile file(path); }), "cannot write '" + path + "': Not a directory; '" +
                                                           folder.file("plain") +
                                                           "' is not a folder; name one that is");
    EXPECT_EQ(readText(folder.file("plain")), "text");
}

TEST(AtomicFile, FolderAsTargetIsRefused) {
    TempFolder folder;
    std::filesystem::create_directory(folder.file("sub"));
    const std::string expected = ": Is a directory; that is a folder; name a file in it";
    EXPECT_EQ(errorOf([&] { AtomicFile file(folder.file("sub")); }),
              "cannot write '" + folder.file("sub") + "'" + expected);
    EXPECT_EQ(errorOf([&] { AtomicFile file(folder.file("new/")); }),
              "cannot write '" + folder.file("new/") + "'" + expected);
    EXPECT_EQ(folder.names(), Names{"sub"});
}

TEST(AtomicFile, EmptyNameIsRefused) {
    EXPECT_TRUE(contains(errorOf([] { AtomicFile file(""); }), "cannot write ''"));
}

TEST(AtomicFile, NameOfTheGreatestLengthWorksAndALongerOneIsRefused) {
    TempFolder folder;
    const std::string longest(255, 'n');
    AtomicFile file(folder.file(longest));
    file.write("x");
    file.commit();
    EXPECT_EQ(folder.names(), Names{longest});
    EXPECT_TRUE(
        contains(errorOf([&] { AtomicFile other(folder.file(longest + "n")); }), "choose a shorter name"));
}

#ifndef _WIN32
TEST(AtomicFile, FullDeviceIsReported) {
    ASSERT_TRUE(std::filesystem::exists("/dev/full"));
    AtomicFile file("/dev/full");
    file.write("x");
    EXPECT_EQ(errorOf([&] { file.commit(); }),
              "cannot write '/dev/full': No space left on device; make room or choose another disk");
    EXPECT_TRUE(std::filesystem::exists("/dev/full"));
}

TEST(AtomicFile, FullDiskLeavesTheOldFileAndNoTemporary) {
    TempFolder folder;
    const std::string path = folder.file("a.bin");
    writeText(path, "old");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    auto* const oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = before;
    small.rlim_cur = 100000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::string error = errorOf([&] {
        AtomicFile file(path);
        const std::string block(30000, 'b');
        for (int i = 0; i < 10; ++i) file.write(block);
        file.commit();
    });
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(error, "cannot write '" + path + "': File too large; make room or choose another disk");
    EXPECT_EQ(readText(path), "old");
    EXPECT_EQ(folder.names(), Names{"a.bin"});
}

TEST(AtomicFile, SymbolicLinkStaysAndItsFileIsReplaced) {
    TempFolder folder;
    writeText(folder.file("real"), "old");
    std::filesystem::create_symlink("real", folder.file("link"));
    AtomicFile file(folder.file("link"));
    file.write("new");
    file.commit();
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link")));
    EXPECT_EQ(readText(folder.file("real")), "new");
}
#endif

TEST(AtomicFile, LinksMayPointToFilesThatAreNotThereYetButNotInCircles) {
    TempFolder folder;
    std::filesystem::create_directory(folder.file("far"));
    std::filesystem::create_symlink("far/second", folder.file("first"));
    std::filesystem::create_symlink(folder.file("far/file"), folder.file("far/second"));
    AtomicFile file(folder.file("first"));
    file.write("x");
    file.commit();
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("first")));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("far/second")));
    EXPECT_EQ(std::filesystem::file_size(folder.file("far/file")), 1u);

    std::filesystem::create_symlink("none/file", folder.file("lost"));
    EXPECT_EQ(errorOf([&] { AtomicFile lost(folder.file("lost")); }),
              "cannot write '" + folder.file("lost") + "': No such file or directory; create the folder '" +
                  folder.file("none") + "' first");

    std::filesystem::create_symlink("b", folder.file("a"));
    std::filesystem::create_symlink("a", folder.file("b"));
    EXPECT_EQ(errorOf([&] { AtomicFile circle(folder.file("a")); }),
              "cannot write '" + folder.file("a") +
                  "': Too many levels of symbolic links; choose another place for it");
}

TEST(AtomicFile, LeftoversOfOthersAreNotTouched) {
    TempFolder folder;
    std::string name; // of the first temporary, ".grhost-PROCESS-NUMBER.tmp"
    {
        AtomicFile first(folder.file("a.bin"));
        ASSERT_EQ(folder.names().size(), 1u);
        name = folder.names()[0];
    }
    const std::size_t dash = name.rfind('-');
    const int number = std::stoi(name.substr(dash + 1));
    std::vector<std::string> leftovers;
    for (int n = number + 1; n < number + 6; ++n) {
        leftovers.push_back(folder.file(name.substr(0, dash + 1) + std::to_string(n) + ".tmp"));
        writeText(leftovers.back(), "theirs");
    }
    AtomicFile file(folder.file("a.bin"));
    file.write("mine");
    file.commit();
    EXPECT_EQ(readText(folder.file("a.bin")), "mine");
    for (const std::string& leftover : leftovers) EXPECT_EQ(readText(leftover), "theirs");
}

TEST(AtomicFile, NothingIsAcceptedAfterAFailure) {
    TempFolder folder;
    AtomicFile file(folder.file("a.bin"));
    EXPECT_NE(errorOf([&] { file.overwrite(1, "a", 1); }), "");
    EXPECT_NE(errorOf([&] { file.write("a"); }), "");
    EXPECT_NE(errorOf([&] { file.commit(); }), "");
    EXPECT_TRUE(folder.names().empty());
}

} // namespace
} // namespace talvisora::host
