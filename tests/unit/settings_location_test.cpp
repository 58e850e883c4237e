#include "app/settings_location.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

struct FakeDisk {
    std::set<std::string> files;
    std::vector<std::string> asked;
};

}  // namespace

static bool on_fake_disk(void* context, const char* path) {
    auto* disk = static_cast<FakeDisk*>(context);
    disk->asked.emplace_back(path);
    return disk->files.contains(path);
}

static std::string resolve(FakeDisk* disk, const char* exe_path, const char* positional) {
    char out[kSettingsPathSize];
    resolve_settings_path(exe_path, positional, on_fake_disk, disk, out);
    return out;
}

static constexpr char kExe[] = "C:\\a\\b\\c\\d\\e\\f\\Orvek.exe";

TEST(ResolveSettingsPath, AFileBesideTheExecutableWinsOverEverything) {
    FakeDisk disk{{"C:\\a\\b\\c\\d\\e\\f\\settings.txt", "C:\\a\\b\\c\\d\\e\\settings.txt", "mine.txt"}, {}};
    EXPECT_EQ(resolve(&disk, kExe, "mine.txt"), "C:\\a\\b\\c\\d\\e\\f\\settings.txt");
    EXPECT_EQ(disk.asked.size(), 1u);
}

TEST(ResolveSettingsPath, AnArgumentIsIgnoredWhenAFileIsUpToFourLevelsAbove) {
    for (const char* found : {"C:\\a\\b\\c\\d\\e\\settings.txt", "C:\\a\\b\\c\\d\\settings.txt",
                              "C:\\a\\b\\c\\settings.txt", "C:\\a\\b\\settings.txt"}) {
        FakeDisk disk{{found}, {}};
        EXPECT_EQ(resolve(&disk, kExe, "mine.txt"), found);
    }
}

TEST(ResolveSettingsPath, FiveDirectoriesAreTriedNearestFirstAndNoSixth) {
    FakeDisk disk{{"C:\\a\\settings.txt", "C:\\settings.txt"}, {}};
    EXPECT_EQ(resolve(&disk, kExe, "mine.txt"), "mine.txt");
    EXPECT_EQ(disk.asked, (std::vector<std::string>{"C:\\a\\b\\c\\d\\e\\f\\settings.txt",
                                                    "C:\\a\\b\\c\\d\\e\\settings.txt", "C:\\a\\b\\c\\d\\settings.txt",
                                                    "C:\\a\\b\\c\\settings.txt", "C:\\a\\b\\settings.txt"}));
}

TEST(ResolveSettingsPath, WithoutFileAndArgumentTheRelativeNameIsUsed) {
    for (const char* positional : {static_cast<const char*>(nullptr), ""}) {
        FakeDisk disk;
        EXPECT_EQ(resolve(&disk, kExe, positional), "settings.txt");
    }
}

TEST(ResolveSettingsPath, TheSearchEndsWhereThePathHasNoMoreBackslashes) {
    FakeDisk disk;
    EXPECT_EQ(resolve(&disk, "C:\\rig\\Orvek.exe", nullptr), "settings.txt");
    EXPECT_EQ(disk.asked, (std::vector<std::string>{"C:\\rig\\settings.txt", "C:\\settings.txt"}));
    disk.asked.clear();
    EXPECT_EQ(resolve(&disk, "Orvek.exe", "mine.txt"), "mine.txt");
    EXPECT_EQ(resolve(&disk, "", "mine.txt"), "mine.txt");
    EXPECT_EQ(resolve(&disk, nullptr, "mine.txt"), "mine.txt");
    EXPECT_TRUE(disk.asked.empty());
}

TEST(ResolveSettingsPath, ADirectoryWhosePathWouldNotFitIsPassedOver) {
    const std::string parent = "C:\\" + std::string(200, 'p');
    const std::string fits = parent + "\\" + std::string(259 - 13 - parent.size() - 1, 'd');
    FakeDisk disk{{fits + "\\settings.txt", fits + "d\\settings.txt", parent + "\\settings.txt"}, {}};
    EXPECT_EQ(resolve(&disk, (fits + "\\Orvek.exe").c_str(), nullptr), fits + "\\settings.txt");
    EXPECT_EQ(resolve(&disk, (fits + "d\\Orvek.exe").c_str(), nullptr), parent + "\\settings.txt");
}

TEST(ResolveSettingsPath, ALongArgumentIsCut) {
    FakeDisk disk;
    const std::string argument(300, 'x');
    EXPECT_EQ(resolve(&disk, kExe, argument.c_str()), argument.substr(0, 259));
}

TEST(SettingsDirectory, IsEverythingBeforeTheLastBackslashButARootKeepsIts) {
    const struct {
        const char* path;
        const char* directory;
    } cases[] = {
        {"C:\\rig\\settings.txt", "C:\\rig"},
        {"C:\\my rig\\a\\s.txt", "C:\\my rig\\a"},
        {"D:\\settings.txt", "D:\\"},
        {"\\settings.txt", "\\"},
        {"rig\\settings.txt", "rig"},
        {"C:\\rig/sub\\settings.txt", "C:\\rig/sub"},
        {"\\\\server\\share\\s.txt", "\\\\server\\share"},
    };
    for (const auto& c : cases) {
        char out[kSettingsPathSize] = "before";
        EXPECT_EQ(settings_directory(c.path, out), 0) << c.path;
        EXPECT_STREQ(out, c.directory) << c.path;
    }
}

TEST(SettingsDirectory, APathWithoutABackslashHasNone) {
    for (const char* path : {"settings.txt", "rig/settings.txt", ""}) {
        char out[kSettingsPathSize] = "before";
        EXPECT_EQ(settings_directory(path, out), -1) << path;
        EXPECT_STREQ(out, "before") << path;
    }
}
