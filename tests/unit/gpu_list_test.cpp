#include "settings/gpu_list.h"

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

static constexpr uint32_t kIntel = 0x8086;

static bool add(GpuList* list, uint32_t vendor, std::u16string_view description) {
    const std::vector<uint16_t> units(description.begin(), description.end());
    return gpu_list_add(list, vendor, units);
}

static GpuList nvidia(std::initializer_list<std::u16string_view> names) {
    GpuList list = {};
    for (const auto name : names) add(&list, kNvidiaVendorId, name);
    return list;
}

static std::string line(const GpuEntry& entry) {
    char text[192];
    gpu_line_text(entry, text, sizeof text);
    return text;
}

static std::string status(int32_t count) {
    char text[96];
    gpu_status_text(count, text, sizeof text);
    return text;
}

TEST(GpuList, TwoNvidiaAdaptersBehindOneOtherAreNumberedZeroAndOne) {
    GpuList list = {};
    EXPECT_TRUE(add(&list, kIntel, u"Intel(R) UHD Graphics"));
    EXPECT_TRUE(add(&list, kNvidiaVendorId, u"NVIDIA GeForce RTX 3070"));
    EXPECT_TRUE(add(&list, kNvidiaVendorId, u"NVIDIA RTX A2000"));
    ASSERT_EQ(list.count, 2);
    EXPECT_EQ(list.entries[0].index, 0);
    EXPECT_STREQ(list.entries[0].name, "NVIDIA GeForce RTX 3070");
    EXPECT_EQ(list.entries[1].index, 1);
    EXPECT_STREQ(list.entries[1].name, "NVIDIA RTX A2000");
    EXPECT_STREQ(list.entries[1].compute, "");
}

TEST(GpuList, AnotherVendorBetweenTwoDoesNotCount) {
    GpuList list = {};
    add(&list, kNvidiaVendorId, u"first");
    add(&list, 0x1002, u"other");
    add(&list, kNvidiaVendorId, u"second");
    ASSERT_EQ(list.count, 2);
    EXPECT_EQ(list.entries[1].index, 1);
}

TEST(GpuList, StopsAtEightEntries) {
    GpuList list = {};
    for (int i = 0; i < 7; ++i) EXPECT_TRUE(add(&list, kNvidiaVendorId, u"gpu")) << i;
    EXPECT_TRUE(add(&list, kIntel, u"other"));
    EXPECT_FALSE(add(&list, kNvidiaVendorId, u"eighth"));
    EXPECT_FALSE(add(&list, kNvidiaVendorId, u"ninth"));
    ASSERT_EQ(list.count, 8);
    EXPECT_STREQ(list.entries[7].name, "eighth");
    EXPECT_EQ(list.entries[7].index, 7);
}

TEST(GpuList, ANameIsReducedToPrintableAscii) {
    const GpuList list = nvidia({u"GeForce\u00AE \u4E00\t~ \x7F\u20ACx"});
    EXPECT_STREQ(list.entries[0].name, "GeForce? ??~ ??x");
}

TEST(GpuList, EachHalfOfASurrogatePairIsReplaced) {
    EXPECT_STREQ(nvidia({u"a\U0001F600b"}).entries[0].name, "a??b");
}

TEST(GpuList, ANameEndsAtItsNulOrAfter127Characters) {
    EXPECT_STREQ(nvidia({std::u16string_view(u"RTX\0rest", 8)}).entries[0].name, "RTX");
    const std::u16string unterminated(128, u'x');
    EXPECT_EQ(std::string(nvidia({unterminated}).entries[0].name), std::string(127, 'x'));
    EXPECT_STREQ(nvidia({u""}).entries[0].name, "");
}

TEST(GpuList, ALineShowsTheComputeCapabilityWhenItIsKnown) {
    GpuEntry entry = {2, "NVIDIA GeForce RTX 3070", ""};
    EXPECT_EQ(line(entry), "GPU #2  NVIDIA GeForce RTX 3070");
    strcpy(entry.compute, "8.6");
    EXPECT_EQ(line(entry), "GPU #2  NVIDIA GeForce RTX 3070  (Compute SM 8.6)");
}

TEST(GpuPreselect, ANameOf3070ChoosesTheFirstAdapterContainingItWhenTheIndexIsMinusOne) {
    const GpuList list = nvidia({u"NVIDIA RTX A2000", u"NVIDIA GeForce RTX 3070", u"NVIDIA GeForce RTX 3070 Ti"});
    EXPECT_EQ(gpu_preselect(list, "3070", -1), 1);
}

TEST(GpuPreselect, TheIndexGoesBeforeTheName) {
    const GpuList list = nvidia({u"NVIDIA RTX A2000", u"NVIDIA GeForce RTX 3070"});
    EXPECT_EQ(gpu_preselect(list, "3070", 0), 0);
    EXPECT_EQ(gpu_preselect(list, "A2000", 1), 1);
}

TEST(GpuPreselect, AnIndexThatIsNotThereLeavesItToTheName) {
    const GpuList list = nvidia({u"NVIDIA RTX A2000", u"NVIDIA GeForce RTX 3070"});
    EXPECT_EQ(gpu_preselect(list, "3070", 2), 1);
}

TEST(GpuPreselect, TheFirstIsChosenWhenNothingFits) {
    const GpuList list = nvidia({u"NVIDIA RTX A2000", u"NVIDIA GeForce RTX 3070"});
    EXPECT_EQ(gpu_preselect(list, "", -1), 0);
    EXPECT_EQ(gpu_preselect(list, "4090", 7), 0);
    EXPECT_EQ(gpu_preselect(list, "rtx 3070", -1), 0) << "letters count as written";
    EXPECT_EQ(gpu_preselect({}, "3070", 0), -1);
}

TEST(GpuStatus, CountsAndNamesWhatIsMissing) {
    EXPECT_EQ(status(-1), "FFmpeg not found or could not be spawned. Check ffmpeg.exe path.");
    EXPECT_EQ(status(0), "No NVENC-visible GPUs detected. Check NVIDIA driver (R570+).");
    EXPECT_EQ(status(1), "1 NVENC-visible GPU detected.");
    EXPECT_EQ(status(2), "2 NVENC-visible GPUs detected.");
    EXPECT_EQ(status(8), "8 NVENC-visible GPUs detected.");
}
